// SPDX-License-Identifier: GPL-3.0-or-later
#include "SimulatedPhones.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <spawn.h>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace quillbox::test {

namespace {

std::vector<char*> argumentsOf(std::vector<std::string>& words) {
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    return arguments;
}

/// Starts the simulator's program with its standard output on a pipe, whose other end is handed
/// out.
pid_t start(std::vector<std::string> words, int* output) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    words.insert(words.begin(), QUILLBOX_SIMULATOR);
    pid_t process = -1;
    const int error = ::posix_spawn(&process, QUILLBOX_SIMULATOR, &actions, nullptr,
                                    argumentsOf(words).data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    *output = ends[0];
    if (error != 0) {
        throw std::runtime_error("the simulated device could not be started");
    }
    return process;
}

std::string readAll(int descriptor) {
    std::string text;
    std::array<char, 4096> block{};
    ssize_t count = 0;
    while ((count = ::read(descriptor, block.data(), block.size())) > 0) {
        text.append(block.data(), static_cast<std::size_t>(count));
    }
    ::close(descriptor);
    return text;
}

}  // namespace

SimulatedPhones::SimulatedPhones(const std::vector<std::string>& options) {
    std::string name = "/tmp/quillbox-roots-XXXXXX";
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    folder_ = name;
    std::vector<std::string> words{"--socket",           folder_ + "/mux", "--control",
                                   folder_ + "/control", "--state",        folder_ + "/state",
                                   "--exit-with-parent"};
    words.insert(words.end(), options.begin(), options.end());
    int output = -1;
    process_ = start(words, &output);
    const std::unique_ptr<FILE, int (*)(FILE*)> stream(::fdopen(output, "r"), ::fclose);
    std::array<char, 64> line{};
    if (std::fgets(line.data(), line.size(), stream.get()) == nullptr ||
        std::string(line.data()) != "ready\n") {
        throw std::runtime_error("the simulated device is not ready");
    }
    ::setenv("USBMUXD_SOCKET_ADDRESS", ("UNIX:" + folder_ + "/mux").c_str(), 1);
    std::istringstream list(control({"list"}));
    for (std::string row; std::getline(list, row);) {
        identifiers_.push_back(row.substr(0, row.find(' ')));
    }
}

SimulatedPhones::~SimulatedPhones() {
    ::kill(process_, SIGTERM);
    ::waitpid(process_, nullptr, 0);
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

std::string SimulatedPhones::control(const std::vector<std::string>& words) const {
    std::vector<std::string> all{"ctl", "--control", folder_ + "/control"};
    all.insert(all.end(), words.begin(), words.end());
    int output = -1;
    const pid_t process = start(all, &output);
    std::string text = readAll(output);
    int status = 0;
    ::waitpid(process, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        throw std::runtime_error("the simulated device refused: " + words.front());
    }
    return text;
}

}  // namespace quillbox::test
