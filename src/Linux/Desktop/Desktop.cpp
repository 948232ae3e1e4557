// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/Desktop.h"

#include "Linux/Desktop/Alerts.h"
#include "Linux/Desktop/Choices.h"
#include "Linux/Desktop/DesktopWorkspace.h"
#include "Linux/Desktop/EventPump.h"
#include "Linux/Desktop/Icons.h"
#include "Linux/Desktop/InterfaceLibrary.h"
#include "Linux/Desktop/Notices.h"
#include "Linux/Desktop/Tray.h"

#include <QApplication>
#include <QIcon>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>
#include <QWidget>

#include <array>

namespace quillbox::desktop {

namespace {

/// The library's application object with the program's name in place.
class ApplicationObject {
public:
    ApplicationObject(const std::string& applicationId, const Bundle& bundle) {
        QApplication::setApplicationName(QStringLiteral("quillbox"));
        QApplication::setDesktopFileName(text(applicationId));
        QApplication::setQuitOnLastWindowClosed(false);
        translate(bundle);
        if (const auto icon = bundle.pathForResource("QuillboxIcon", "png")) {
            QApplication::setWindowIcon(QIcon::fromTheme(text(applicationId), QIcon(text(*icon))));
        }
    }

private:
    /// Into the first of the user's languages that there is a translation for.
    void translate(const Bundle& bundle) {
        const auto languages = QLocale().uiLanguages();
        for (QString language : languages) {
            language.replace(QLatin1Char('-'), QLatin1Char('_'));
            const auto path = bundle.pathForResource("quillbox_" + language.toStdString(), "qm");
            if (path && own_.load(text(*path))) {
                QApplication::installTranslator(&own_);
                if (library_.load(QStringLiteral("qtbase_") + language,
                                  QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
                    QApplication::installTranslator(&library_);
                }
                return;
            }
            if (language.startsWith(QLatin1String("en"))) {
                return;
            }
        }
    }

    std::array<char, 9> name_{"quillbox"};
    std::array<char*, 2> arguments_{name_.data(), nullptr};
    int count_ = 1;
    QApplication application_{count_, arguments_.data()};
    QTranslator own_;
    QTranslator library_;
};

class DesktopApplication final : public Application {
public:
    explicit DesktopApplication(const Choices& choices) : choices_(choices) {}

    void arrangeInFront() override {
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (window->isVisible() && window->windowType() != Qt::Popup) {
                window->raise();
            }
        }
    }

    void activate(bool ignoringOtherApps) override {
        // The window that was shown last has asked for the keyboard already.
        if (QWidget* window = QApplication::activeWindow(); ignoringOtherApps && window) {
            window->activateWindow();
        }
    }

    void terminate() override { choices_.quit(); }

private:
    const Choices& choices_;
};

}  // namespace

class Desktop::Parts {
public:
    Parts(RunLoop& loop, Log& log, const Bundle& bundle, const std::string& applicationId,
          const std::string& volumesFolder, std::function<void()> quit)
        : object(applicationId, bundle),
          choices(loop, std::move(quit)),
          icons(bundle),
          alerts(choices, log),
          application(choices),
          workspace(alerts, log),
          tray(choices, icons, log),
          notices(tray),
          interfaceFiles(choices, alerts, icons, workspace, volumesFolder) {}

    ApplicationObject object;
    EventPump pump;
    Choices choices;
    Icons icons;
    Alerts alerts;
    DesktopApplication application;
    DesktopWorkspace workspace;
    Tray tray;
    Notices notices;
    InterfaceLibrary interfaceFiles;
};

Desktop::Desktop(RunLoop& loop, Log& log, const Bundle& bundle, const std::string& applicationId,
                 const std::string& volumesFolder, std::function<void()> quit)
    : parts_(std::make_unique<Parts>(loop, log, bundle, applicationId, volumesFolder,
                                     std::move(quit))) {}

Desktop::~Desktop() = default;

StatusBar& Desktop::statusBar() {
    return parts_->tray;
}

InterfaceFiles& Desktop::interfaceFiles() {
    return parts_->interfaceFiles;
}

Application& Desktop::application() {
    return parts_->application;
}

Workspace& Desktop::workspace() {
    return parts_->workspace;
}

void Desktop::serve(const std::vector<int>& descriptors,
                    std::chrono::steady_clock::time_point deadline) {
    if (!parts_->pump.serve(descriptors, deadline)) {
        parts_->choices.quit();
    }
}

void Desktop::showDeviceState(const void* device, const std::string& name, const std::string& state,
                              bool needsUser) {
    parts_->notices.setDevice(device, name, state, needsUser);
}

void Desktop::showWait(const std::string& what) {
    parts_->notices.setWait(what);
}

bool Desktop::showMenuWindow() {
    return parts_->tray.showMenuWindow();
}

}  // namespace quillbox::desktop
