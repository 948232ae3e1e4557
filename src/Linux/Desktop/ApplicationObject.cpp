// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/ApplicationObject.h"

#include "Linux/Desktop/Icons.h"

#include <QIcon>
#include <QLibraryInfo>
#include <QLocale>

#include <clocale>

namespace quillbox::desktop {

ApplicationObject::ApplicationObject(const std::string& applicationId, const Bundle& bundle) {
    // The library's object has set the user's language and numbers for logs too.
    std::setlocale(LC_MESSAGES, "C");
    std::setlocale(LC_NUMERIC, "C");
    QApplication::setApplicationName(QStringLiteral("quillbox"));
    QApplication::setDesktopFileName(text(applicationId));
    QApplication::setQuitOnLastWindowClosed(false);
    translate(bundle);
    if (const auto icon = bundle.pathForResource("QuillboxIcon", "png")) {
        QApplication::setWindowIcon(QIcon::fromTheme(text(applicationId), QIcon(text(*icon))));
    }
}

/// Into the first of the user's languages that there is a catalogue for. Numbers stay as they are.
void ApplicationObject::translate(const Bundle& bundle) {
    // The system's: the default one knows nothing of the list in LANGUAGE.
    const auto languages = QLocale::system().uiLanguages();
    for (QString language : languages) {
        language.replace(QLatin1Char('-'), QLatin1Char('_'));
        const auto path =
            bundle.pathForResource("translations/quillbox_" + language.toStdString(), "qm");
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

}  // namespace quillbox::desktop
