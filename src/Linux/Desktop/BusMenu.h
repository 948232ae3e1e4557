// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Menu.h"
#include "Linux/Desktop/BusTypes.h"
#include "Linux/Desktop/Choices.h"
#include "Linux/Desktop/Icons.h"

#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <QTimer>

#include <map>
#include <memory>
#include <set>

namespace quillbox::desktop {

/// A menu of the core for a panel to draw: the interface `com.canonical.dbusmenu` on the session
/// bus. Follows the menu; changes of one turn of the main loop are told together. What a panel
/// sends is untrusted: an unknown item is an error of its call. Main thread.
class BusMenu final : public QDBusVirtualObject, private MenuObserver {
public:
    /// The choices and icons must outlive this.
    BusMenu(QDBusConnection bus, QString path, std::shared_ptr<Menu> menu, Choices& choices,
            Icons& icons);
    ~BusMenu() override;

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    struct Node {
        std::weak_ptr<MenuItem> item;
        int parent = 0;
        std::shared_ptr<Menu> submenu;  ///< the one that is observed
        bool isCheckable = false;
    };

    void itemInserted(Menu& menu, MenuItem& item, std::size_t index) override;
    void itemRemoved(Menu& menu, MenuItem& item, std::size_t index) override;
    void itemChanged(Menu& menu, MenuItem& item, MenuItemChange change) override;

    int add(MenuItem& item, int parent);
    void forget(const MenuItem& item);
    void follow(const std::shared_ptr<Menu>& menu, int id);
    void unfollow(const std::shared_ptr<Menu>& menu);
    std::shared_ptr<Menu> menuOf(int id) const;
    void layoutChanged(int parent);
    void tell();

    QVariantMap properties(int id, const QStringList& wanted) const;
    BusMenuItem layout(int id, int depth, const QStringList& wanted) const;
    bool handleEvent(int id, const QString& kind);
    QVariant ownProperty(const QString& name) const;
    QDBusMessage answer(const QDBusMessage& call);

    QDBusConnection bus_;
    const QString path_;
    const std::shared_ptr<Menu> menu_;
    Choices& choices_;
    Icons& icons_;
    int lastId_ = 0;
    std::map<int, Node> nodes_;
    std::map<const MenuItem*, int> ids_;
    std::map<const Menu*, int> owners_;  ///< the item that a menu stands below; 0 for the top
    uint revision_ = 1;
    std::set<int> changedLayouts_;
    std::set<int> changedItems_;
    QTimer due_;
};

}  // namespace quillbox::desktop
