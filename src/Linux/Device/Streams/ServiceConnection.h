// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Device/Streams/ByteStream.h"

#include <libimobiledevice/libimobiledevice.h>

#include <memory>

namespace quillbox::device {

/// Owns the device library's handle of one device. It holds the multiplexer's number of the device
/// and is only read once made, so that several threads may connect through it.
class DeviceHandle {
public:
    explicit DeviceHandle(idevice_t handle) : handle_{handle} {}

    ~DeviceHandle() { idevice_free(handle_); }

    DeviceHandle(const DeviceHandle&) = delete;
    DeviceHandle& operator=(const DeviceHandle&) = delete;

    idevice_t get() const { return handle_; }

private:
    idevice_t handle_;
};

/// One connection to a port of a device: the device library connects it and closes it; the bytes
/// between are ours.
class ServiceConnection {
public:
    ServiceConnection(idevice_connection_t connection, int descriptor,
                      std::shared_ptr<SocketBreaker> breaker, std::chrono::milliseconds noProgress)
        : connection_{connection}, stream_{descriptor, std::move(breaker), noProgress} {}

    ByteStream& stream() { return stream_; }

private:
    struct Disconnect {
        void operator()(idevice_connection_t connection) const { idevice_disconnect(connection); }
    };

    // Order matters: the stream lets go of the descriptor before the library closes it.
    std::unique_ptr<idevice_connection_private, Disconnect> connection_;
    ByteStream stream_;
};

}  // namespace quillbox::device
