// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/Texts.h"

#include "Linux/Desktop/CoreTexts.h"

#include <QCoreApplication>
#include <QRegularExpression>
#include <QTextDocument>

#include <clocale>
#include <cstring>
#include <langinfo.h>
#include <span>
#include <string>

namespace quillbox::desktop {

namespace {

QString translated(const char* english) {
    return QCoreApplication::translate("Core", english);
}

/// What stands at the places of the values; nothing where the text is another one.
QStringList valuesIn(const QString& whole, const QString& pattern) {
    auto expression = QRegularExpression::escape(pattern);
    for (const char* place : {"\\%1", "\\%2"}) {
        expression.replace(QLatin1String(place), QStringLiteral("(.*)"));
    }
    const QRegularExpression wanted(QRegularExpression::anchoredPattern(expression),
                                    QRegularExpression::DotMatchesEverythingOption);
    return wanted.match(whole).capturedTexts().mid(1);
}

/// The system's words for a failure, which the core has in English, in the user's language.
QString systemWords(const QString& value) {
    constexpr int kLastError = 133;
    const auto english = value.toStdString();
    for (int error = 1; error <= kLastError; ++error) {
        const char* words = ::strerrordesc_np(error);
        if (words != nullptr && english == words) {
            const locale_t users = ::newlocale(LC_MESSAGES_MASK | LC_CTYPE_MASK, "", nullptr);
            if (users != nullptr) {
                // In another encoding the words would come out garbled.
                const bool isReadable =
                    QLatin1String(::nl_langinfo_l(CODESET, users)) == QLatin1String("UTF-8");
                const auto translation =
                    isReadable ? QString::fromUtf8(::strerror_l(error, users)) : value;
                ::freelocale(users);
                return translation;
            }
        }
    }
    return value;
}

/// A value in the middle of a text: what stands for a device without a name is the core's own.
QString shownPart(const QString& value) {
    return value == QLatin1String("Device") || value == QLatin1String("the device")
               ? translated(value.toStdString().c_str())
               : value;
}

/// A text around values by the first pattern that fits and is translated; else as it stands.
QString shownAround(const QString& english, std::span<const char* const> patterns) {
    for (const char* pattern : patterns) {
        const QString around = translated(pattern);
        if (around == text(pattern)) {
            continue;
        }
        const auto values = valuesIn(english, text(pattern));
        if (values.size() == 1) {
            return around.arg(shownPart(values[0]));
        }
        if (values.size() == 2) {
            return around.arg(shownPart(values[0]),
                              systemWords(values[1]));  // at once: a value may hold a "%2"
        }
    }
    return english;
}

}  // namespace

QString shown(std::string_view core) {
    const QString english = text(core);
    const QString whole = translated(std::string(core).c_str());
    return core.empty() || whole != english ? whole : shownAround(english, kCoreTextsWithValues);
}

QString shownLabel(std::string_view label) {
    return shownAround(text(label), kDeviceLabels);
}

QString shownValue(std::string_view value) {
    return value == "Not available" || value == "N/A" ? shown(value) : text(value);
}

QString literal(const QString& plain) {
    // Escaping alone is not enough: without a tag it is taken for plain text and shown as it is.
    return plain.isEmpty() ? QString() : Qt::convertFromPlainText(plain, Qt::WhiteSpaceNormal);
}

}  // namespace quillbox::desktop
