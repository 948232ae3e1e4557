// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/Places.h"

#include "Core/Platform/LogLine.h"
#include "Linux/Desktop/Texts.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSaveFile>
#include <QStandardPaths>
#include <QStringDecoder>
#include <QUrl>
#include <QXmlStreamReader>

#include <algorithm>
#include <optional>
#include <set>
#include <utility>

namespace quillbox::desktop {

namespace {

constexpr qint64 kLargestFile = 4 << 20;  // bytes
constexpr int kTries = 3;

QString addressOf(const std::string& path) {
    return QUrl::fromLocalFile(text(path)).toString(QUrl::FullyEncoded);
}

/// A name without what no text of such a file may hold.
QString writable(QString name) {
    return name.remove(QRegularExpression(QStringLiteral("[\\x{FFFE}\\x{FFFF}\\x{00}-\\x{1F}]")));
}

/// The file's content; none where there is no such file or it is not what it should be.
std::optional<QByteArray> contentOf(const QString& path) {
    // To open a pipe would wait for whoever writes into it.
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly) ||
        file.size() > kLargestFile) {
        return std::nullopt;
    }
    return file.readAll();
}

/// A bookmark that carries the program's mark, and where it stands in the text.
struct Found {
    qsizetype begin = 0;
    qsizetype end = 0;
    QString address;
};

/// What a text holds that has bookmarks; not good where it cannot be understood.
struct Contents {
    bool isGood = false;
    std::vector<Found> own;
    qsizetype last = 0;  ///< where a further bookmark may stand
};

/// Where a tag begins that was read from there on: the reader may have taken its first letter along
/// with the text before it, or blanks along with the tag.
qsizetype tagBegin(const QString& text, qsizetype offset) {
    const bool isTaken = offset > 0 && text[offset - 1] == QLatin1Char('<');
    return isTaken ? offset - 1 : text.indexOf(QLatin1Char('<'), offset);
}

Contents contentsOf(const QString& text, const QString& owner) {
    Contents found;
    QXmlStreamReader reader(text);
    std::optional<Found> open;
    bool isOwn = false;
    int depth = 0;
    while (!reader.atEnd()) {
        const qsizetype before = tagBegin(text, reader.characterOffset());
        switch (reader.readNext()) {
        case QXmlStreamReader::StartDocument:
            if (const auto encoding = reader.documentEncoding();
                !encoding.isEmpty() &&
                encoding.compare(QLatin1String("UTF-8"), Qt::CaseInsensitive) != 0) {
                return {};
            }
            break;
        case QXmlStreamReader::StartElement:
            ++depth;
            if (depth == 1 && reader.name() != QLatin1String("xbel")) {
                return {};
            }
            if (depth == 2 && reader.name() == QLatin1String("bookmark")) {
                open =
                    Found{before, 0, reader.attributes().value(QLatin1String("href")).toString()};
                isOwn = false;
            }
            isOwn = isOwn || (reader.name() == QLatin1String("metadata") &&
                              reader.attributes().value(QLatin1String("owner")) == owner);
            break;
        case QXmlStreamReader::EndElement:
            if (depth == 2 && open && isOwn) {
                open->end = reader.characterOffset();
                found.own.push_back(*open);
            }
            if (depth == 1) {
                found.last = before;
            }
            --depth;
            break;
        default:
            break;
        }
    }
    // Places that do not stand where the reader has counted them are left alone.
    const auto isWhole = [&text](const Found& each) {
        const auto piece = text.mid(each.begin, each.end - each.begin);
        return piece.startsWith(QLatin1String("<bookmark")) &&
               piece.endsWith(QLatin1String("</bookmark>"));
    };
    found.isGood = !reader.hasError() && text.mid(found.last).startsWith(QLatin1String("</xbel")) &&
                   std::all_of(found.own.begin(), found.own.end(), isWhole);
    return found;
}

/// The addresses of all volumes of this program that are mounted, whoever mounted them.
std::set<QString> mountedAddresses() {
    std::set<QString> all;
    QFile mounts(QStringLiteral("/proc/self/mounts"));
    if (!mounts.open(QIODevice::ReadOnly)) {
        return all;
    }
    for (const auto& line : mounts.readAll().split('\n')) {
        const auto words = line.split(' ');
        if (words.value(2) != "fuse.quillbox") {
            continue;
        }
        QByteArray path;  // blanks and the like stand there as three octal digits
        const QByteArray& word = words[1];
        for (qsizetype i = 0; i < word.size(); ++i) {
            constexpr qsizetype kDigits = 3;
            bool isOctal = false;
            const int code = word[i] == '\\' ? word.mid(i + 1, kDigits).toInt(&isOctal, 8) : 0;
            path += isOctal ? static_cast<char>(code) : word[i];
            i += isOctal ? kDigits : 0;
        }
        all.insert(addressOf(path.toStdString()));
    }
    return all;
}

}  // namespace

/// The file and what this program has put into it.
class Places::Shelf {
public:
    Shelf(Log& log, QString owner)
        : log_(log),
          owner_(std::move(owner)),
          file_(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                QStringLiteral("/user-places.xbel")) {}

    void show(const std::vector<std::string>& paths) {
        QStringList wanted;
        for (const auto& path : paths) {
            wanted.append(addressOf(path));
        }
        // The desktop may write its file at the same time: what was written then is read again.
        int tries = kTries;
        while (tries > 0 && !rewrite(wanted)) {
            --tries;
        }
        if (tries == 0) {
            logLine(log_, LogLevel::Warning, "The places in ", file_.toStdString(),
                    " were left alone: they are being changed by somebody else.");
        }
        added_ = {wanted.begin(), wanted.end()};
    }

private:
    bool rewrite(const QStringList& wanted);
    QString changed(const QString& text, const QStringList& wanted) const;
    QString bookmark(const QString& address) const;

    Log& log_;
    const QString owner_;
    const QString file_;
    std::set<QString> added_;  ///< addresses
};

/// False where it is to be tried again.
bool Places::Shelf::rewrite(const QStringList& wanted) {
    const auto bytes = contentOf(file_);
    if (!bytes) {
        return true;
    }
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder.decode(*bytes);
    if (decoder.hasError() || text.toUtf8() != *bytes) {
        return true;
    }
    const QString after = changed(text, wanted);
    if (after == text || !contentsOf(after, owner_).isGood) {
        return true;
    }
    QSaveFile file(file_);
    const QByteArray encoded = after.toUtf8();
    if (!file.open(QIODevice::WriteOnly) || file.write(encoded) != encoded.size()) {
        logLine(log_, LogLevel::Warning, "The places in ", file_.toStdString(),
                " cannot be written: ", file.errorString().toStdString(), ".");
        return true;
    }
    return contentOf(file_) == bytes && file.commit();
}

QString Places::Shelf::changed(const QString& text, const QStringList& wanted) const {
    const Contents contents = contentsOf(text, owner_);
    if (!contents.isGood) {
        return text;
    }
    QString after = text;
    QStringList missing = wanted;
    std::vector<Found> stale;
    for (const auto& each : contents.own) {
        if (missing.removeAll(each.address) == 0) {
            stale.push_back(each);
        }
    }
    QString additions;
    for (const auto& address : missing) {
        additions += bookmark(address);
    }
    after.insert(contents.last, additions);
    const auto mounted = mountedAddresses();
    std::for_each(stale.rbegin(), stale.rend(), [&](const Found& each) {
        if (added_.contains(each.address) || !mounted.contains(each.address)) {
            after.remove(each.begin, each.end - each.begin);
        }
    });
    return after;
}

QString Places::Shelf::bookmark(const QString& address) const {
    const auto name = writable(QUrl(address).fileName(QUrl::FullyDecoded)).toHtmlEscaped();
    const auto identity = QString::fromLatin1(
        QCryptographicHash::hash(address.toUtf8(), QCryptographicHash::Sha256).toHex().left(16));
    return QStringLiteral(
               "<bookmark href=\"%1\"><title>%2</title><info>"
               "<metadata owner=\"http://freedesktop.org\"><bookmark:icon "
               "xmlns:bookmark=\"http://www.freedesktop.org/standards/desktop-bookmarks\" "
               "name=\"%3\"/></metadata>"
               "<metadata owner=\"http://www.kde.org\"><ID>%4</ID></metadata>"
               "<metadata owner=\"%3\"/></info></bookmark>")
        .arg(address.toHtmlEscaped(), name, owner_, owner_ + QLatin1Char('/') + identity);
}

Places::Places(Log& log, const std::string& owner)
    : shelf_(std::make_unique<Shelf>(log, text(owner))) {}

Places::~Places() {
    show({});
}

void Places::show(const std::vector<std::string>& paths) {
    shelf_->show(paths);
}

}  // namespace quillbox::desktop
