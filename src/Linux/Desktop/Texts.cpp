// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/Texts.h"

#include "Linux/Desktop/CoreTexts.h"

#include <QCoreApplication>
#include <QRegularExpression>
#include <QTextDocument>

#include <clocale>
#include <cstring>
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
                const auto translation = QString::fromLocal8Bit(::strerror_l(error, users));
                ::freelocale(users);
                return translation;
            }
        }
    }
    return value;
}

}  // namespace

QString shown(std::string_view core) {
    const QString english = text(core);
    const QString whole = translated(std::string(core).c_str());
    if (core.empty() || whole != english) {
        return whole;
    }
    for (const char* pattern : kCoreTextsWithValues) {
        const QString around = translated(pattern);
        if (around == text(pattern)) {
            continue;
        }
        const auto values = valuesIn(english, text(pattern));
        if (values.size() == 1) {
            return around.arg(values[0]);
        }
        if (values.size() == 2) {
            return around.arg(values[0],
                              systemWords(values[1]));  // at once: a value may hold a "%2"
        }
    }
    return english;
}

QString shownValue(std::string_view value) {
    return value == "Not available" || value == "N/A" ? shown(value) : text(value);
}

QString literal(const QString& plain) {
    // Escaping alone is not enough: without a tag it is taken for plain text and shown as it is.
    return plain.isEmpty() ? QString() : Qt::convertFromPlainText(plain, Qt::WhiteSpaceNormal);
}

}  // namespace quillbox::desktop
