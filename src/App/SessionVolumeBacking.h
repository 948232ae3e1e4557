// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/AFC.h"
#include "Core/Platform/VolumeBacking.h"

#include <memory>
#include <string>

namespace quillbox {
class PodPhone;
}

namespace quillbox::app {

/// The way past the delegate to its device: everything goes to the session that the delegate's
/// device has at that moment, over the connection that the session has then.
class SessionVolumeBacking final : public VolumeBacking {
public:
    /// The delegate is held weakly: the volume that owns this object holds it as long as it calls.
    SessionVolumeBacking(AFC& afc, std::weak_ptr<GMUserFileSystemDelegate> delegate);

    AFCConnectionRef connection() override;

    void beginCall() override { afc_.forgetFailure(); }

    AFCError lastFailure() override { return afc_.lastFailure(); }

    void answerWritesEarly(bool early) override { afc_.answerWritesEarly(early); }

    void useMoment() override { afc_.AFCConnectionTakeArrived(connection()); }

    AFCError finishWrites(const GMUserData& userData) override;

    AFCError setFileSize(const std::string& path, const GMUserData& userData,
                         std::uint64_t size) override;
    AFCError setModificationTime(const std::string& path, std::int64_t nanoseconds) override;

private:
    std::shared_ptr<PodPhone> session() const;

    AFC& afc_;
    const std::weak_ptr<GMUserFileSystemDelegate> delegate_;
};

}  // namespace quillbox::app
