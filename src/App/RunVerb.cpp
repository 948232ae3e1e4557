// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/RunVerb.h"

#include "App/InstanceKey.h"
#include "Linux/Control/Descriptor.h"
#include "Linux/Control/Json.h"
#include "Linux/Control/Protocol.h"
#include "Linux/Control/SingleInstance.h"
#include "Linux/Control/VerbClient.h"
#include "Linux/Host/UserFolders.h"

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <iostream>
#include <memory>
#include <string>
#include <thread>

namespace quillbox::app {

namespace {

using namespace std::chrono_literals;

/// Longer than the running program takes to give up.
constexpr auto kLongestVerb = 120s;
constexpr auto kLongestQuit = 30s;

int complain(int status, const std::string& why) {
    std::cerr << "quillbox: " << control::printable(why) << "\n";
    return status;
}

/// Shows the end of a process, whoever gets its number afterwards; null on an old kernel.
std::unique_ptr<control::Descriptor> watchProcess(int process) {
    return control::Descriptor::own(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
}

/// All is unmounted once the instance's lock is free; what is left of its process takes a moment.
int awaitEnd(const control::Instance& instance, const control::Descriptor* process, bool json) {
    const auto deadline = std::chrono::steady_clock::now() + kLongestQuit;
    while (control::isRunning(instance)) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return complain(control::kCouldNot, "the running Quillbox does not end");
        }
        std::this_thread::sleep_for(20ms);
    }
    if (process != nullptr) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd source{process->number(), POLLIN, 0};
        ::poll(&source, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
    }
    if (json) {
        std::cout << "{\n  \"ended\": true\n}\n";
    }
    return control::kDone;
}

}  // namespace

int runVerb(const Options& options) {
    const std::string folder = host::runtimeFolder();
    if (folder.empty()) {
        return complain(control::kCouldNot, "there is no private folder that leads to Quillbox");
    }
    const auto fitting = fittingInstances(options, folder);
    if (fitting.empty()) {
        return complain(control::kNotRunning, "no Quillbox is running");
    }
    if (fitting.size() > 1) {
        return complain(control::kCouldNot, std::to_string(fitting.size()) +
                                                " of Quillbox are running: --preferences FILE or "
                                                "--simulate tells which one is meant");
    }
    const auto& instance = fitting.front();
    const auto& words = options.verb;
    const bool isQuit = words.front() == "quit";
    const auto process = isQuit ? watchProcess(instance.process) : nullptr;
    const auto result = control::call(
        instance, {words.front(), options.json, {words.begin() + 1, words.end()}}, kLongestVerb);
    using Outcome = control::CallResult::Kind;
    if (result.kind == Outcome::Ended && isQuit) {
        return awaitEnd(instance, process.get(), options.json);
    }
    if (result.kind != Outcome::Answered) {
        const bool isGone = result.kind == Outcome::Ended && !control::isRunning(instance);
        return complain(isGone ? control::kNotRunning : control::kCouldNot, result.error);
    }
    std::cout << result.answer.output << std::flush;
    if (!std::cout) {
        return complain(control::kCouldNot, "the output cannot be written");
    }
    return result.answer.status == control::kDone
               ? control::kDone
               : complain(result.answer.status, result.answer.error);
}

}  // namespace quillbox::app
