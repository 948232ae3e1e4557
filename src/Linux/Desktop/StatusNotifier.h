// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Desktop/BusTypes.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QDBusVirtualObject>
#include <QPoint>
#include <QTimer>

#include <functional>

namespace quillbox::desktop {

/// Whether a panel on the session bus shows status notifier items. Main thread.
class StatusNotifierHost {
public:
    /// `changed` is called when the answer is known first and at each change of it, and when the
    /// watcher became another one.
    StatusNotifierHost(QDBusConnection bus, std::function<void()> changed);

    bool isKnown() const { return isKnown_; }

    bool isThere() const { return isThere_; }

    /// Registers an item with the watcher that is there.
    void registerItem(const QString& service);

private:
    void ask();
    void answered(bool isThere, bool isOther);

    QDBusConnection bus_;
    std::function<void()> changed_;
    QDBusServiceWatcher watcher_;
    QTimer askAgain_;
    bool isKnown_ = false;
    bool isThere_ = false;
    QString owner_;
};

/// An item in the tray of such a panel: the interface `org.kde.StatusNotifierItem`. Main thread.
class StatusNotifierItem final : public QDBusVirtualObject {
public:
    /// What a click asks for; the place is on the screen.
    using Activated = std::function<void(const QPoint& place)>;

    StatusNotifierItem(QDBusConnection bus, QString menuPath, Activated activated);
    ~StatusNotifierItem() override;

    const QString& service() const { return service_; }

    /// `name` is the icon's in the desktop's theme; empty where the theme lacks it, since panels
    /// prefer a name that leads nowhere to the picture.
    void setIcon(const QString& name, const QIcon& icon);
    void setToolTip(const QString& title, const QString& body);

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    QVariant property(const QString& name) const;
    QDBusMessage answer(const QDBusMessage& call);
    void signal(const char* name);

    QDBusConnection bus_;
    const QString service_;
    const QString menuPath_;
    Activated activated_;
    QString iconName_;
    QList<BusPixels> icon_;
    BusToolTip toolTip_;
};

}  // namespace quillbox::desktop
