// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/BusMenu.h"

#include "Linux/Desktop/MenuView.h"

#include <QBuffer>
#include <QDBusError>
#include <QDBusMessage>
#include <QPixmap>

#include <utility>

namespace quillbox::desktop {

namespace {

constexpr QLatin1String kInterface("com.canonical.dbusmenu");
constexpr QLatin1String kPropertiesInterface("org.freedesktop.DBus.Properties");
constexpr int kTop = 0;
constexpr int kIconSide = 32;

/// A title as it stands: an underscore is no mnemonic.
QString label(const MenuItem& item) {
    return shownTitle(item).replace(QLatin1Char('_'), QStringLiteral("__"));
}

QByteArray png(const QIcon& icon) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    icon.pixmap(QSize(kIconSide, kIconSide), 1.0).save(&buffer, "PNG");
    return bytes;
}

QDBusMessage invalid(const QDBusMessage& call, const QString& why) {
    return call.createErrorReply(QDBusError::InvalidArgs, why);
}

}  // namespace

BusMenu::BusMenu(QDBusConnection bus, QString path, std::shared_ptr<Menu> menu, Choices& choices,
                 Icons& icons)
    : bus_(std::move(bus)),
      path_(std::move(path)),
      menu_(std::move(menu)),
      choices_(choices),
      icons_(icons) {
    registerBusTypes();
    due_.setSingleShot(true);
    QObject::connect(&due_, &QTimer::timeout, this, [this] { tell(); });
    follow(menu_, kTop);
    bus_.registerVirtualObject(path_, this);
}

BusMenu::~BusMenu() {
    bus_.unregisterObject(path_);
    unfollow(menu_);
}

void BusMenu::follow(const std::shared_ptr<Menu>& menu, int id) {
    owners_.insert_or_assign(menu.get(), id);
    menu->addObserver(*this);
    for (const auto& item : menu->items()) {
        add(*item, id);
    }
}

void BusMenu::unfollow(const std::shared_ptr<Menu>& menu) {
    menu->removeObserver(*this);
    owners_.erase(menu.get());
    for (const auto& item : menu->items()) {
        forget(*item);
    }
}

int BusMenu::add(MenuItem& item, int parent) {
    const int id = ++lastId_;
    ids_.insert_or_assign(&item, id);
    nodes_.insert_or_assign(id,
                            Node{item.weak_from_this(), parent, item.submenu(), isCheckable(item)});
    if (item.submenu()) {
        follow(item.submenu(), id);
    }
    return id;
}

void BusMenu::forget(const MenuItem& item) {
    const auto id = ids_.find(&item);
    if (id == ids_.end()) {
        return;
    }
    const auto node = nodes_.find(id->second);
    const auto submenu = node->second.submenu;
    nodes_.erase(node);
    changedItems_.erase(id->second);
    changedLayouts_.erase(id->second);
    ids_.erase(id);
    if (submenu) {
        unfollow(submenu);
    }
}

void BusMenu::itemInserted(Menu& menu, MenuItem& item, std::size_t /*index*/) {
    if (const auto owner = owners_.find(&menu); owner != owners_.end()) {
        add(item, owner->second);
        layoutChanged(owner->second);
    }
}

void BusMenu::itemRemoved(Menu& menu, MenuItem& item, std::size_t /*index*/) {
    forget(item);
    if (const auto owner = owners_.find(&menu); owner != owners_.end()) {
        layoutChanged(owner->second);
    }
}

void BusMenu::itemChanged(Menu& /*menu*/, MenuItem& item, MenuItemChange change) {
    const auto found = ids_.find(&item);
    if (found == ids_.end()) {
        return;
    }
    const int parent = nodes_.at(found->second).parent;
    if (change == MenuItemChange::Submenu ||
        (isCheckable(item) && !nodes_.at(found->second).isCheckable)) {
        // Panels look at an item's kind once: it goes on as another item.
        forget(item);
        add(item, parent);
        layoutChanged(parent);
        return;
    }
    changedItems_.insert(found->second);
    due_.start(0);
}

void BusMenu::layoutChanged(int parent) {
    changedLayouts_.insert(parent);
    due_.start(0);
}

void BusMenu::tell() {
    if (!changedItems_.empty()) {
        QList<BusProperties> changed;
        QList<BusPropertyNames> removed;
        for (const int id : std::exchange(changedItems_, {})) {
            changed.append({id, properties(id, {})});
            const auto item = nodes_.at(id).item.lock();
            if (item && !item->image()) {
                removed.append({id, {QStringLiteral("icon-data")}});
            }
        }
        auto signal =
            QDBusMessage::createSignal(path_, kInterface, QStringLiteral("ItemsPropertiesUpdated"));
        signal << QVariant::fromValue(changed) << QVariant::fromValue(removed);
        bus_.send(signal);
    }
    for (const int parent : std::exchange(changedLayouts_, {})) {
        auto signal =
            QDBusMessage::createSignal(path_, kInterface, QStringLiteral("LayoutUpdated"));
        signal << ++revision_ << parent;
        bus_.send(signal);
    }
}

std::shared_ptr<Menu> BusMenu::menuOf(int id) const {
    if (id == kTop) {
        return menu_;
    }
    const auto found = nodes_.find(id);
    return found != nodes_.end() ? found->second.submenu : nullptr;
}

QVariantMap BusMenu::properties(int id, const QStringList& wanted) const {
    QVariantMap all;
    if (menuOf(id)) {
        all.insert(QStringLiteral("children-display"), QStringLiteral("submenu"));
    }
    const auto found = nodes_.find(id);
    if (const auto item = found != nodes_.end() ? found->second.item.lock() : nullptr) {
        if (item->isSeparator()) {
            all.insert(QStringLiteral("type"), QStringLiteral("separator"));
        }
        all.insert(QStringLiteral("label"), label(*item));
        all.insert(QStringLiteral("enabled"), item->isEnabled());
        all.insert(QStringLiteral("visible"), true);
        if (found->second.isCheckable) {
            all.insert(QStringLiteral("toggle-type"), QStringLiteral("checkmark"));
            all.insert(QStringLiteral("toggle-state"), item->state() ? 1 : 0);
        }
        const bool isIconWanted = wanted.isEmpty() || wanted.contains(QLatin1String("icon-data"));
        if (const auto icon = isIconWanted ? icons_.icon(item->image()) : QIcon(); !icon.isNull()) {
            all.insert(QStringLiteral("icon-data"), png(icon));
        }
    }
    if (!wanted.isEmpty()) {
        for (const auto& name : all.keys()) {
            if (!wanted.contains(name)) {
                all.remove(name);
            }
        }
    }
    return all;
}

BusMenuItem BusMenu::layout(int id, int depth, const QStringList& wanted) const {
    BusMenuItem result{id, properties(id, wanted), {}};
    if (const auto menu = depth != 0 ? menuOf(id) : nullptr) {
        for (const auto& item : menu->items()) {
            if (const auto child = ids_.find(item.get()); child != ids_.end()) {
                const auto below = layout(child->second, depth - 1, wanted);
                result.children.append(QDBusVariant(QVariant::fromValue(below)));
            }
        }
    }
    return result;
}

bool BusMenu::handleEvent(int id, const QString& kind) {
    if (id == kTop) {
        return true;
    }
    const auto found = nodes_.find(id);
    const auto item = found != nodes_.end() ? found->second.item.lock() : nullptr;
    if (!item) {
        return false;
    }
    if (kind == QLatin1String("clicked")) {
        // A panel may have switched the mark by itself: it is told how it stands.
        changedItems_.insert(id);
        due_.start(0);
        choices_.choose(item);
    }
    return true;
}

QVariant BusMenu::ownProperty(const QString& name) const {
    if (name == QLatin1String("Version")) {
        return 3U;
    }
    if (name == QLatin1String("TextDirection")) {
        return QStringLiteral("ltr");
    }
    if (name == QLatin1String("Status")) {
        return QStringLiteral("normal");
    }
    return name == QLatin1String("IconThemePath") ? QVariant(QStringList()) : QVariant();
}

bool BusMenu::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    if (message.interface() != kInterface && message.interface() != kPropertiesInterface) {
        return false;
    }
    const auto reply = answer(message);
    return !message.isReplyRequired() || connection.send(reply);
}

QDBusMessage BusMenu::answer(const QDBusMessage& call) {
    const auto arguments = call.arguments();
    const auto argument = [&arguments](qsizetype i) { return arguments.value(i); };
    const auto member = call.member();
    const auto signature = call.signature();
    if (member == QLatin1String("GetLayout") && signature == QLatin1String("iias")) {
        const int id = argument(0).toInt();
        if (!menuOf(id) && !nodes_.contains(id)) {
            return invalid(call, QStringLiteral("no such item"));
        }
        const auto found = layout(id, argument(1).toInt(), argument(2).toStringList());
        return call.createReply({revision_, QVariant::fromValue(found)});
    }
    if (member == QLatin1String("GetGroupProperties") && signature == QLatin1String("aias")) {
        QList<BusProperties> found;
        auto ids = qdbus_cast<QList<int>>(argument(0));
        if (ids.isEmpty()) {  // all of them
            for (const auto& [id, node] : nodes_) {
                ids.append(id);
            }
        }
        for (const int id : ids) {
            if (id == kTop || nodes_.contains(id)) {
                found.append({id, properties(id, argument(1).toStringList())});
            }
        }
        return call.createReply(QVariant::fromValue(found));
    }
    if (member == QLatin1String("GetProperty") && signature == QLatin1String("is")) {
        const auto name = argument(1).toString();
        const auto found = properties(argument(0).toInt(), {name});
        return found.contains(name)
                   ? call.createReply(QVariant::fromValue(QDBusVariant(found.value(name))))
                   : invalid(call, QStringLiteral("no such property"));
    }
    if (member == QLatin1String("Event") && signature == QLatin1String("isvu")) {
        return handleEvent(argument(0).toInt(), argument(1).toString())
                   ? call.createReply()
                   : invalid(call, QStringLiteral("no such item"));
    }
    if (member == QLatin1String("EventGroup") && signature == QLatin1String("a(isvu)")) {
        QList<int> unknown;
        const auto events = argument(0).value<QDBusArgument>();
        for (events.beginArray(); !events.atEnd();) {
            int id = 0;
            QString kind;
            QDBusVariant data;
            uint time = 0;
            events.beginStructure();
            events >> id >> kind >> data >> time;
            events.endStructure();
            if (!handleEvent(id, kind)) {
                unknown.append(id);
            }
        }
        events.endArray();
        return call.createReply(QVariant::fromValue(unknown));
    }
    if (member == QLatin1String("AboutToShow") && signature == QLatin1String("i")) {
        return call.createReply(false);  // what changed has been told already
    }
    if (member == QLatin1String("AboutToShowGroup") && signature == QLatin1String("ai")) {
        return call.createReply(
            {QVariant::fromValue(QList<int>()), QVariant::fromValue(QList<int>())});
    }
    if (member == QLatin1String("Get") && signature == QLatin1String("ss")) {
        const auto value = ownProperty(argument(1).toString());
        return value.isValid() ? call.createReply(QVariant::fromValue(QDBusVariant(value)))
                               : call.createErrorReply(QDBusError::UnknownProperty, member);
    }
    if (member == QLatin1String("GetAll") && signature == QLatin1String("s")) {
        QVariantMap all;
        for (const char* name : {"Version", "TextDirection", "Status", "IconThemePath"}) {
            all.insert(QLatin1String(name), ownProperty(QLatin1String(name)));
        }
        return call.createReply(QVariant(all));
    }
    return call.createErrorReply(QDBusError::UnknownMethod, member);
}

QString BusMenu::introspect(const QString& /*path*/) const {
    return QStringLiteral(
        "<interface name=\"com.canonical.dbusmenu\">"
        "<property name=\"Version\" type=\"u\" access=\"read\"/>"
        "<property name=\"TextDirection\" type=\"s\" access=\"read\"/>"
        "<property name=\"Status\" type=\"s\" access=\"read\"/>"
        "<property name=\"IconThemePath\" type=\"as\" access=\"read\"/>"
        "<method name=\"GetLayout\"><arg type=\"i\" direction=\"in\"/>"
        "<arg type=\"i\" direction=\"in\"/><arg type=\"as\" direction=\"in\"/>"
        "<arg type=\"u\" direction=\"out\"/><arg type=\"(ia{sv}av)\" direction=\"out\"/></method>"
        "<method name=\"GetGroupProperties\"><arg type=\"ai\" direction=\"in\"/>"
        "<arg type=\"as\" direction=\"in\"/><arg type=\"a(ia{sv})\" direction=\"out\"/></method>"
        "<method name=\"GetProperty\"><arg type=\"i\" direction=\"in\"/>"
        "<arg type=\"s\" direction=\"in\"/><arg type=\"v\" direction=\"out\"/></method>"
        "<method name=\"Event\"><arg type=\"i\" direction=\"in\"/>"
        "<arg type=\"s\" direction=\"in\"/><arg type=\"v\" direction=\"in\"/>"
        "<arg type=\"u\" direction=\"in\"/></method>"
        "<method name=\"EventGroup\"><arg type=\"a(isvu)\" direction=\"in\"/>"
        "<arg type=\"ai\" direction=\"out\"/></method>"
        "<method name=\"AboutToShow\"><arg type=\"i\" direction=\"in\"/>"
        "<arg type=\"b\" direction=\"out\"/></method>"
        "<method name=\"AboutToShowGroup\"><arg type=\"ai\" direction=\"in\"/>"
        "<arg type=\"ai\" direction=\"out\"/><arg type=\"ai\" direction=\"out\"/></method>"
        "<signal name=\"ItemsPropertiesUpdated\"><arg type=\"a(ia{sv})\"/>"
        "<arg type=\"a(ias)\"/></signal>"
        "<signal name=\"LayoutUpdated\"><arg type=\"u\"/><arg type=\"i\"/></signal>"
        "<signal name=\"ItemActivationRequested\"><arg type=\"i\"/><arg type=\"u\"/></signal>"
        "</interface>");
}

}  // namespace quillbox::desktop
