// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusArgument>
#include <QDBusVariant>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <tuple>

class QIcon;

namespace quillbox::desktop {

// What the interfaces of the tray send over the session bus, by its signatures.

/// (iiay): a picture, 32 bits a pixel: alpha, red, green, blue.
struct BusPixels {
    int width = 0;
    int height = 0;
    QByteArray pixels;

    auto fields() { return std::tie(width, height, pixels); }

    auto fields() const { return std::tie(width, height, pixels); }
};

/// (sa(iiay)ss)
struct BusToolTip {
    QString iconName;
    QList<BusPixels> icon;
    QString title;
    QString body;

    auto fields() { return std::tie(iconName, icon, title, body); }

    auto fields() const { return std::tie(iconName, icon, title, body); }
};

/// (ia{sv}av): an item of a menu with what stands below it.
struct BusMenuItem {
    int id = 0;
    QVariantMap properties;
    QList<QDBusVariant> children;

    auto fields() { return std::tie(id, properties, children); }

    auto fields() const { return std::tie(id, properties, children); }
};

/// (ia{sv})
struct BusProperties {
    int id = 0;
    QVariantMap properties;

    auto fields() { return std::tie(id, properties); }

    auto fields() const { return std::tie(id, properties); }
};

/// (ias)
struct BusPropertyNames {
    int id = 0;
    QStringList names;

    auto fields() { return std::tie(id, names); }

    auto fields() const { return std::tie(id, names); }
};

template <typename T>
concept BusStructure = requires(const T& value) {
    value.fields();
};

template <BusStructure T>
QDBusArgument& operator<<(QDBusArgument& out, const T& value) {
    out.beginStructure();
    std::apply([&out](const auto&... field) { ((out << field), ...); }, value.fields());
    out.endStructure();
    return out;
}

template <BusStructure T>
const QDBusArgument& operator>>(const QDBusArgument& in, T& value) {
    in.beginStructure();
    std::apply([&in](auto&... field) { ((in >> field), ...); }, value.fields());
    in.endStructure();
    return in;
}

/// Makes the types known to the bus library. Harmless when repeated.
void registerBusTypes();

/// An icon in the sizes that trays use.
QList<BusPixels> busPixels(const QIcon& icon);

}  // namespace quillbox::desktop

Q_DECLARE_METATYPE(quillbox::desktop::BusPixels)
Q_DECLARE_METATYPE(quillbox::desktop::BusToolTip)
Q_DECLARE_METATYPE(quillbox::desktop::BusMenuItem)
Q_DECLARE_METATYPE(quillbox::desktop::BusProperties)
Q_DECLARE_METATYPE(quillbox::desktop::BusPropertyNames)
