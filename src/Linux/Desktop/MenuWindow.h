// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

class QMenu;
class QVBoxLayout;

namespace quillbox::desktop {

/// A small window with the top menu, for a desktop without a tray. Closing it only hides it. Main
/// thread.
class MenuWindow final : public QWidget {
public:
    /// The menu must outlive this.
    explicit MenuWindow(QMenu& menu);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void rebuild();

    QMenu& menu_;
    QVBoxLayout* rows_;
    bool isDue_ = false;
};

}  // namespace quillbox::desktop
