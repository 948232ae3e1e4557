// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Image.h"

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

/// What of an item became another value.
enum class MenuItemChange : std::uint8_t { Title, Image, State, Enabled, Submenu };

/// One item of a menu as the core sees it; drawing it is the desktop's matter. An item stands in
/// one menu at most, and tells that menu's observers of every change. Held by shared pointers.
/// Main thread only.
class MenuItem : public std::enable_shared_from_this<MenuItem> {
public:
    using Action = std::function<void(MenuItem&)>;

    MenuItem() = default;
    explicit MenuItem(std::string title, Action action = {});
    MenuItem(const MenuItem&) = delete;
    MenuItem& operator=(const MenuItem&) = delete;
    ~MenuItem() = default;

    static std::shared_ptr<MenuItem> separatorItem();

    const std::string& title() const { return title_; }

    void setTitle(std::string title);

    /// Whether the title is a name (a device's, an application's): a view shows it as it stands
    /// and the others in the user's language.
    bool titleIsName() const { return titleIsName_; }

    void setTitleIsName(bool titleIsName);

    /// Always empty in this program.
    const std::string& keyEquivalent() const { return keyEquivalent_; }

    /// Empty: the item does nothing.
    const Action& action() const { return action_; }

    void setAction(Action action) { action_ = std::move(action); }

    /// What the item is chosen for: its action, when it is enabled and has one.
    void perform();

    /// Whom the action is for, known by identity; may be null.
    const void* target() const { return target_; }

    void setTarget(const void* target) { target_ = target; }

    std::int32_t tag() const { return tag_; }

    void setTag(std::int32_t tag) { tag_ = tag; }

    const std::optional<Image>& image() const { return image_; }

    void setImage(std::optional<Image> image);

    /// The check mark.
    bool state() const { return state_; }

    void setState(bool state);

    bool isEnabled() const { return isEnabled_; }

    void setEnabled(bool isEnabled);

    /// Whether its action only asks for the end of the program: a view performs it at once, within
    /// a long wait too, which it ends.
    bool endsProgram() const { return endsProgram_; }

    void setEndsProgram(bool endsProgram) { endsProgram_ = endsProgram; }

    bool isSeparator() const { return isSeparator_; }

    const std::shared_ptr<Menu>& submenu() const { return submenu_; }

    void setSubmenu(std::shared_ptr<Menu> submenu);

    /// The menu that the item stands in; null while it stands in none.
    Menu* menu() const { return menu_; }

private:
    friend class Menu;

    void tell(MenuItemChange change);

    std::string title_;
    std::string keyEquivalent_;
    Action action_;
    const void* target_ = nullptr;
    std::int32_t tag_ = 0;
    std::optional<Image> image_;
    bool state_ = false;
    bool isEnabled_ = true;
    bool endsProgram_ = false;
    bool isSeparator_ = false;
    bool titleIsName_ = false;
    std::shared_ptr<Menu> submenu_;
    Menu* menu_ = nullptr;
};

/// Follows one menu: what a view needs to redraw at once. Called on the main thread, right after
/// the change; it may change menus itself, and observe or leave them.
class MenuObserver {
public:
    virtual ~MenuObserver() = default;

    /// The item stands at `index` now.
    virtual void itemInserted(Menu& menu, MenuItem& item, std::size_t index) = 0;
    /// The item stood at `index` and stands in no menu now; it lives at least until the return.
    virtual void itemRemoved(Menu& menu, MenuItem& item, std::size_t index) = 0;
    virtual void itemChanged(Menu& menu, MenuItem& item, MenuItemChange change) = 0;
};

/// A menu: items in order. Main thread only.
class Menu {
public:
    explicit Menu(std::string title = {});
    Menu(const Menu&) = delete;
    Menu& operator=(const Menu&) = delete;
    ~Menu();

    const std::string& title() const { return title_; }

    /// Whether the desktop decides what is enabled; this program switches that off and says so
    /// itself.
    bool autoenablesItems() const { return autoenablesItems_; }

    void setAutoenablesItems(bool autoenablesItems) { autoenablesItems_ = autoenablesItems; }

    void addItem(std::shared_ptr<MenuItem> item);
    /// Inserts before the item at `index`; at the end when there are fewer items. An item that
    /// stands in a menu already leaves it first.
    void insertItem(std::shared_ptr<MenuItem> item, std::size_t index);
    /// Removes an item by identity; harmless when it is not there or null.
    void removeItem(const MenuItem* item);
    /// The first item with this title, or null.
    std::shared_ptr<MenuItem> itemWithTitle(std::string_view title) const;
    /// The first item with this tag, or null.
    std::shared_ptr<MenuItem> itemWithTag(std::int32_t tag) const;

    const std::vector<std::shared_ptr<MenuItem>>& items() const { return items_; }

    /// Not owned; to be removed before either ends. One that is added while a change is told hears
    /// of the next one, one that is removed meanwhile is not called any more.
    void addObserver(MenuObserver& observer);
    void removeObserver(const MenuObserver& observer);

private:
    friend class MenuItem;

    template <typename Work>
    void tellObservers(const Work& work);

    std::string title_;
    bool autoenablesItems_ = true;
    std::vector<std::shared_ptr<MenuItem>> items_;
    std::vector<MenuObserver*> observers_;
};

/// The status item in the tray: its picture. Main thread only.
class StatusItem {
public:
    virtual ~StatusItem() = default;
    virtual void setImage(const Image& image) = 0;
};

}  // namespace quillbox
