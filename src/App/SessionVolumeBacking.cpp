// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/SessionVolumeBacking.h"

#include "Core/Session/PodPhone.h"
#include "Core/Volumes/MFDiskFilesystem.h"
#include "Core/Volumes/iPodDevice.h"

#include <utility>

namespace quillbox::app {

namespace {

/// Where the session keeps the number of an open file in its record.
constexpr std::string_view kFileRef = "fileRef";

AFCFileRef openFile(const GMUserData& userData) {
    const auto* file = userData ? find(*userData, kFileRef) : nullptr;
    return file != nullptr ? file->unsignedValue() : 0;
}

}  // namespace

SessionVolumeBacking::SessionVolumeBacking(AFC& afc,
                                           std::weak_ptr<GMUserFileSystemDelegate> delegate)
    : afc_(afc), delegate_(std::move(delegate)) {}

std::shared_ptr<PodPhone> SessionVolumeBacking::session() const {
    const auto delegate = delegate_.lock();
    const auto* disk = dynamic_cast<const MFDiskFilesystem*>(delegate.get());
    return disk != nullptr ? disk->currentDevice().iPhoneInterface() : nullptr;
}

AFCConnectionRef SessionVolumeBacking::connection() {
    const auto phone = session();
    return phone ? phone->myConnection() : 0;
}

AFCError SessionVolumeBacking::setFileSize(const std::string& path, const GMUserData& userData,
                                           std::uint64_t size) {
    const auto phone = session();
    if (!phone) {
        return kAFCConnectionLost;
    }
    const AFCConnectionRef connection = phone->myConnection();
    if (const AFCFileRef file = openFile(userData); file != 0) {
        return afc_.AFCFileRefSetFileSize(connection, file, size);
    }
    return afc_.AFCTruncatePath(connection, phone->devicePathForVolumePath(path), size);
}

AFCError SessionVolumeBacking::finishWrites(const GMUserData& userData) {
    const AFCFileRef file = openFile(userData);
    if (file == 0) {
        return kAFCSuccess;
    }
    const auto phone = session();
    return phone ? afc_.AFCFileRefSettle(phone->myConnection(), file)
                 : AFCError{kAFCConnectionLost};
}

AFCError SessionVolumeBacking::setModificationTime(const std::string& path,
                                                   std::int64_t nanoseconds) {
    if (nanoseconds < 0) {
        return kAFCInvalidArgument;
    }
    const auto phone = session();
    if (!phone) {
        return kAFCConnectionLost;
    }
    // The connection first: a path that was mapped earlier could belong to another root.
    const AFCConnectionRef connection = phone->myConnection();
    return afc_.AFCSetModificationTime(connection, phone->devicePathForVolumePath(path),
                                       static_cast<std::uint64_t>(nanoseconds));
}

}  // namespace quillbox::app
