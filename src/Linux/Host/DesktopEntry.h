// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillbox::host {

/// The keys of the "Desktop Entry" group of a desktop file, escapes of string values undone;
/// localised keys are left out. After the Desktop Entry Specification of freedesktop.org, 1.5.
using DesktopEntry = std::map<std::string, std::string, std::less<>>;

/// None when the text has no such group.
std::optional<DesktopEntry> parseDesktopEntry(std::string_view text);

/// A string value with the escapes that the file format wants (\s \n \t \r \\).
std::string escapedValue(std::string_view value);

/// The arguments of an `Exec` value: quoting undone, field codes such as %U dropped, "%%" a percent
/// sign. None when a quote is not closed.
std::optional<std::vector<std::string>> parseExec(std::string_view exec);

/// One argument as an `Exec` value needs it: quoted where it holds a reserved character.
std::string quotedForExec(std::string_view argument);

/// A key's truth: "true" and nothing else.
bool isTrue(const DesktopEntry& entry, std::string_view key);

/// A list value ("GNOME;KDE;") in its parts.
std::vector<std::string> listValue(const DesktopEntry& entry, std::string_view key);

}  // namespace quillbox::host
