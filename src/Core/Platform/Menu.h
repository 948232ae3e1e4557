// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Image.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillbox {

class Menu;

/// One item of a menu as the core sees it; drawing it is the desktop's matter. Main thread only.
class MenuItem {
public:
    using Action = std::function<void(MenuItem&)>;

    MenuItem() = default;

    explicit MenuItem(std::string title_, Action action_ = {})
        : title(std::move(title_)), action(std::move(action_)) {}

    static std::shared_ptr<MenuItem> separatorItem() {
        auto item = std::make_shared<MenuItem>();
        item->isSeparator = true;
        return item;
    }

    std::string title;
    std::string keyEquivalent;  ///< always empty in this program
    Action action;              ///< empty: the item does nothing
    const void* target = nullptr;
    std::int32_t tag = 0;
    std::optional<Image> image;
    bool state = false;  ///< the check mark
    bool isEnabled = true;
    bool isSeparator = false;
    std::shared_ptr<Menu> submenu;
};

/// A menu: items in order. Main thread only.
class Menu {
public:
    explicit Menu(std::string title_ = {}) : title(std::move(title_)) {}

    void addItem(std::shared_ptr<MenuItem> item) { items_.push_back(std::move(item)); }

    /// Inserts before the item at `index`; at the end when there are fewer items.
    void insertItem(std::shared_ptr<MenuItem> item, std::size_t index) {
        const auto at = std::min(index, items_.size());
        items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(at), std::move(item));
    }

    /// Removes an item by identity; harmless when it is not there or null.
    void removeItem(const MenuItem* item) {
        std::erase_if(items_, [item](const auto& each) { return each.get() == item; });
    }

    /// The first item with this title, or null.
    std::shared_ptr<MenuItem> itemWithTitle(std::string_view itemTitle) const {
        const auto found =
            std::find_if(items_.begin(), items_.end(),
                         [itemTitle](const auto& each) { return each->title == itemTitle; });
        return found == items_.end() ? nullptr : *found;
    }

    const std::vector<std::shared_ptr<MenuItem>>& items() const { return items_; }

    std::string title;
    bool autoenablesItems = true;

private:
    std::vector<std::shared_ptr<MenuItem>> items_;
};

/// The status item in the tray: its picture. Main thread only.
class StatusItem {
public:
    virtual ~StatusItem() = default;
    virtual void setImage(const Image& image) = 0;
};

}  // namespace quillbox
