// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Platform/Menu.h"

#include <algorithm>

namespace quillbox {

namespace {

/// Takes a value over; whether it is another one.
template <typename Value>
bool replace(Value& held, Value value) {
    const bool isOther = held != value;
    held = std::move(value);
    return isOther;
}

}  // namespace

MenuItem::MenuItem(std::string title, Action action)
    : title_(std::move(title)), action_(std::move(action)) {}

std::shared_ptr<MenuItem> MenuItem::separatorItem() {
    auto item = std::make_shared<MenuItem>();
    item->isSeparator_ = true;
    return item;
}

void MenuItem::perform() {
    if (isEnabled_ && action_) {
        const Action action = action_;  // the action may change the item, its own action included
        action(*this);
    }
}

void MenuItem::setTitle(std::string title) {
    if (replace(title_, std::move(title))) {
        tell(MenuItemChange::Title);
    }
}

void MenuItem::setTitleIsName(bool titleIsName) {
    if (replace(titleIsName_, titleIsName)) {
        tell(MenuItemChange::Title);
    }
}

void MenuItem::setImage(std::optional<Image> image) {
    if (replace(image_, std::move(image))) {
        tell(MenuItemChange::Image);
    }
}

void MenuItem::setState(bool state) {
    if (replace(state_, state)) {
        tell(MenuItemChange::State);
    }
}

void MenuItem::setEnabled(bool isEnabled) {
    if (replace(isEnabled_, isEnabled)) {
        tell(MenuItemChange::Enabled);
    }
}

void MenuItem::setSubmenu(std::shared_ptr<Menu> submenu) {
    if (replace(submenu_, std::move(submenu))) {
        tell(MenuItemChange::Submenu);
    }
}

void MenuItem::tell(MenuItemChange change) {
    if (Menu* const menu = menu_) {
        menu->tellObservers(
            [&](MenuObserver& observer) { observer.itemChanged(*menu, *this, change); });
    }
}

Menu::Menu(std::string title) : title_(std::move(title)) {}

Menu::~Menu() {
    for (const auto& item : items_) {
        item->menu_ = nullptr;
    }
}

void Menu::addItem(std::shared_ptr<MenuItem> item) {
    insertItem(std::move(item), items_.size());
}

void Menu::insertItem(std::shared_ptr<MenuItem> item, std::size_t index) {
    if (item->menu_ != nullptr) {
        item->menu_->removeItem(item.get());
    }
    const auto at = std::min(index, items_.size());
    items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(at), item);
    item->menu_ = this;
    tellObservers([&](MenuObserver& observer) { observer.itemInserted(*this, *item, at); });
}

void Menu::removeItem(const MenuItem* item) {
    const auto found = std::find_if(items_.begin(), items_.end(),
                                    [item](const auto& each) { return each.get() == item; });
    if (found == items_.end()) {
        return;
    }
    const auto at = static_cast<std::size_t>(found - items_.begin());
    const std::shared_ptr<MenuItem> removed = *found;
    items_.erase(found);
    removed->menu_ = nullptr;
    tellObservers([&](MenuObserver& observer) { observer.itemRemoved(*this, *removed, at); });
}

std::shared_ptr<MenuItem> Menu::itemWithTitle(std::string_view title) const {
    const auto found = std::find_if(items_.begin(), items_.end(),
                                    [title](const auto& each) { return each->title() == title; });
    return found == items_.end() ? nullptr : *found;
}

std::shared_ptr<MenuItem> Menu::itemWithTag(std::int32_t tag) const {
    const auto found = std::find_if(items_.begin(), items_.end(),
                                    [tag](const auto& each) { return each->tag() == tag; });
    return found == items_.end() ? nullptr : *found;
}

void Menu::addObserver(MenuObserver& observer) {
    if (std::find(observers_.begin(), observers_.end(), &observer) == observers_.end()) {
        observers_.push_back(&observer);
    }
}

void Menu::removeObserver(const MenuObserver& observer) {
    std::erase(observers_, &observer);
}

template <typename Work>
void Menu::tellObservers(const Work& work) {
    for (MenuObserver* const observer : std::vector(observers_)) {
        if (std::find(observers_.begin(), observers_.end(), observer) != observers_.end()) {
            work(*observer);
        }
    }
}

}  // namespace quillbox
