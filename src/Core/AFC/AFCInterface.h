// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/AFC/AFCPlatform.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace quillbox {

/// Bytes of a file.
using AFCData = std::vector<std::uint8_t>;
/// The texts that a path, or a device, is described by.
using AFCAttributes = std::map<std::string, std::string, std::less<>>;

/// Open modes of this layer, by the protocol's numbers.
enum AFCInterfaceMode : std::int32_t {
    kAFCModeRead = 2,   ///< read and write, made if it is absent, kept
    kAFCModeWrite = 3,  ///< write, made or cut to nothing
};

/// One operation for each request of one connection, which it neither owns nor closes. Paths are
/// UTF-8. Requests report a failure by their result alone, except where it says so.
class AFCInterface {
public:
    /// `platform` must outlive this.
    AFCInterface(const AFCPlatform& platform, AFCConnectionRef connection)
        : platform_(platform), afc_handle_(connection) {}

    /// Keeps the connection and asks nothing.
    static AFCInterface initWithAFCConnection(const AFCPlatform& platform,
                                              AFCConnectionRef connection) {
        return {platform, connection};
    }

    AFCConnectionRef afc_handle() const { return afc_handle_; }

    bool removePath(const std::string& path) const;
    bool renamePath(const std::string& path, const std::string& to) const;
    bool createDirectory(const std::string& path) const;
    /// Every name in the device's order, "." and ".." included. Throws an `NSException` without
    /// name and message when the directory cannot be opened.
    std::vector<std::string> listFilesInPath(const std::string& path) const;
    std::optional<AFCAttributes> getAttributesAtPath(const std::string& path) const;
    std::optional<AFCAttributes> getDeviceAttributes() const;
    bool isDirectoryAtPath(const std::string& path) const;
    bool isFileAtPath(const std::string& path) const;

    /// 0, and a log line, on failure.
    AFCFileRef openFileAtPath(const std::string& path, std::int32_t withMode) const;
    bool closeFile(AFCFileRef file) const;
    /// Up to `*size` bytes from an offset; `*size` becomes what was read. None after a failure,
    /// with `*size` as it was, and a log line where the read itself failed.
    std::optional<AFCData> readFromFile(AFCFileRef file, std::uint32_t* size,
                                        std::int64_t offset) const;
    /// True at once for nothing to write.
    bool writeToFile(AFCFileRef file, const std::uint8_t* data, std::uint64_t size,
                     std::int64_t offset) const;
    /// Opening for it cuts the file to nothing first.
    bool setSizeOfFile(const std::string& path, std::int64_t toSize) const;
    /// Every pair of an answer, until it fails or gives no key or no value. The answer stays open.
    AFCAttributes createDictionaryForAFCDictionary(AFCKeyValueRef dictionary) const;

private:
    const AFCPlatform& platform_;
    AFCConnectionRef afc_handle_;
};

}  // namespace quillbox
