// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class QAbstractButton;
class QLineEdit;
class QTreeWidget;

namespace quillbox::desktop {

/// Makes a list of names and values one to look things up in: the filter hides rows that hold its
/// text in neither column, the list's copy key takes the selected rows, the button all of them.
void makeValueList(QTreeWidget& list, QLineEdit& filter, QAbstractButton& copyAll);

}  // namespace quillbox::desktop
