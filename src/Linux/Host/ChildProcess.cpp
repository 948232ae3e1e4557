// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <thread>
#include <utility>

namespace quillbox::host {

namespace {

class SpawnSettings {
public:
    SpawnSettings() {
        ::posix_spawn_file_actions_init(&files_);
        ::posix_spawnattr_init(&attributes_);
        sigset_t none;
        sigset_t toDefault;
        sigemptyset(&none);
        sigemptyset(&toDefault);
        for (const int each : {SIGPIPE, SIGINT, SIGTERM, SIGHUP}) {
            sigaddset(&toDefault, each);
        }
        ::posix_spawnattr_setsigmask(&attributes_, &none);
        ::posix_spawnattr_setsigdefault(&attributes_, &toDefault);
        // A group of its own: the terminal's Ctrl-C is for us, and we end the child when its device
        // is no longer needed.
        ::posix_spawnattr_setpgroup(&attributes_, 0);
        ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF |
                                                     POSIX_SPAWN_SETPGROUP);
    }

    ~SpawnSettings() {
        ::posix_spawn_file_actions_destroy(&files_);
        ::posix_spawnattr_destroy(&attributes_);
    }

    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    posix_spawn_file_actions_t* files() { return &files_; }

    posix_spawnattr_t* attributes() { return &attributes_; }

private:
    posix_spawn_file_actions_t files_{};
    posix_spawnattr_t attributes_{};
};

}  // namespace

std::unique_ptr<ChildProcess> ChildProcess::start(const std::string& program,
                                                  const std::vector<std::string>& arguments,
                                                  std::string* error) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        *error = std::strerror(errno);
        return nullptr;
    }
    FileDescriptor reader(ends[0]);
    const FileDescriptor writer(ends[1]);
    SpawnSettings settings;
    ::posix_spawn_file_actions_addopen(settings.files(), 0, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_adddup2(settings.files(), writer.get(), 1);

    std::vector<std::string> words{program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (auto& each : words) {
        pointers.push_back(each.data());
    }
    pointers.push_back(nullptr);
    pid_t process = 0;
    if (const int failure = ::posix_spawn(&process, program.c_str(), settings.files(),
                                          settings.attributes(), pointers.data(), environ);
        failure != 0) {
        *error = std::strerror(failure);
        return nullptr;
    }
    return std::make_unique<ChildProcess>(process, std::move(reader));
}

ChildProcess::~ChildProcess() {
    ::kill(process_, SIGTERM);
    if (!waitForEnd(std::chrono::seconds(2))) {
        ::kill(process_, SIGKILL);
        ::waitpid(process_, nullptr, 0);
    }
}

bool ChildProcess::waitForEnd(std::chrono::milliseconds atMost) {
    const auto deadline = std::chrono::steady_clock::now() + atMost;
    while (::waitpid(process_, nullptr, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

bool ChildProcess::waitForLine(const std::string& line, std::chrono::milliseconds atMost) {
    const auto deadline = std::chrono::steady_clock::now() + atMost;
    for (;;) {
        for (auto end = unread_.find('\n'); end != std::string::npos; end = unread_.find('\n')) {
            const bool found = unread_.compare(0, end, line) == 0;
            unread_.erase(0, end + 1);
            if (found) {
                return true;
            }
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd source{output_.get(), POLLIN, 0};
        if (left.count() <= 0 || ::poll(&source, 1, static_cast<int>(left.count())) == 0) {
            return false;
        }
        std::array<char, 4096> buffer{};
        const auto count = ::read(output_.get(), buffer.data(), buffer.size());
        if (count == 0 || (count < 0 && errno != EINTR)) {
            return false;
        }
        unread_.append(buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    }
}

}  // namespace quillbox::host
