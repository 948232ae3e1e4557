// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Bundle.h"
#include "Core/Platform/Image.h"
#include "Linux/Desktop/Texts.h"

#include <QIcon>

#include <map>
#include <optional>
#include <string>

namespace quillbox::desktop {

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
