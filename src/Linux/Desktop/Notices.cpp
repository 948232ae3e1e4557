// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/Notices.h"

#include <QApplication>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QVariantMap>

namespace quillbox::desktop {

Notices::Notices(Tray& tray) : tray_(tray), bus_(QDBusConnection::sessionBus()) {}

void Notices::setDevice(const void* device, const std::string& name, const std::string& state,
                        bool needsUser) {
    if (state.empty()) {
        devices_.erase(device);
    } else {
        auto& known = devices_[device];
        const bool isNews = known.state != state;
        known = {name, state, needsUser};
        if (isNews && needsUser) {
            notify(known);
        }
    }
    show();
}

void Notices::setWait(const std::string& what) {
    waits_.clear();
    if (!what.empty()) {
        waits_.push_back(what);
    }
    show();
}

void Notices::show() {
    std::vector<std::string> lines;
    bool needsUser = false;
    for (const auto& [key, device] : devices_) {
        lines.push_back(
            (shownLabel(device.name) + QStringLiteral(": ") + shown(device.state)).toStdString());
        needsUser = needsUser || device.needsUser;
    }
    for (const auto& what : waits_) {
        lines.push_back(
            QApplication::translate("Notices", "Waiting: %1").arg(shown(what)).toStdString());
    }
    tray_.setToolTip(std::move(lines), needsUser);
}

void Notices::notify(const Device& device) {
    auto call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.Notifications"),
                                               QStringLiteral("/org/freedesktop/Notifications"),
                                               QStringLiteral("org.freedesktop.Notifications"),
                                               QStringLiteral("Notify"));
    const QVariantMap hints{{QStringLiteral("desktop-entry"), QApplication::desktopFileName()}};
    // The body may hold markup for some desktops; a device's name is none.
    call << QStringLiteral("Quillbox") << 0U << QApplication::desktopFileName()
         << shownLabel(device.name) << shown(device.state).toHtmlEscaped() << QStringList() << hints
         << -1;
    bus_.asyncCall(call);
}

}  // namespace quillbox::desktop
