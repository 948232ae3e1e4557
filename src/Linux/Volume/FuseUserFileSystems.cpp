// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Volume/FuseUserFileSystems.h"

#include "Linux/Volume/VolumeCollection.h"

#include <utility>

namespace quillbox {
namespace {

/// The object that the program mounts and unmounts by; each mount is a volume of its own.
class FuseUserFileSystem final : public GMUserFileSystem {
public:
    FuseUserFileSystem(std::weak_ptr<volume::VolumeCollection> volumes,
                       std::weak_ptr<GMUserFileSystemDelegate> delegate, bool isThreadSafe)
        : volumes_(std::move(volumes)),
          delegate_(std::move(delegate)),
          isThreadSafe_(isThreadSafe) {
        subject_->object = static_cast<const GMUserFileSystem*>(this);
    }

    ~FuseUserFileSystem() override { subject_->object = nullptr; }

    FuseUserFileSystem(const FuseUserFileSystem&) = delete;
    FuseUserFileSystem& operator=(const FuseUserFileSystem&) = delete;

    void mountAtPath(const std::string& path,
                     const std::vector<std::string>& withOptions) override {
        if (const auto volumes = volumes_.lock()) {
            if (auto volume =
                    volumes->mount({path, withOptions, delegate_, isThreadSafe_, subject_})) {
                volume_ = volume;
            }
        }
    }

    void unmount() override {
        if (const auto volume = std::exchange(volume_, {}).lock()) {
            volume->unmount();
        }
    }

private:
    const std::weak_ptr<volume::VolumeCollection> volumes_;
    const std::weak_ptr<GMUserFileSystemDelegate> delegate_;
    const bool isThreadSafe_;
    const std::shared_ptr<volume::NoticeSubject> subject_ =
        std::make_shared<volume::NoticeSubject>();
    std::weak_ptr<volume::Volume> volume_;
};

}  // namespace

FuseUserFileSystems::FuseUserFileSystems(RunLoop& loop, NotificationCenter& notifications, Log& log,
                                         volume::BackingFactory backing)
    : volumes_(std::make_shared<volume::VolumeCollection>(loop, notifications, log,
                                                          std::move(backing))) {}

FuseUserFileSystems::~FuseUserFileSystems() {
    volumes_->close();
}

std::unique_ptr<GMUserFileSystem>
FuseUserFileSystems::initWithDelegate(std::weak_ptr<GMUserFileSystemDelegate> delegate,
                                      bool isThreadSafe) {
    return std::make_unique<FuseUserFileSystem>(volumes_, std::move(delegate), isThreadSafe);
}

void FuseUserFileSystems::connectionEnds(AFCConnectionRef connection, bool deviceGone) {
    volumes_->connectionEnds(connection, deviceGone);
}

std::vector<std::string> FuseUserFileSystems::tombstones() const {
    return volumes_->tombstones();
}

std::vector<std::string> FuseUserFileSystems::claimedPaths() const {
    return volumes_->claimedPaths();
}

std::vector<std::string> FuseUserFileSystems::writtenPaths() const {
    return volumes_->writtenPaths();
}

void FuseUserFileSystems::endAll() {
    volumes_->endAll();
}

}  // namespace quillbox
