// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Menu.h"
#include "Linux/Desktop/Choices.h"
#include "Linux/Desktop/Icons.h"
#include "Linux/Desktop/MenuStyle.h"

#include <QMenu>

#include <map>
#include <memory>

class QAction;

namespace quillbox::desktop {

/// Whether an item has room for a check mark: one that has it, or that is one choice of several.
inline bool isCheckable(const MenuItem& item) {
    return item.state() || item.tag() != 0;
}

/// A menu of this program's own windows and of its tray icon that follows a menu of the core at
/// once, open or not. Main thread.
class MenuView final : private MenuObserver {
public:
    /// The choices and icons must outlive this.
    MenuView(std::shared_ptr<Menu> menu, Choices& choices, Icons& icons);
    ~MenuView() override;
    MenuView(const MenuView&) = delete;
    MenuView& operator=(const MenuView&) = delete;

    QMenu& menu() { return view_; }

private:
    struct Entry {
        std::unique_ptr<QAction> action;
        std::unique_ptr<MenuView> submenu;
    };

    void itemInserted(Menu& menu, MenuItem& item, std::size_t index) override;
    void itemRemoved(Menu& menu, MenuItem& item, std::size_t index) override;
    void itemChanged(Menu& menu, MenuItem& item, MenuItemChange change) override;
    void draw(Entry& entry, MenuItem& item);
    void drawSubmenu(Entry& entry, MenuItem& item);

    const std::shared_ptr<Menu> menu_;
    Choices& choices_;
    Icons& icons_;
    const std::shared_ptr<MenuStyle> style_ = MenuStyle::shared();
    QMenu view_;
    std::map<const MenuItem*, Entry> entries_;
};

}  // namespace quillbox::desktop
