// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/AFC/AFCDeviceRef.h"
#include "Core/AFC/AFCInterface.h"

#include <memory>
#include <string>
#include <vector>

namespace quillbox {

class AFCDevice;

/// A stretch of a file's bytes.
struct AFCRange {
    std::uint64_t location = 0;
    std::uint64_t length = 0;
};

/// The most that one request of a transfer carries, in bytes.
inline constexpr std::uint32_t kAFCChunkSize = 0x40000;
/// The file service that every device offers.
inline constexpr const char* kAFCMediaService = "com.apple.afc";

/// Who wants to know when a device has left.
class AFCDeviceDelegate {
public:
    virtual ~AFCDeviceDelegate() = default;

    virtual void deviceWasDisconnected(AFCDevice& /*device*/) {}
};

/// A device with an open file connection, and whole files over it. Steps to the connection throw
/// `NSException`; requests on files report a failure by their result. The connection stays open
/// when this ends. No locks: one thread at a time.
class AFCDevice {
public:
    /// Connects, checks the pairing, starts a session and opens the media area; null when one of
    /// the steps yields nothing.
    static std::shared_ptr<AFCDevice> initWithRef(const std::shared_ptr<AFCDeviceRef>& ref);

    /// Nothing is open yet. `platform` must outlive this.
    explicit AFCDevice(const AFCPlatform& platform) : platform_(platform) {}

    AFCDevice(const AFCDevice&) = delete;
    AFCDevice& operator=(const AFCDevice&) = delete;
    ~AFCDevice();

    /// Up to the session. True, and the reference is kept, on success; else throws "AFCDevice".
    bool initializeDevice(const std::shared_ptr<AFCDeviceRef>& ref);
    /// Starts a service and opens a connection over it: its number, 0 without a reference. Throws
    /// "AFCDevice".
    AFCConnectionRef openDevice(const std::shared_ptr<AFCDeviceRef>& ref,
                                const std::string& withService) const;
    /// Goes over to another device.
    void setDeviceRef(const std::shared_ptr<AFCDeviceRef>& ref);
    /// Tells the delegate when the notice is about this device.
    void disconnected(const Notification& notification);

    /// The whole file; none where there is no plain file, empty when it cannot be opened. A chunk
    /// that cannot be read is left out, and reading goes on behind it for as long as reads fail.
    std::optional<AFCData> contentsOfFileAtPath(const std::string& path) const;
    /// A stretch of a file, cut at the file's end. A chunk that cannot be read is left out.
    std::optional<AFCData> chunkOfFileAtPath(const std::string& path, AFCRange range) const;
    /// Makes or replaces a file, where its parent is a directory. Failures are not told.
    void createFileAtPath(const std::string& path, const AFCData& withData) const;
    /// Only plain files.
    void deleteFileAtPath(const std::string& path) const;
    /// The names of the plain files, or of the directories, in a directory in the device's order.
    /// Throws what `listFilesInPath` throws.
    std::vector<std::string> listOfFilesAtPath(const std::string& path) const;
    std::vector<std::string> listOfFoldersAtPath(const std::string& path) const;

    /// Null until a connection is open.
    const std::shared_ptr<AFCInterface>& deviceInterface() const { return deviceInterface_; }

    const std::shared_ptr<AFCDeviceRef>& device() const { return device_; }

    const std::shared_ptr<AFCDeviceDelegate>& delegate() const { return delegate_; }

    void setDelegate(std::shared_ptr<AFCDeviceDelegate> delegate) {
        delegate_ = std::move(delegate);
    }

private:
    /// Initializes and opens the media area; false when one of the steps yields nothing.
    bool open(const std::shared_ptr<AFCDeviceRef>& ref);
    /// None for what is no plain file, 0 for one that cannot be opened.
    std::optional<AFCFileRef> openForReading(const std::string& path) const;
    std::vector<std::string> listOf(const std::string& path,
                                    bool (AFCInterface::*isWanted)(const std::string&) const) const;

    const AFCPlatform& platform_;
    std::shared_ptr<AFCInterface> deviceInterface_;
    std::shared_ptr<AFCDeviceRef> device_;
    std::shared_ptr<AFCDeviceDelegate> delegate_;
};

}  // namespace quillbox
