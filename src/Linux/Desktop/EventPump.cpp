// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/EventPump.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <poll.h>

#include <algorithm>
#include <cstdint>
#include <utility>

namespace quillbox::desktop {

namespace {

/// How a loop of ours ends by itself; the end of the desktop gives another number, since its
/// library ends every loop with a failure then.
constexpr int kWoken = 0;
/// A sleep may end early; without a deadline there is one all the same.
constexpr std::chrono::milliseconds kLongestSleep{3'600'000};

bool waitFor(const std::vector<int>& descriptors, EventPump::Clock::time_point deadline) {
    using std::chrono::milliseconds;
    std::vector<pollfd> sources;
    for (const int each : descriptors) {
        sources.push_back({each, POLLIN, 0});
    }
    const auto left = std::chrono::ceil<milliseconds>(deadline - EventPump::Clock::now()).count();
    return ::poll(sources.data(), sources.size(),
                  static_cast<int>(std::clamp<std::int64_t>(left, 0, kLongestSleep.count()))) > 0;
}

}  // namespace

QSocketNotifier& EventPump::notifier(int descriptor) {
    auto& found = notifiers_[descriptor];
    if (!found) {
        found = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read);
        QObject::connect(found.get(), &QSocketNotifier::activated, found.get(), [this] {
            if (innermost_ != nullptr) {
                innermost_->exit(kWoken);
            }
        });
    }
    return *found;
}

bool EventPump::serve(const std::vector<int>& descriptors, Clock::time_point deadline) {
    for (const int each : descriptors) {
        notifier(each);
    }
    QEventLoop loop;
    QEventLoop* const outer = std::exchange(innermost_, &loop);
    int ended = kWoken;
    if (deadline <= Clock::now() || waitFor(descriptors, Clock::now())) {
        loop.processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    } else {
        QTimer timer;
        timer.setSingleShot(true);
        timer.setTimerType(Qt::PreciseTimer);
        if (deadline != Clock::time_point::max()) {
            using std::chrono::milliseconds;
            const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
            QObject::connect(&timer, &QTimer::timeout, &loop, [&loop] { loop.exit(kWoken); });
            timer.start(std::clamp(left, milliseconds(0), kLongestSleep));
        }
        ended = loop.exec();
    }
    innermost_ = outer;
    if (ended != kWoken && deadline > Clock::now()) {
        // The program's own end goes on without a desktop.
        waitFor(descriptors, deadline);
    }
    return ended == kWoken;
}

}  // namespace quillbox::desktop
