// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/StatusNotifier.h"

#include "Linux/Desktop/Owned.h"

#include <QCoreApplication>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>
#include <QIcon>

#include <algorithm>
#include <array>

namespace quillbox::desktop {

namespace {

constexpr QLatin1String kWatcher("org.kde.StatusNotifierWatcher");
constexpr QLatin1String kWatcherPath("/StatusNotifierWatcher");
constexpr QLatin1String kItem("org.kde.StatusNotifierItem");
constexpr QLatin1String kItemPath("/StatusNotifierItem");
constexpr QLatin1String kProperties("org.freedesktop.DBus.Properties");

constexpr std::array kItemProperties{
    "Category",     "Id",         "Title", "Status",  "WindowId",        "IconName",
    "IconPixmap",   "ItemIsMenu", "Menu",  "ToolTip", "OverlayIconName", "AttentionIconName",
    "IconThemePath"};

}  // namespace

StatusNotifierHost::StatusNotifierHost(QDBusConnection bus, std::function<void()> changed)
    : bus_(std::move(bus)),
      changed_(std::move(changed)),
      watcher_(kWatcher, bus_, QDBusServiceWatcher::WatchForOwnerChange) {
    askAgain_.setSingleShot(true);
    askAgain_.setInterval(0);
    QObject::connect(&askAgain_, &QTimer::timeout, &askAgain_, [this] { ask(); });
    QObject::connect(&watcher_, &QDBusServiceWatcher::serviceOwnerChanged, &askAgain_,
                     [this] { askAgain_.start(); });
    for (const char* signal : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"}) {
        bus_.connect(kWatcher, kWatcherPath, kWatcher, QLatin1String(signal), &askAgain_,
                     SLOT(start()));
    }
    ask();
}

void StatusNotifierHost::ask() {
    if (!bus_.isConnected()) {
        answered(false, false);
        return;
    }
    auto call =
        QDBusMessage::createMethodCall(kWatcher, kWatcherPath, kProperties, QStringLiteral("Get"));
    call << QString(kWatcher) << QStringLiteral("IsStatusNotifierHostRegistered");
    call.setAutoStartService(false);
    auto* pending = makeOwned<QDBusPendingCallWatcher>(bus_.asyncCall(call), &askAgain_);
    QObject::connect(pending, &QDBusPendingCallWatcher::finished, &askAgain_, [this, pending] {
        pending->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply(*pending);
        const bool isThere = reply.isValid() && reply.value().variant().toBool();
        const QString owner = isThere ? pending->reply().service() : QString();
        const bool isOther = isThere && owner != owner_;
        owner_ = owner;
        answered(isThere, isOther);
    });
}

void StatusNotifierHost::answered(bool isThere, bool isOther) {
    const bool isNews = !isKnown_ || isThere != isThere_ || isOther;
    isKnown_ = true;
    isThere_ = isThere;
    if (isNews) {
        changed_();
    }
}

void StatusNotifierHost::registerItem(const QString& service) {
    auto call = QDBusMessage::createMethodCall(kWatcher, kWatcherPath, kWatcher,
                                               QStringLiteral("RegisterStatusNotifierItem"));
    call << service;
    bus_.asyncCall(call);
}

StatusNotifierItem::StatusNotifierItem(QDBusConnection bus, QString menuPath, Activated activated)
    : bus_(std::move(bus)),
      service_(QStringLiteral("org.kde.StatusNotifierItem-%1-1")
                   .arg(QCoreApplication::applicationPid())),
      menuPath_(std::move(menuPath)),
      activated_(std::move(activated)) {
    registerBusTypes();
    bus_.registerVirtualObject(kItemPath, this);
    bus_.registerService(service_);
}

StatusNotifierItem::~StatusNotifierItem() {
    bus_.unregisterService(service_);
    bus_.unregisterObject(kItemPath);
}

void StatusNotifierItem::setIcon(const QString& name, const QIcon& icon) {
    iconName_ = name;
    icon_ = busPixels(icon);
    signal("NewIcon");
}

void StatusNotifierItem::setToolTip(const QString& title, const QString& body) {
    toolTip_.title = title;
    toolTip_.body = body;
    signal("NewToolTip");
}

void StatusNotifierItem::signal(const char* name) {
    bus_.send(QDBusMessage::createSignal(kItemPath, kItem, QLatin1String(name)));
}

QVariant StatusNotifierItem::property(const QString& name) const {
    if (name == QLatin1String("Category")) {
        return QStringLiteral("Hardware");
    }
    if (name == QLatin1String("Id")) {
        return QGuiApplication::desktopFileName();
    }
    if (name == QLatin1String("Title")) {
        return QStringLiteral("Quillbox");
    }
    if (name == QLatin1String("Status")) {
        return QStringLiteral("Active");
    }
    if (name == QLatin1String("WindowId")) {
        return 0;
    }
    if (name == QLatin1String("IconPixmap")) {
        return QVariant::fromValue(icon_);
    }
    if (name == QLatin1String("ItemIsMenu")) {
        return true;
    }
    if (name == QLatin1String("Menu")) {
        return QVariant::fromValue(QDBusObjectPath(menuPath_));
    }
    if (name == QLatin1String("ToolTip")) {
        return QVariant::fromValue(toolTip_);
    }
    if (name == QLatin1String("IconName")) {
        return iconName_;
    }
    // The other names of icons: there are none.
    const bool isKnown =
        std::any_of(kItemProperties.begin(), kItemProperties.end(),
                    [&name](const char* each) { return name == QLatin1String(each); });
    return isKnown ? QVariant(QString()) : QVariant();
}

bool StatusNotifierItem::handleMessage(const QDBusMessage& message,
                                       const QDBusConnection& connection) {
    if (message.interface() != kItem && message.interface() != kProperties) {
        return false;
    }
    const auto reply = answer(message);
    return !message.isReplyRequired() || connection.send(reply);
}

QDBusMessage StatusNotifierItem::answer(const QDBusMessage& call) {
    const auto arguments = call.arguments();
    const auto member = call.member();
    if (call.interface() == kProperties) {
        if (member == QLatin1String("Get") && call.signature() == QLatin1String("ss")) {
            const auto value = property(arguments.value(1).toString());
            return value.isValid() ? call.createReply(QVariant::fromValue(QDBusVariant(value)))
                                   : call.createErrorReply(QDBusError::UnknownProperty, member);
        }
        if (member == QLatin1String("GetAll") && call.signature() == QLatin1String("s")) {
            QVariantMap all;
            for (const char* name : kItemProperties) {
                all.insert(QLatin1String(name), property(QLatin1String(name)));
            }
            return call.createReply(QVariant(all));
        }
        return call.createErrorReply(QDBusError::UnknownMethod, member);
    }
    const bool isClick = member == QLatin1String("Activate") ||
                         member == QLatin1String("SecondaryActivate") ||
                         member == QLatin1String("ContextMenu");
    if (isClick && call.signature() == QLatin1String("ii")) {
        activated_({arguments.value(0).toInt(), arguments.value(1).toInt()});
        return call.createReply();
    }
    if (member == QLatin1String("Scroll")) {
        return call.createReply();
    }
    return call.createErrorReply(QDBusError::UnknownMethod, member);
}

QString StatusNotifierItem::introspect(const QString& /*path*/) const {
    return QStringLiteral("<interface name=\"org.kde.StatusNotifierItem\">"
                          "<property name=\"Category\" type=\"s\" access=\"read\"/>"
                          "<property name=\"Id\" type=\"s\" access=\"read\"/>"
                          "<property name=\"Title\" type=\"s\" access=\"read\"/>"
                          "<property name=\"Status\" type=\"s\" access=\"read\"/>"
                          "<property name=\"WindowId\" type=\"i\" access=\"read\"/>"
                          "<property name=\"IconName\" type=\"s\" access=\"read\"/>"
                          "<property name=\"IconPixmap\" type=\"a(iiay)\" access=\"read\"/>"
                          "<property name=\"IconThemePath\" type=\"s\" access=\"read\"/>"
                          "<property name=\"OverlayIconName\" type=\"s\" access=\"read\"/>"
                          "<property name=\"AttentionIconName\" type=\"s\" access=\"read\"/>"
                          "<property name=\"ItemIsMenu\" type=\"b\" access=\"read\"/>"
                          "<property name=\"Menu\" type=\"o\" access=\"read\"/>"
                          "<property name=\"ToolTip\" type=\"(sa(iiay)ss)\" access=\"read\"/>"
                          "<method name=\"Activate\"><arg type=\"i\" direction=\"in\"/>"
                          "<arg type=\"i\" direction=\"in\"/></method>"
                          "<method name=\"SecondaryActivate\"><arg type=\"i\" direction=\"in\"/>"
                          "<arg type=\"i\" direction=\"in\"/></method>"
                          "<method name=\"ContextMenu\"><arg type=\"i\" direction=\"in\"/>"
                          "<arg type=\"i\" direction=\"in\"/></method>"
                          "<method name=\"Scroll\"><arg type=\"i\" direction=\"in\"/>"
                          "<arg type=\"s\" direction=\"in\"/></method>"
                          "<signal name=\"NewIcon\"/><signal name=\"NewToolTip\"/>"
                          "<signal name=\"NewTitle\"/><signal name=\"NewStatus\">"
                          "<arg type=\"s\"/></signal></interface>");
}

}  // namespace quillbox::desktop
