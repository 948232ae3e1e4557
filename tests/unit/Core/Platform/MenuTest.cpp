// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Platform/Menu.h"

#include <gtest/gtest.h>

#include <functional>

namespace quillbox {
namespace {

using Texts = std::vector<std::string>;

/// Writes down what it is told, as a view would draw it.
class Notes final : public MenuObserver {
public:
    void itemInserted(Menu& menu, MenuItem& item, std::size_t index) override {
        EXPECT_EQ(menu.items().at(index).get(), &item);
        EXPECT_EQ(item.menu(), &menu);
        add("+" + std::to_string(index) + " " + item.title());
    }

    void itemRemoved(Menu& /*menu*/, MenuItem& item, std::size_t index) override {
        EXPECT_EQ(item.menu(), nullptr);
        add("-" + std::to_string(index) + " " + item.title());
    }

    void itemChanged(Menu& menu, MenuItem& item, MenuItemChange change) override {
        EXPECT_EQ(item.menu(), &menu);
        switch (change) {
        case MenuItemChange::Title:
            return add("title " + item.title());
        case MenuItemChange::Image:
            return add(item.image() ? "image" : "no image");
        case MenuItemChange::State:
            return add(item.state() ? "on" : "off");
        case MenuItemChange::Enabled:
            return add(item.isEnabled() ? "enabled" : "disabled");
        case MenuItemChange::Submenu:
            return add(item.submenu() ? "submenu" : "no submenu");
        }
    }

    Texts take() { return std::exchange(texts_, {}); }

    std::function<void()> next;  ///< runs once, within the next notice

private:
    void add(std::string text) {
        texts_.push_back(std::move(text));
        if (const auto work = std::exchange(next, nullptr)) {
            work();
        }
    }

    Texts texts_;
};

class MenuModelTest : public ::testing::Test {
protected:
    MenuModelTest() {
        menu.addItem(first);
        menu.addObserver(notes);
    }

    ~MenuModelTest() override { menu.removeObserver(notes); }

    std::shared_ptr<MenuItem> first = std::make_shared<MenuItem>("first");
    std::shared_ptr<MenuItem> second = std::make_shared<MenuItem>("second");
    Menu menu;
    Notes notes;
};

TEST_F(MenuModelTest, AnItemGoesInBeforeTheOneAtItsIndexOrAtTheEnd) {
    menu.insertItem(second, 0);
    menu.insertItem(std::make_shared<MenuItem>("last"), 99);
    EXPECT_EQ(notes.take(), (Texts{"+0 second", "+2 last"}));
    EXPECT_EQ(menu.items().at(0), second);
}

TEST_F(MenuModelTest, RemovalIsByIdentityAndHarmlessForWhatIsNotThere) {
    menu.removeItem(second.get());
    menu.removeItem(nullptr);
    EXPECT_EQ(notes.take(), Texts{});
    menu.removeItem(first.get());
    EXPECT_EQ(notes.take(), (Texts{"-0 first"}));
    EXPECT_TRUE(menu.items().empty());
}

TEST_F(MenuModelTest, ARemovedItemLivesUntilItsObserversHaveHeardOfIt) {
    MenuItem* const item = first.get();
    first.reset();
    menu.removeItem(item);
    EXPECT_EQ(notes.take(), (Texts{"-0 first"}));
}

TEST_F(MenuModelTest, AnItemStandsInOneMenuAtMost) {
    Menu other;
    other.addItem(first);
    EXPECT_EQ(notes.take(), (Texts{"-0 first"}));
    EXPECT_EQ(first->menu(), &other);
    first->setTitle("elsewhere");
    EXPECT_EQ(notes.take(), Texts{});
}

TEST_F(MenuModelTest, EveryChangeOfAnItemIsToldAtOnce) {
    first->setTitle("new");
    first->setState(true);
    first->setEnabled(false);
    first->setImage(Image{});
    first->setSubmenu(std::make_shared<Menu>());
    EXPECT_EQ(notes.take(), (Texts{"title new", "on", "disabled", "image", "submenu"}));
    first->setState(false);
    first->setEnabled(true);
    first->setImage(std::nullopt);
    first->setSubmenu(nullptr);
    EXPECT_EQ(notes.take(), (Texts{"off", "enabled", "no image", "no submenu"}));
}

TEST_F(MenuModelTest, WhatStaysTheSameIsNotTold) {
    first->setTitle("first");
    first->setState(false);
    first->setEnabled(true);
    first->setImage(std::nullopt);
    first->setSubmenu(nullptr);
    first->setTag(4);
    EXPECT_EQ(notes.take(), Texts{});
}

TEST_F(MenuModelTest, AnItemThatOutlivesItsMenuChangesQuietly) {
    {
        Menu brief;
        brief.addItem(second);
    }
    EXPECT_EQ(second->menu(), nullptr);
    second->setTitle("alone");
    EXPECT_EQ(second->title(), "alone");
}

TEST_F(MenuModelTest, AnObserverIsToldOnceHoweverOftenItWasAdded) {
    menu.addObserver(notes);
    first->setState(true);
    EXPECT_EQ(notes.take(), (Texts{"on"}));
    menu.removeObserver(notes);
    first->setState(false);
    EXPECT_EQ(notes.take(), Texts{});
}

TEST_F(MenuModelTest, ObserversMayComeAndGoWithinANotice) {
    Notes late;
    Notes leaving;
    menu.addObserver(leaving);
    notes.next = [&] {
        menu.addObserver(late);
        menu.removeObserver(leaving);
    };
    first->setState(true);
    EXPECT_EQ(notes.take(), (Texts{"on"}));
    EXPECT_EQ(late.take(), Texts{});
    EXPECT_EQ(leaving.take(), Texts{});
    first->setState(false);
    EXPECT_EQ(late.take(), (Texts{"off"}));
    menu.removeObserver(late);
}

TEST_F(MenuModelTest, AnObserverMayChangeTheMenuWithinANotice) {
    notes.next = [&] { menu.addItem(second); };
    first->setTitle("x");
    EXPECT_EQ(notes.take(), (Texts{"title x", "+1 second"}));
}

TEST_F(MenuModelTest, ItemsAreFoundByTitleAndByTag) {
    second->setTag(11);
    menu.addItem(second);
    menu.addItem(std::make_shared<MenuItem>("first"));
    EXPECT_EQ(menu.itemWithTitle("first"), first);
    EXPECT_EQ(menu.itemWithTitle("nobody"), nullptr);
    EXPECT_EQ(menu.itemWithTag(11), second);
    EXPECT_EQ(menu.itemWithTag(12), nullptr);
}

TEST_F(MenuModelTest, ChoosingAnItemRunsItsActionWhileItIsEnabled) {
    int runs = 0;
    first->perform();
    first->setAction([&runs](MenuItem& sender) {
        ++runs;
        sender.setAction({});
    });
    first->setEnabled(false);
    first->perform();
    EXPECT_EQ(runs, 0);
    first->setEnabled(true);
    first->perform();
    first->perform();
    EXPECT_EQ(runs, 1);
}

TEST_F(MenuModelTest, ASeparatorIsAnItemWithoutText) {
    const auto separator = MenuItem::separatorItem();
    EXPECT_TRUE(separator->isSeparator());
    EXPECT_EQ(separator->title(), "");
    EXPECT_FALSE(first->isSeparator());
}

}  // namespace
}  // namespace quillbox
