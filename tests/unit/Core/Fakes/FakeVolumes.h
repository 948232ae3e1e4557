// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CallRecord.h"
#include "Core/Platform/NotificationCenter.h"
#include "Core/Platform/UserFileSystem.h"

#include <memory>
#include <string>
#include <vector>

namespace quillbox::fakes {

/// What became of one file-system object of the library. It outlives the object, as a mounted
/// volume does.
struct FakeVolume {
    std::weak_ptr<GMUserFileSystemDelegate> delegate;
    bool isThreadSafe = true;
    std::string path;
    std::vector<std::string> options;
    /// Held while the volume is mounted.
    std::shared_ptr<GMUserFileSystemDelegate> mounted;
    const GMUserFileSystem* object = nullptr;  ///< null once the object is gone
    int mounts = 0;
    int unmounts = 0;
};

/// The volume library: a mount is only asked for; the test decides when and how it ends.
class FakeUserFileSystems final : public UserFileSystems {
public:
    FakeUserFileSystems(CallRecord& record, NotificationCenter& notifications)
        : record_(record), notifications_(notifications) {}

    /// What is still mounted lets go of its delegate, as the end of the process does.
    ~FakeUserFileSystems() override {
        for (const auto& volume : std::vector(volumes_)) {
            volume->mounted.reset();
        }
    }

    FakeUserFileSystems(const FakeUserFileSystems&) = delete;
    FakeUserFileSystems& operator=(const FakeUserFileSystems&) = delete;

    std::unique_ptr<GMUserFileSystem>
    initWithDelegate(std::weak_ptr<GMUserFileSystemDelegate> delegate, bool isThreadSafe) override;

    const std::vector<std::shared_ptr<FakeVolume>>& volumes() const { return volumes_; }

    FakeVolume& last() { return *volumes_.back(); }

    /// The volume comes up.
    void finishMount(FakeVolume& volume);
    void failMount(FakeVolume& volume, const NSError& error);
    /// The volume goes, whoever asked for it.
    void finishUnmount(FakeVolume& volume);
    void post(std::string_view name, const FakeVolume& volume,
              std::map<std::string, NSError> userInfo = {});

    CallRecord& record() { return record_; }

private:
    CallRecord& record_;
    NotificationCenter& notifications_;
    std::vector<std::shared_ptr<FakeVolume>> volumes_;
};

}  // namespace quillbox::fakes
