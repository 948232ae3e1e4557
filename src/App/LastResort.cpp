// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/LastResort.h"

#include "Core/Platform/LogLine.h"
#include "Linux/Host/Signals.h"
#include "Linux/Volume/Detach.h"
#include "Linux/Volume/MountTable.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <utility>

namespace quillbox::app {

namespace {

/// Bytes below 128 are signals.
constexpr unsigned char kArm = 200;
constexpr unsigned char kCallOff = 201;

/// Ends the kernel's side of a volume: whoever waits for it gets an error, and the detachment that
/// follows waits for nobody.
void abortVolume(const std::string& path) {
    if (const auto mount = volume::volumeAt(path)) {
        const std::string file =
            "/sys/fs/fuse/connections/" + std::to_string(mount->deviceMinor) + "/abort";
        const host::FileDescriptor abort(::open(file.c_str(), O_WRONLY | O_CLOEXEC));
        [[maybe_unused]] const auto written = abort ? ::write(abort.get(), "1", 1) : 0;
    }
}

}  // namespace

LastResort::LastResort(Log& log, std::chrono::milliseconds patience,
                       std::function<std::vector<std::string>()> paths)
    : log_(log), patience_(patience), paths_(std::move(paths)) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "no pipe for the last resort");
    }
    reader_.reset(ends[0]);
    writer_.reset(ends[1]);
    // The signal handler must never block.
    ::fcntl(writer_.get(), F_SETFL, O_NONBLOCK);
    thread_ = std::thread([this] { watch(); });
    host::Signals::addReceiver(writer_.get());
}

LastResort::~LastResort() {
    host::Signals::removeReceiver(writer_.get());
    [[maybe_unused]] const auto written = ::write(writer_.get(), &kCallOff, 1);
    thread_.join();
}

void LastResort::arm() {
    [[maybe_unused]] const auto written = ::write(writer_.get(), &kArm, 1);
}

void LastResort::watch() const {
    using Clock = std::chrono::steady_clock;
    auto deadline = Clock::time_point::max();
    for (;;) {
        int wait = -1;
        if (deadline != Clock::time_point::max()) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
            if (left.count() <= 0) {
                endTheProgram();
            }
            wait = static_cast<int>(left.count());
        }
        pollfd source{reader_.get(), POLLIN, 0};
        unsigned char byte = 0;
        if (::poll(&source, 1, wait) <= 0 || ::read(reader_.get(), &byte, 1) != 1) {
            continue;
        }
        if (byte == kCallOff) {
            return;
        }
        if (deadline == Clock::time_point::max()) {
            deadline = Clock::now() + patience_;
        }
    }
}

void LastResort::endTheProgram() const {
    logLine(log_, LogLevel::Warning, "The end takes too long: it is forced.");
    bool all = true;
    for (const auto& path : paths_()) {
        abortVolume(path);
        if (const int error = volume::detach(path, volume::Detachment::Lazy); error != 0) {
            logLine(log_, LogLevel::Error, "The volume ", path, " could not be unmounted (error ",
                    error, ").");
            all = false;
        }
        ::rmdir(path.c_str());
    }
    std::_Exit(all ? 0 : 1);
}

}  // namespace quillbox::app
