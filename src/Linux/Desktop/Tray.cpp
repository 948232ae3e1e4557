// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/Tray.h"

#include "Core/Platform/LogLine.h"
#include "Linux/Desktop/BusMenu.h"
#include "Linux/Desktop/MenuView.h"
#include "Linux/Desktop/MenuWindow.h"
#include "Linux/Desktop/StatusNotifier.h"
#include "Linux/Desktop/XTray.h"

#include <QCursor>
#include <QGuiApplication>
#include <QSystemTrayIcon>

#include <optional>
#include <utility>

namespace quillbox::desktop {

namespace {

using namespace std::chrono_literals;

/// At login a panel may come some time after the programs that it starts with.
constexpr auto kPatienceForATray = 5s;

const QString& menuPath() {
    static const QString path = QStringLiteral("/MenuBar");
    return path;
}

/// The name of a picture of the program in the desktop's theme: the program's id with "-on" or
/// "-off". Empty where the theme has none.
QString themeName(const Image& image) {
    const auto resource = text(image.resourceName);
    for (const auto& state : {QStringLiteral("on"), QStringLiteral("off")}) {
        if (resource == QStringLiteral("16x16") + state) {
            const auto name = QGuiApplication::desktopFileName() + QLatin1Char('-') + state;
            return QIcon::hasThemeIcon(name) ? name : QString();
        }
    }
    return {};
}

}  // namespace

/// The one item, and what shows it at this moment.
class TrayItem final : public StatusItem {
public:
    TrayItem(const StatusItemSettings& settings, Choices& choices, Icons& icons, Log& log)
        : icons_(icons),
          log_(log),
          image_(settings.image),
          bus_(QDBusConnection::sessionBus()),
          menu_(settings.menu, choices, icons),
          busMenu_(bus_, menuPath(), settings.menu, choices, icons),
          xTray_([this] { choose(); }),
          host_(bus_, [this] { choose(); }) {
        patience_.setSingleShot(true);
        QObject::connect(&patience_, &QTimer::timeout, &patience_, [this] {
            isPatient_ = false;
            choose();
        });
        patience_.start(kPatienceForATray);
        isBuilt_ = true;
        choose();
    }

    void setImage(const Image& image) override {
        image_ = image;
        draw();
    }

    void setToolTip(const std::vector<std::string>& lines, bool needsUser) {
        body_.clear();
        for (const auto& line : lines) {
            body_ += (body_.isEmpty() ? QString() : QStringLiteral("\n")) + text(line);
        }
        needsUser_ = needsUser;
        draw();
    }

    bool showMenuWindow() {
        isPatient_ = false;
        if (!isInATray()) {
            choose();
        }
        if (window_) {
            window_->setWindowState(window_->windowState() & ~Qt::WindowMinimized);
            window_->show();
            window_->raise();
            window_->activateWindow();
        }
        return window_ != nullptr;
    }

private:
    bool isInATray() const { return notifier_ || (icon_ && xTray_.isThere()); }

    void choose() {
        if (!isBuilt_ || !host_.isKnown()) {
            return;
        }
        const bool isNotified = host_.isThere();
        if (isNotified) {
            if (!notifier_) {
                logLine(log_, LogLevel::Info, "The status item is shown by the panel.");
                notifier_.emplace(bus_, menuPath(), [this](const QPoint& place) { open(place); });
            }
            draw();
            host_.registerItem(notifier_->service());
        } else {
            notifier_.reset();
        }
        if (isNotified) {
            icon_.reset();
        } else if (!icon_ && XTray::isPossible()) {
            icon_ = std::make_unique<QSystemTrayIcon>();
            icon_->setContextMenu(&menu_.menu());
            QObject::connect(icon_.get(), &QSystemTrayIcon::activated, icon_.get(),
                             [this](QSystemTrayIcon::ActivationReason reason) {
                                 if (reason != QSystemTrayIcon::Context) {
                                     open(QCursor::pos());
                                 }
                             });
            draw();
            icon_->show();
        }
        const bool isShown = isNotified || xTray_.isThere();
        if (!isNotified && xTray_.isThere() && !std::exchange(wasInXTray_, true)) {
            logLine(log_, LogLevel::Info, "The status item is shown in the tray.");
        } else if (!xTray_.isThere()) {
            wasInXTray_ = false;
        }
        if (isShown) {
            window_.reset();
        } else if (!window_ && !isPatient_) {
            logLine(log_, LogLevel::Info,
                    "This desktop has no tray: a window shows the menu instead.");
            window_ = std::make_unique<MenuWindow>(menu_.menu());
            draw();
            window_->show();
        }
    }

    void draw() {
        const QIcon plain = icons_.icon(image_);
        const QIcon icon = needsUser_ ? Icons::withDot(plain) : plain;
        const auto name = QStringLiteral("Quillbox");
        if (notifier_) {
            notifier_->setIcon(needsUser_ ? QString() : themeName(image_), icon);
            notifier_->setToolTip(name, body_.toHtmlEscaped());
        }
        if (icon_) {
            icon_->setIcon(icon);
            icon_->setToolTip(body_.isEmpty() ? name : literal(name + QLatin1Char('\n') + body_));
        }
        if (window_) {
            window_->setToolTip(literal(body_));
        }
    }

    void open(const QPoint& place) {
        if (menu_.menu().isVisible()) {
            menu_.menu().hide();
        } else {
            menu_.menu().popup(place);
        }
    }

    Icons& icons_;
    Log& log_;
    Image image_;
    QString body_;
    bool needsUser_ = false;
    bool isBuilt_ = false;
    bool isPatient_ = true;
    bool wasInXTray_ = false;
    QDBusConnection bus_;
    MenuView menu_;
    BusMenu busMenu_;
    std::optional<StatusNotifierItem> notifier_;
    std::unique_ptr<QSystemTrayIcon> icon_;
    std::unique_ptr<MenuWindow> window_;
    QTimer patience_;
    XTray xTray_;
    StatusNotifierHost host_;
};

Tray::Tray(Choices& choices, Icons& icons, Log& log)
    : choices_(choices), icons_(icons), log_(log) {}

Tray::~Tray() = default;

std::shared_ptr<StatusItem> Tray::makeStatusItem(const StatusItemSettings& settings) {
    auto item = std::make_shared<TrayItem>(settings, choices_, icons_, log_);
    item->setToolTip(lines_, needsUser_);
    item_ = item;
    return item;
}

void Tray::setToolTip(std::vector<std::string> lines, bool needsUser) {
    if (lines == lines_ && needsUser == needsUser_) {
        return;
    }
    lines_ = std::move(lines);
    needsUser_ = needsUser;
    if (const auto item = item_.lock()) {
        item->setToolTip(lines_, needsUser_);
    }
}

bool Tray::showMenuWindow() {
    const auto item = item_.lock();
    return item && item->showMenuWindow();
}

}  // namespace quillbox::desktop
