// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/PropertyList.h"

#include <optional>
#include <string>

namespace quillbox {

/// The text of a device's value in a field: strings as they are, everything else as "%@" shows it,
/// data as hexadecimal digits in groups of four bytes. None for none.
std::optional<std::string> valueText(const std::optional<PropertyValue>& value);

}  // namespace quillbox
