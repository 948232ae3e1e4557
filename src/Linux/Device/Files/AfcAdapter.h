// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/AFC.h"
#include "Linux/Device/Files/Handles.h"
#include "Linux/Device/Lockdown/PlatformLink.h"
#include "Linux/Device/Lockdown/Workers.h"

#include <functional>
#include <memory>
#include <string>

namespace quillbox::device {

/// The `AFC` port over the file connections of this folder.
class AfcAdapter : public AFC {
public:
    /// Told before a connection is closed by its user, on the closing thread, with no lock held.
    using ConnectionEnds = std::function<void(AFCConnectionRef)>;

    AfcAdapter(std::shared_ptr<Handles> handles, Workers& workers, ConnectionEnds connectionEnds)
        : handles_{std::move(handles)},
          workers_{workers},
          connectionEnds_{std::move(connectionEnds)} {}

    AFCError AFCConnectionOpen(AFCConnectionRef service, std::uint32_t ioTimeout,
                               AFCConnectionRef* connection) override;
    AFCError AFCConnectionClose(AFCConnectionRef connection) override;

    AFCError AFCDeviceInfoOpen(AFCConnectionRef connection, AFCKeyValueRef* info) override;
    AFCError AFCFileInfoOpen(AFCConnectionRef connection, const std::string& path,
                             AFCKeyValueRef* info) override;
    AFCError AFCKeyValueRead(AFCKeyValueRef info, const char** key, const char** value) override;
    AFCError AFCKeyValueClose(AFCKeyValueRef info) override;

    AFCError AFCDirectoryOpen(AFCConnectionRef connection, const std::string& path,
                              AFCDirectoryRef* directory) override;
    AFCError AFCDirectoryRead(AFCConnectionRef connection, AFCDirectoryRef directory,
                              const char** name) override;
    AFCError AFCDirectoryClose(AFCConnectionRef connection, AFCDirectoryRef directory) override;
    AFCError AFCDirectoryCreate(AFCConnectionRef connection, const std::string& path) override;

    AFCError AFCFileRefOpen(AFCConnectionRef connection, const std::string& path,
                            std::uint64_t mode, AFCFileRef* file) override;
    AFCError AFCFileRefSeek(AFCConnectionRef connection, AFCFileRef file, std::int64_t offset,
                            std::uint64_t whence) override;
    AFCError AFCFileRefRead(AFCConnectionRef connection, AFCFileRef file, void* buffer,
                            std::uint64_t* length) override;
    AFCError AFCFileRefWrite(AFCConnectionRef connection, AFCFileRef file, const void* buffer,
                             std::uint64_t length) override;
    AFCError AFCFileRefSetFileSize(AFCConnectionRef connection, AFCFileRef file,
                                   std::uint64_t size) override;
    AFCError AFCFileRefClose(AFCConnectionRef connection, AFCFileRef file) override;
    void answerWritesEarly(bool early) override;
    AFCError AFCFileRefSettle(AFCConnectionRef connection, AFCFileRef file) override;
    void AFCConnectionTakeArrived(AFCConnectionRef connection) override;

    AFCError AFCRenamePath(AFCConnectionRef connection, const std::string& from,
                           const std::string& to) override;
    AFCError AFCRemovePath(AFCConnectionRef connection, const std::string& path) override;
    AFCError AFCLinkPath(AFCConnectionRef connection, AFCLinkType type, const std::string& first,
                         const std::string& second) override;

    AFCError AFCTruncatePath(AFCConnectionRef connection, const std::string& path,
                             std::uint64_t size) override;
    AFCError AFCSetModificationTime(AFCConnectionRef connection, const std::string& path,
                                    std::uint64_t nanoseconds) override;

    AFCError lastFailure() const override;
    void forgetFailure() override;

private:
    /// Work with the connection of a number, off the main thread: `work(AfcConnection&)`.
    template <typename Work>
    AFCError onConnection(AFCConnectionRef connection, Work work);
    /// Work with an open file and the client that knows it: `work(FileHandle&)`.
    template <typename Work>
    AFCError onFile(AFCConnectionRef connection, AFCFileRef file, Work work);
    /// A request that changes something.
    AFCError perform(AFCConnectionRef connection, wire::AfcOperation operation,
                     wire::AfcParameters parameters, InformationWindow::Change change);

    const std::shared_ptr<Handles> handles_;
    Workers& workers_;
    const ConnectionEnds connectionEnds_;
};

}  // namespace quillbox::device
