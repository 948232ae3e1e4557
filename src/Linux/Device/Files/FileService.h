// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Device/Lockdown/Device.h"

#include <chrono>
#include <memory>
#include <string>

namespace quillbox::device {

/// What a file connection is opened on: a service by name, or the area of one application.
struct FileService {
    std::string service;           ///< "com.apple.afc", "com.apple.afc2"; empty for an application
    std::string bundleIdentifier;  ///< of the application
    /// Only the application's documents are served: the device refused the whole area. Found out
    /// by the first opening, and kept by all later ones, so that the root stays the same.
    bool documentsOnly = false;

    bool isApplication() const { return service.empty(); }

    /// The words for the log.
    std::string describe() const {
        return isApplication() ? "the area of \"" + bundleIdentifier + "\"" : "\"" + service + "\"";
    }
};

/// Opens the connection, ready for AFC. Blocks for the device. After a failure nothing is left
/// open.
Failure openFileService(Device& device, FileService& service, std::chrono::milliseconds noProgress,
                        std::unique_ptr<ServiceConnection>& connection);

}  // namespace quillbox::device
