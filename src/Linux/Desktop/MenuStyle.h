// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QProxyStyle>

#include <memory>

class QStyleOptionMenuItem;

namespace quillbox::desktop {

/// Menus with check marks and pictures side by side. The library's own style has one column for
/// both: it shows a checked item's picture in a frame, which nobody takes for a check mark. Other
/// styles are left as they are. Main thread.
class MenuStyle final : public QProxyStyle {
public:
    MenuStyle() = default;

    /// The one that all menus share, as long as there is a menu.
    static std::shared_ptr<MenuStyle> shared();

    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
    QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                           const QWidget* widget) const override;

private:
    /// The item where it needs both columns; else null.
    const QStyleOptionMenuItem* itemWithBoth(const QStyleOption* option) const;
};

}  // namespace quillbox::desktop
