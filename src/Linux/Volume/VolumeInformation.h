// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

namespace quillbox::volume {

/// The file at a volume's top from which file managers read its name and icon.
inline constexpr std::string_view kVolumeInformationName = ".xdg-volume-info";

/// The text of that file: the name, and the icon's file where there is one. Values are escaped as
/// key files want it, so that neither can add a line of its own.
std::string volumeInformation(const std::string& name, const std::string& iconPath);

}  // namespace quillbox::volume
