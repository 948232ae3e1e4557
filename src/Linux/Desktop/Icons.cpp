// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/Icons.h"

#include "Linux/Desktop/Picture.h"

#include <QPainter>
#include <QPixmap>

namespace quillbox::desktop {

QIcon Icons::icon(const std::optional<Image>& image) {
    if (!image) {
        return {};
    }
    if (const auto* picture = pictureOf(*image)) {
        return QIcon(QPixmap::fromImage(picture->pixels()));
    }
    const auto [place, isNew] = named_.try_emplace(image->resourceName);
    if (isNew) {
        // A second file "NAME@2x.png" beside it is found by its name.
        if (const auto path = bundle_.pathForResource(image->resourceName, "png")) {
            place->second = QIcon(text(*path));
        }
    }
    return place->second;
}

QIcon Icons::withDot(const QIcon& icon) {
    QIcon marked;
    for (const int side : {16, 22, 24, 32, 48, 64}) {
        QPixmap pixels(side, side);
        pixels.fill(Qt::transparent);
        QPainter painter(&pixels);
        painter.setRenderHint(QPainter::Antialiasing);
        icon.paint(&painter, pixels.rect());
        const double diameter = side * 0.45;
        const QRectF place(side - diameter, side - diameter, diameter, diameter);
        // A rim of either panel's colour would vanish on the other: the picture is cut away.
        painter.setCompositionMode(QPainter::CompositionMode_Clear);
        painter.setBrush(Qt::black);
        painter.setPen(Qt::NoPen);
        const double rim = side / 16.0;
        painter.drawEllipse(place.adjusted(-rim, -rim, rim, rim));
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
        painter.setBrush(QColor(0xe5, 0x6d, 0x00));
        painter.drawEllipse(place);
        marked.addPixmap(pixels);
    }
    return marked;
}

}  // namespace quillbox::desktop
