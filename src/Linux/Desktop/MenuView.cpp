// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/MenuView.h"

#include <QAction>
#include <QScreen>

#include <algorithm>

namespace quillbox::desktop {

namespace {

/// A title as it stands: an ampersand is no mnemonic.
QString title(const MenuItem& item) {
    return shownTitle(item).replace(QLatin1Char('&'), QStringLiteral("&&"));
}

/// An open menu that has grown must not hide its last entries behind the edge of the screen.
void keepOnScreen(QMenu& menu) {
    if (!menu.isVisible()) {
        return;
    }
    const QRect screen = menu.screen()->geometry();
    const QPoint last(screen.right() + 1 - menu.width(), screen.bottom() + 1 - menu.height());
    menu.move(std::max(screen.left(), std::min(menu.x(), last.x())),
              std::max(screen.top(), std::min(menu.y(), last.y())));
}

}  // namespace

MenuView::MenuView(std::shared_ptr<Menu> menu, Choices& choices, Icons& icons)
    : menu_(std::move(menu)), choices_(choices), icons_(icons) {
    view_.setStyle(style_.get());
    for (std::size_t i = 0; i < menu_->items().size(); ++i) {
        itemInserted(*menu_, *menu_->items()[i], i);
    }
    menu_->addObserver(*this);
}

MenuView::~MenuView() {
    menu_->removeObserver(*this);
}

void MenuView::itemInserted(Menu& /*menu*/, MenuItem& item, std::size_t index) {
    auto& entry = entries_[&item];
    entry.action = std::make_unique<QAction>();
    entry.action->setSeparator(item.isSeparator());
    QObject::connect(
        entry.action.get(), &QAction::triggered, &view_, [this, item = item.shared_from_this()] {
            // The mark is the model's to set, not the click's.
            if (const auto found = entries_.find(item.get()); found != entries_.end()) {
                found->second.action->setChecked(item->state());
            }
            choices_.choose(item);
        });
    draw(entry, item);
    drawSubmenu(entry, item);
    const auto standing = view_.actions();
    const auto place = static_cast<qsizetype>(index);
    view_.insertAction(place < standing.size() ? standing[place] : nullptr, entry.action.get());
    keepOnScreen(view_);
}

void MenuView::itemRemoved(Menu& /*menu*/, MenuItem& item, std::size_t /*index*/) {
    const auto found = entries_.find(&item);
    if (found == entries_.end()) {
        return;
    }
    view_.removeAction(found->second.action.get());
    // Its own submenu may be what is open at this moment.
    found->second.action->setMenu(nullptr);
    found->second.action.release()->deleteLater();
    entries_.erase(found);
}

void MenuView::itemChanged(Menu& /*menu*/, MenuItem& item, MenuItemChange change) {
    const auto found = entries_.find(&item);
    if (found == entries_.end()) {
        return;
    }
    if (change == MenuItemChange::Submenu) {
        drawSubmenu(found->second, item);
    } else {
        draw(found->second, item);
        keepOnScreen(view_);  // a longer title may widen it
    }
}

void MenuView::draw(Entry& entry, MenuItem& item) {
    QAction& action = *entry.action;
    action.setText(title(item));
    action.setToolTip(literal(shownTitle(item)));
    action.setIcon(icons_.icon(item.image()));
    action.setIconVisibleInMenu(true);
    action.setCheckable(isCheckable(item));
    action.setChecked(item.state());
    action.setEnabled(item.isEnabled());
}

void MenuView::drawSubmenu(Entry& entry, MenuItem& item) {
    auto view =
        item.submenu() ? std::make_unique<MenuView>(item.submenu(), choices_, icons_) : nullptr;
    entry.action->setMenu(view ? &view->menu() : nullptr);
    entry.submenu = std::move(view);
}

}  // namespace quillbox::desktop
