// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/ValueList.h"

#include "Linux/Desktop/Owned.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QLineEdit>
#include <QStyledItemDelegate>
#include <QTreeWidget>

namespace quillbox::desktop {

namespace {

/// Rows with room for what stands above capital letters.
class Roomy final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        constexpr int kRoom = 3;
        return QStyledItemDelegate::sizeHint(option, index) + QSize(0, kRoom);
    }
};

/// The rows that stand in the list, or only those that are selected.
QString asText(const QTreeWidget& list, bool onlySelected) {
    QString all;
    for (int i = 0; i < list.topLevelItemCount(); ++i) {
        const auto* row = list.topLevelItem(i);
        if (!onlySelected || (row->isSelected() && !row->isHidden())) {
            all += row->text(0) + QLatin1Char('\t') + row->text(1) + QLatin1Char('\n');
        }
    }
    return all;
}

void show(QTreeWidget& list, const QString& wanted) {
    for (int i = 0; i < list.topLevelItemCount(); ++i) {
        auto* row = list.topLevelItem(i);
        const bool isFound = row->text(0).contains(wanted, Qt::CaseInsensitive) ||
                             row->text(1).contains(wanted, Qt::CaseInsensitive);
        row->setHidden(!isFound);
    }
}

}  // namespace

void makeValueList(QTreeWidget& list, QLineEdit& filter, QAbstractButton& copyAll) {
    list.header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    list.header()->setStretchLastSection(true);
    list.setItemDelegate(makeOwned<Roomy>(&list));
    QObject::connect(&filter, &QLineEdit::textChanged, &list,
                     [&list](const QString& wanted) { show(list, wanted.trimmed()); });
    auto* copy = makeOwned<QAction>(QApplication::translate("MoreInfo", "&Copy"), &list);
    copy->setShortcut(QKeySequence::Copy);
    copy->setShortcutContext(Qt::WidgetShortcut);
    QObject::connect(copy, &QAction::triggered, &list,
                     [&list] { QApplication::clipboard()->setText(asText(list, true)); });
    list.addAction(copy);
    list.setContextMenuPolicy(Qt::ActionsContextMenu);
    QObject::connect(&copyAll, &QAbstractButton::clicked, &list,
                     [&list] { QApplication::clipboard()->setText(asText(list, false)); });
}

}  // namespace quillbox::desktop
