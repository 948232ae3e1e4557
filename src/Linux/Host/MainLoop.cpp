// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/MainLoop.h"

#include "Linux/Host/Signals.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace quillbox::host {

namespace {

std::pair<FileDescriptor, FileDescriptor> makePipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        throw std::system_error(errno, std::generic_category(), "no pipe for the main loop");
    }
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

int millisecondsUntil(MainLoop::Clock::time_point deadline) {
    using namespace std::chrono;
    if (deadline == MainLoop::Clock::time_point::max()) {
        return -1;
    }
    const auto left = ceil<milliseconds>(deadline - MainLoop::Clock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, 3'600'000));
}

}  // namespace

MainLoop::MainLoop() : mainThread_(std::this_thread::get_id()) {
    std::tie(wakeReader_, wakeWriter_) = makePipe();
    std::tie(signalReader_, signalWriter_) = makePipe();
    if (!Signals::addReceiver(signalWriter_.get())) {
        throw std::runtime_error("too many receivers of signals");
    }
}

MainLoop::~MainLoop() {
    Signals::removeReceiver(signalWriter_.get());
}

bool MainLoop::isMainThread() const {
    return std::this_thread::get_id() == mainThread_;
}

void MainLoop::post(std::function<void()> task) {
    put({std::move(task), false});
}

void MainLoop::postLook(std::function<void()> task) {
    put({std::move(task), true});
}

void MainLoop::put(Task task) {
    {
        const std::lock_guard guard(mutex_);
        tasks_.push_back(std::move(task));
    }
    wake();
}

void MainLoop::wake() {
    const char byte = 0;
    // A full pipe wakes as well as one byte more would.
    [[maybe_unused]] const auto written = ::write(wakeWriter_.get(), &byte, 1);
}

void MainLoop::quit() {
    {
        const std::lock_guard guard(mutex_);
        quitting_ = true;
    }
    wake();
}

bool MainLoop::isQuitting() const {
    const std::lock_guard guard(mutex_);
    return quitting_;
}

void MainLoop::allowWaits(std::chrono::milliseconds altogether) {
    const std::lock_guard guard(mutex_);
    waitsAllowedUntil_ = Clock::now() + altogether;
}

void MainLoop::endWaits(const void* subject) {
    {
        const std::lock_guard guard(mutex_);
        for (Wait* each : waits_) {
            each->ended = each->ended || each->subject == subject;
        }
    }
    wake();
}

int MainLoop::run() {
    while (!isQuitting()) {
        if (runDueTimer() || runNextTask()) {
            // However much there is to do, signals and the desktop have their turn.
            sleepUntil(Clock::now());
            continue;
        }
        sleepUntil(nextTimer());
    }
    return endingSignal_;
}

bool MainLoop::wait(const std::shared_ptr<Completion>& completion, const void* subject,
                    const std::string& what) {
    Wait wait{subject, false};
    {
        const std::lock_guard guard(mutex_);
        waits_.push_back(&wait);
    }
    ++waitDepth_;
    const bool finished = serveWait(*completion, wait, what);
    --waitDepth_;
    const std::lock_guard guard(mutex_);
    std::erase(waits_, &wait);
    return finished;
}

bool MainLoop::serveWait(const Completion& completion, const Wait& wait, const std::string& what) {
    const auto longFrom = Clock::now() + kWaitBecomesLong;
    bool told = false;
    while (!completion.isFinished() && !mustEnd(wait)) {
        if (!told && Clock::now() >= longFrom) {
            told = true;
            if (waitObserver_) {
                waitObserver_(what, true);
            }
        }
        if (runDueTimer() || runNextTask(true)) {
            readSignals();
            continue;
        }
        auto deadline = std::min(nextTimer(), told ? Clock::time_point::max() : longFrom);
        if (const std::lock_guard guard(mutex_); quitting_) {
            deadline = std::min(deadline, waitsAllowedUntil_);
        }
        sleepUntil(deadline);
    }
    if (told && waitObserver_) {
        waitObserver_(what, false);
    }
    return completion.isFinished();
}

bool MainLoop::mustEnd(const Wait& wait) const {
    const std::lock_guard guard(mutex_);
    return wait.ended || (quitting_ && Clock::now() >= waitsAllowedUntil_);
}

void MainLoop::sleepUntil(Clock::time_point deadline) {
    if (sleeper_) {
        sleeper_({wakeReader_.get(), signalReader_.get()}, deadline);
    } else {
        std::array<pollfd, 2> sources{
            {{wakeReader_.get(), POLLIN, 0}, {signalReader_.get(), POLLIN, 0}}};
        ::poll(sources.data(), sources.size(), millisecondsUntil(deadline));
    }
    std::array<char, 256> bytes{};
    while (::read(wakeReader_.get(), bytes.data(), bytes.size()) > 0) {
    }
    readSignals();
}

void MainLoop::readSignals() {
    unsigned char signal = 0;
    while (::read(signalReader_.get(), &signal, 1) == 1) {
        const std::lock_guard guard(mutex_);
        if (quitting_) {
            waitsAllowedUntil_ = {};
        }
        quitting_ = true;
        endingSignal_ = signal;
    }
}

bool MainLoop::runNextTask(bool isLooksOnly) {
    Task task;
    {
        const std::lock_guard guard(mutex_);
        const auto next = std::find_if(tasks_.begin(), tasks_.end(), [&](const Task& each) {
            return each.isLook || !isLooksOnly;
        });
        if (next == tasks_.end()) {
            return false;
        }
        task = std::move(*next);
        tasks_.erase(next);
    }
    task.run();
    return true;
}

bool MainLoop::runDueTimer() {
    const auto first = timers_.begin();
    if (first == timers_.end() || first->first > Clock::now()) {
        return false;
    }
    const auto action = std::move(first->second.action);
    timers_.erase(first);
    action();
    return true;
}

MainLoop::Clock::time_point MainLoop::nextTimer() const {
    return timers_.empty() ? Clock::time_point::max() : timers_.begin()->first;
}

MainLoop::TimerId MainLoop::addTimer(std::chrono::milliseconds delay,
                                     std::function<void()> action) {
    timers_.emplace(Clock::now() + delay, Timer{++lastTimer_, std::move(action)});
    return lastTimer_;
}

void MainLoop::cancelTimer(TimerId timer) {
    std::erase_if(timers_, [timer](const auto& each) { return each.second.id == timer; });
}

}  // namespace quillbox::host
