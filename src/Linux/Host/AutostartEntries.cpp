// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/AutostartEntries.h"

#include "Linux/Host/AtomicFile.h"
#include "Linux/Host/DesktopEntry.h"
#include "Linux/Host/UserFolders.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string_view>

namespace quillbox::host {

namespace {

constexpr std::size_t kLargestEntry = 1U << 20U;
constexpr std::string_view kSuffix = ".desktop";

std::vector<std::string> split(const char* list) {
    std::istringstream stream(list != nullptr ? list : "");
    std::vector<std::string> parts;
    for (std::string each; std::getline(stream, each, ':');) {
        if (!each.empty()) {
            parts.push_back(each);
        }
    }
    return parts;
}

/// The number of one of our own entries: 1 for ID.desktop, N for ID-N.desktop, 0 for any other.
unsigned long ownNumber(std::string_view name) {
    const std::string_view id = AutostartEntries::kApplicationId;
    if (!name.starts_with(id) || !name.ends_with(kSuffix)) {
        return 0;
    }
    name.remove_prefix(id.size());
    name.remove_suffix(kSuffix.size());
    if (name.empty()) {
        return 1;
    }
    const std::string digits(name.substr(1));
    const bool isNumber = name.front() == '-' && !digits.empty() && digits.size() < 9 &&
                          digits.find_first_not_of("0123456789") == std::string::npos;
    return isNumber ? std::strtoul(digits.c_str(), nullptr, 10) : 0;
}

std::string ownName(unsigned long number) {
    return AutostartEntries::kApplicationId +
           (number > 1 ? "-" + std::to_string(number) : std::string()) + std::string(kSuffix);
}

struct EntryOrder {
    bool operator()(const std::string& a, const std::string& b) const {
        return std::pair(ownNumber(a), a) < std::pair(ownNumber(b), b);
    }
};

bool isProgram(const std::string& path) {
    return ::access(path.c_str(), X_OK) == 0 && std::filesystem::is_regular_file(path);
}

/// A program's absolute path, links resolved; none when there is no such program.
std::optional<std::string> locate(const std::string& program) {
    std::vector<std::string> candidates;
    if (program.find('/') != std::string::npos) {
        candidates.push_back(program);
    } else {
        for (const auto& folder : split(std::getenv("PATH"))) {
            candidates.push_back(std::string(folder).append("/").append(program));
        }
    }
    for (const auto& each : candidates) {
        std::error_code error;
        if (isProgram(each)) {
            const auto real = std::filesystem::canonical(each, error);
            return error ? each : real.string();
        }
    }
    return std::nullopt;
}

bool isMeantFor(const DesktopEntry& entry, const std::vector<std::string>& desktops) {
    const auto names = [&desktops](const std::vector<std::string>& list) {
        return std::any_of(list.begin(), list.end(), [&desktops](const auto& each) {
            return std::find(desktops.begin(), desktops.end(), each) != desktops.end();
        });
    };
    const auto only = listValue(entry, "OnlyShowIn");
    return (only.empty() || names(only)) && !names(listValue(entry, "NotShowIn"));
}

/// The program that an entry starts at login; none when it starts none.
std::optional<std::string> startedProgram(const DesktopEntry& entry,
                                          const std::vector<std::string>& desktops) {
    const auto type = entry.find("Type");
    const auto enabled = entry.find("X-GNOME-Autostart-enabled");
    const auto exec = entry.find("Exec");
    const auto tryExec = entry.find("TryExec");
    if (type == entry.end() || type->second != "Application" || isTrue(entry, "Hidden") ||
        (enabled != entry.end() && enabled->second == "false") || exec == entry.end() ||
        !isMeantFor(entry, desktops) || (tryExec != entry.end() && !locate(tryExec->second))) {
        return std::nullopt;
    }
    const auto arguments = parseExec(exec->second);
    if (!arguments || arguments->empty()) {
        return std::nullopt;
    }
    return locate(arguments->front()).value_or(arguments->front());
}

std::set<std::string> entryNames(const std::string& folder) {
    std::set<std::string> names;
    std::error_code error;
    for (std::filesystem::directory_iterator each(folder, error), end; !error && each != end;
         each.increment(error)) {
        const auto name = each->path().filename().string();
        if (name.ends_with(kSuffix)) {
            names.insert(name);
        }
    }
    return names;
}

std::string entryText(const std::string& path) {
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=Quillbox\n"
           "Comment=Shows attached phones and tablets as volumes\n"
           "Icon=" +
           std::string(AutostartEntries::kApplicationId) + "\nTryExec=" + escapedValue(path) +
           "\nExec=" + escapedValue(quotedForExec(path)) +
           "\nTerminal=false\n"
           "X-GNOME-Autostart-enabled=true\n";
}

}  // namespace

AutostartPlaces AutostartPlaces::fromEnvironment() {
    AutostartPlaces places;
    places.userFolder = configurationFolder() + "/autostart";
    for (const auto& each : systemConfigurationFolders()) {
        places.systemFolders.push_back(each + "/autostart");
    }
    places.desktops = split(std::getenv("XDG_CURRENT_DESKTOP"));
    return places;
}

AutostartEntries::AutostartEntries(AutostartPlaces places, Log& log)
    : places_(std::move(places)), log_(log) {}

std::vector<LoginItem> AutostartEntries::snapshot() {
    std::map<std::string, std::string, EntryOrder> files;
    const auto addFolder = [&files](const std::string& folder) {
        for (const auto& name : entryNames(folder)) {
            files.try_emplace(name, std::string(folder).append("/").append(name));
        }
    };
    addFolder(places_.userFolder);
    for (const auto& each : places_.systemFolders) {
        addFolder(each);
    }
    std::vector<LoginItem> items;
    for (const auto& [name, file] : files) {
        int error = 0;
        const auto text = readWholeFile(file, kLargestEntry, &error);
        const auto entry = text ? parseDesktopEntry(*text) : std::nullopt;
        if (const auto program = entry ? startedProgram(*entry, places_.desktops) : std::nullopt) {
            items.push_back({name, *program});
        }
    }
    return items;
}

bool AutostartEntries::insertLast(const std::string& path) {
    unsigned long last = 0;
    for (const auto& each : snapshot()) {
        last = std::max(last, ownNumber(each.identifier));
    }
    return writeEntry(ownName(last + 1), entryText(path));
}

void AutostartEntries::remove(const LoginItem& item) {
    // The name comes from a listing; a path would lead out of the folder.
    if (item.identifier.empty() || item.identifier.find('/') != std::string::npos) {
        return;
    }
    if (hasSystemEntry(item.identifier)) {
        writeEntry(item.identifier,
                   "[Desktop Entry]\nType=Application\nName=Quillbox\nHidden=true\n");
        return;
    }
    const std::string file = places_.userFolder + "/" + item.identifier;
    if (::unlink(file.c_str()) != 0 && errno != ENOENT) {
        log_.write(LogLevel::Error, "The autostart entry " + file +
                                        " could not be removed: " + std::strerror(errno) + ".");
    }
}

bool AutostartEntries::hasSystemEntry(const std::string& name) const {
    return std::any_of(
        places_.systemFolders.begin(), places_.systemFolders.end(),
        [&name](const auto& folder) { return ::access((folder + "/" + name).c_str(), F_OK) == 0; });
}

bool AutostartEntries::writeEntry(const std::string& name, const std::string& text) {
    const std::string file = places_.userFolder + "/" + name;
    int error = makeFolders(places_.userFolder, 0700);
    if (error == 0) {
        error = replaceFile(file, text, 0644);
    }
    if (error != 0) {
        log_.write(LogLevel::Error, "The autostart entry " + file +
                                        " could not be written: " + std::strerror(error) + ".");
    }
    return error == 0;
}

}  // namespace quillbox::host
