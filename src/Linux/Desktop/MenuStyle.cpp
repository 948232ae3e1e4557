// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/MenuStyle.h"

#include <QStyleOption>

namespace quillbox::desktop {

namespace {

/// The width of the column of check marks for text of this size.
int markWidth(const QStyleOptionMenuItem& item) {
    return item.fontMetrics.height() + item.fontMetrics.height() / 4;
}

}  // namespace

std::shared_ptr<MenuStyle> MenuStyle::shared() {
    static std::weak_ptr<MenuStyle> present;
    auto style = present.lock();
    if (!style) {
        style = std::make_shared<MenuStyle>();
        present = style;
    }
    return style;
}

const QStyleOptionMenuItem* MenuStyle::itemWithBoth(const QStyleOption* option) const {
    const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
    const bool needsBoth = item != nullptr && item->menuHasCheckableItems &&
                           item->maxIconWidth > 0 &&
                           item->menuItemType != QStyleOptionMenuItem::Separator;
    return needsBoth && baseStyle()->name() == QLatin1String("fusion") ? item : nullptr;
}

void MenuStyle::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                            const QWidget* widget) const {
    const auto* item = element == CE_MenuItem ? itemWithBoth(option) : nullptr;
    if (item == nullptr) {
        QProxyStyle::drawControl(element, option, painter, widget);
        return;
    }
    // What lies behind, over the whole width, and the mark.
    QStyleOptionMenuItem mark(*item);
    mark.text.clear();
    mark.icon = QIcon();
    mark.menuItemType = QStyleOptionMenuItem::Normal;
    if (!item->checked) {
        mark.checkType = QStyleOptionMenuItem::NotCheckable;
    }
    QProxyStyle::drawControl(element, &mark, painter, widget);
    // Picture, text and arrow in front of that.
    QStyleOptionMenuItem rest(*item);
    rest.checkType = QStyleOptionMenuItem::NotCheckable;
    rest.checked = false;
    const int width = markWidth(*item);
    const bool isMirrored = item->direction == Qt::RightToLeft;
    rest.rect.adjust(isMirrored ? 0 : width, 0, isMirrored ? -width : 0, 0);
    if (rest.state.testFlag(State_Selected)) {
        rest.state.setFlag(State_Selected, false);
        rest.palette.setBrush(QPalette::Text, rest.palette.highlightedText());
        rest.palette.setBrush(QPalette::WindowText, rest.palette.highlightedText());
        rest.palette.setBrush(QPalette::ButtonText, rest.palette.highlightedText());
    }
    QProxyStyle::drawControl(element, &rest, painter, widget);
}

QSize MenuStyle::sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                                  const QWidget* widget) const {
    const QSize own = QProxyStyle::sizeFromContents(type, option, size, widget);
    const auto* item = type == CT_MenuItem ? itemWithBoth(option) : nullptr;
    return item != nullptr ? own + QSize(markWidth(*item), 0) : own;
}

}  // namespace quillbox::desktop
