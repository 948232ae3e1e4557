// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/BusTypes.h"

#include <QDBusMetaType>
#include <QIcon>
#include <QPixmap>
#include <QtEndian>

namespace quillbox::desktop {

void registerBusTypes() {
    qDBusRegisterMetaType<BusPixels>();
    qDBusRegisterMetaType<QList<BusPixels>>();
    qDBusRegisterMetaType<BusToolTip>();
    qDBusRegisterMetaType<BusMenuItem>();
    qDBusRegisterMetaType<BusProperties>();
    qDBusRegisterMetaType<QList<BusProperties>>();
    qDBusRegisterMetaType<BusPropertyNames>();
    qDBusRegisterMetaType<QList<BusPropertyNames>>();
}

QList<BusPixels> busPixels(const QIcon& icon) {
    QList<BusPixels> all;
    if (icon.isNull()) {
        return all;
    }
    for (const int side : {16, 22, 24, 32, 48}) {
        const QImage image =
            icon.pixmap(QSize(side, side), 1.0).toImage().convertToFormat(QImage::Format_ARGB32);
        BusPixels each{image.width(), image.height(), {}};
        each.pixels.resize(4 * image.width() * image.height());
        char* out = each.pixels.data();
        for (int y = 0; y < image.height(); ++y) {
            const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
            qToBigEndian<quint32>(line, image.width(), out);
            out += 4 * image.width();
        }
        all.append(each);
    }
    return all;
}

}  // namespace quillbox::desktop
