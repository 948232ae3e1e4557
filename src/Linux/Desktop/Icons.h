// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Bundle.h"
#include "Core/Platform/Image.h"

#include <QIcon>
#include <QString>

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace quillbox::desktop {

/// The core's text as the desktop's.
inline QString text(std::string_view core) {
    return QString::fromUtf8(core.data(), static_cast<qsizetype>(core.size()));
}

/// A text for a place that takes rich text wherever a text looks like it, to be shown there letter
/// by letter. An empty one stays empty.
QString literal(const QString& plain);

/// Pictures of the core as icons: named ones from the program's resources, each in the sizes that
/// are there. Main thread.
class Icons {
public:
    /// The bundle must outlive this.
    explicit Icons(const Bundle& bundle) : bundle_(bundle) {}

    /// An empty icon for none, and for a picture that cannot be found.
    QIcon icon(const std::optional<Image>& image);

    /// The icon with a dot at its lower right corner.
    static QIcon withDot(const QIcon& icon);

private:
    const Bundle& bundle_;
    std::map<std::string, QIcon, std::less<>> named_;
};

}  // namespace quillbox::desktop
