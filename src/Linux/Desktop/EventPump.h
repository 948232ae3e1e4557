// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSocketNotifier>

#include <chrono>
#include <map>
#include <memory>
#include <vector>

class QEventLoop;

namespace quillbox::desktop {

/// Serves the desktop's events for a main loop that is not Qt's: input, repaints, the session bus.
/// What the user does reaches the core as posted tasks only (`Choices.h`), so that a long wait may
/// be spent here as well as idle time. Main thread, after the application object.
class EventPump {
public:
    using Clock = std::chrono::steady_clock;

    /// Returns when one of the descriptors can be read or the deadline is over. False when the
    /// desktop has ended and nothing can be served any more.
    bool serve(const std::vector<int>& descriptors, Clock::time_point deadline);

private:
    QSocketNotifier& notifier(int descriptor);

    std::map<int, std::unique_ptr<QSocketNotifier>> notifiers_;
    QEventLoop* innermost_ = nullptr;
};

}  // namespace quillbox::desktop
