// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Menu.h"

#include <QString>

#include <string_view>

namespace quillbox::desktop {

/// The core's text as the desktop's.
inline QString text(std::string_view core) {
    return QString::fromUtf8(core.data(), static_cast<qsizetype>(core.size()));
}

/// A text of the core in the user's language; as it stands where there is no translation of it.
/// Never for names and values of devices: they may read like the program's own words.
QString shown(std::string_view core);

/// What a device is called in a message: its name as it stands, the words beside it in the user's
/// language.
QString shownLabel(std::string_view label);

/// An item's title in the user's language, a name as it stands.
inline QString shownTitle(const MenuItem& item) {
    return item.titleIsName() ? text(item.title()) : shown(item.title());
}

/// A value of a device as it stands; what the core says in place of a missing one in the user's
/// language.
QString shownValue(std::string_view value);

/// A text for a place that takes rich text wherever a text looks like it, to be shown there letter
/// by letter. An empty one stays empty.
QString literal(const QString& plain);

}  // namespace quillbox::desktop
