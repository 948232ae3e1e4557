// SPDX-License-Identifier: GPL-3.0-or-later
#include "FakeVolumes.h"

namespace quillbox::fakes {

namespace {

class FakeUserFileSystem final : public GMUserFileSystem {
public:
    FakeUserFileSystem(FakeUserFileSystems& library, std::shared_ptr<FakeVolume> volume)
        : library_(library), volume_(std::move(volume)) {
        volume_->object = this;
    }

    FakeUserFileSystem(const FakeUserFileSystem&) = delete;
    FakeUserFileSystem& operator=(const FakeUserFileSystem&) = delete;

    ~FakeUserFileSystem() override { volume_->object = nullptr; }

    void mountAtPath(const std::string& path,
                     const std::vector<std::string>& withOptions) override {
        library_.record().add("mountAtPath " + path);
        volume_->path = path;
        volume_->options = withOptions;
        ++volume_->mounts;
    }

    void unmount() override {
        library_.record().add("unmount " + volume_->path);
        ++volume_->unmounts;
        library_.finishUnmount(*volume_);
    }

private:
    FakeUserFileSystems& library_;
    std::shared_ptr<FakeVolume> volume_;
};

}  // namespace

std::unique_ptr<GMUserFileSystem>
FakeUserFileSystems::initWithDelegate(std::weak_ptr<GMUserFileSystemDelegate> delegate,
                                      bool isThreadSafe) {
    auto volume = std::make_shared<FakeVolume>();
    volume->delegate = std::move(delegate);
    volume->isThreadSafe = isThreadSafe;
    volumes_.push_back(volume);
    return std::make_unique<FakeUserFileSystem>(*this, std::move(volume));
}

void FakeUserFileSystems::post(std::string_view name, const FakeVolume& volume,
                               std::map<std::string, NSError> userInfo) {
    notifications_.post(Notification{std::string(name), volume.object, std::move(userInfo)});
}

void FakeUserFileSystems::finishMount(FakeVolume& volume) {
    volume.mounted = volume.delegate.lock();
    volume.mounted->willMount();
    post(kGMUserFileSystemDidMount, volume);
}

void FakeUserFileSystems::failMount(FakeVolume& volume, const NSError& error) {
    post(kGMUserFileSystemMountFailed, volume, {{std::string(kGMUserFileSystemErrorKey), error}});
}

void FakeUserFileSystems::finishUnmount(FakeVolume& volume) {
    if (!volume.mounted) {
        return;
    }
    const auto delegate = std::exchange(volume.mounted, nullptr);
    delegate->willUnmount();
    post(kGMUserFileSystemDidUnmount, volume);
}

}  // namespace quillbox::fakes
