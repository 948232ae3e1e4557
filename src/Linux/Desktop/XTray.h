// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAbstractNativeEventFilter>
#include <QTimer>

#include <functional>

namespace quillbox::desktop {

/// Whether the X server's tray is there: some window owns its selection. Main thread.
class XTray final : private QAbstractNativeEventFilter {
public:
    /// `changed` is called after a tray has come or gone.
    explicit XTray(std::function<void()> changed);
    ~XTray() override;

    /// Whether there is an X server at all.
    static bool isPossible();

    bool isThere() const { return owner_ != 0; }

private:
    bool nativeEventFilter(const QByteArray& kind, void* message, qintptr* result) override;
    void look();

    std::function<void()> changed_;
    quint32 selection_ = 0;
    quint32 manager_ = 0;
    quint32 owner_ = 0;
    QTimer lookAgain_;
};

}  // namespace quillbox::desktop
