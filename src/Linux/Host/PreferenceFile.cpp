// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/PreferenceFile.h"

#include "Linux/Host/AtomicFile.h"
#include "Linux/Host/PlistConversion.h"
#include "Linux/Host/UserFolders.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <mutex>

namespace quillbox::host {

namespace {

constexpr std::size_t kLargestFile = std::size_t{16} << 20U;

std::string nameAside(const std::string& path) {
    const std::time_t now = std::time(nullptr);
    std::tm parts = {};
    ::localtime_r(&now, &parts);
    char stamp[32] = {};
    std::strftime(stamp, sizeof stamp, "%Y%m%d-%H%M%S", &parts);
    std::string name = path + ".damaged-" + stamp;
    for (int i = 2; std::filesystem::exists(name); ++i) {
        name = path + ".damaged-" + stamp + "-" + std::to_string(i);
    }
    return name;
}

}  // namespace

PreferenceFile::PreferenceFile(std::string path, Log& log) : path_(std::move(path)), log_(log) {
    load();
}

PreferenceFile::~PreferenceFile() {
    if (changed_) {
        synchronize();
    }
}

void PreferenceFile::load() {
    int error = 0;
    const auto text = readWholeFile(path_, kLargestFile, &error);
    if (!text) {
        unreadable_ = error != ENOENT && error != EFBIG && error != ENOTDIR;
        if (error == EFBIG) {
            keepAside();
        } else if (unreadable_) {
            log_.write(LogLevel::Error, "The preferences in " + path_ + " cannot be read (" +
                                            std::strerror(error) +
                                            "): settings of this run will not be kept.");
        }
        return;
    }
    auto values = dictionaryFromPlistText(*text);
    if (!values) {
        keepAside();
        return;
    }
    values_ = std::move(*values);
}

void PreferenceFile::keepAside() {
    const std::string aside = nameAside(path_);
    if (std::rename(path_.c_str(), aside.c_str()) == 0) {
        log_.write(LogLevel::Error, "The preferences in " + path_ +
                                        " were damaged: they are kept as " + aside +
                                        ", and all settings begin anew.");
        return;
    }
    unreadable_ = true;
    log_.write(LogLevel::Error,
               "The preferences in " + path_ + " are damaged and cannot be moved aside (" +
                   std::strerror(errno) + "): settings of this run will not be kept.");
}

std::optional<PropertyValue> PreferenceFile::objectForKey(std::string_view key) const {
    const std::shared_lock guard(mutex_);
    const auto* value = find(values_, key);
    return value != nullptr ? std::optional(*value) : std::nullopt;
}

void PreferenceFile::setObject(std::string_view key, PropertyValue value) {
    const std::unique_lock guard(mutex_);
    const auto at = values_.lower_bound(key);
    if (at != values_.end() && at->first == key) {
        if (at->second == value) {
            return;
        }
        at->second = std::move(value);
    } else {
        values_.emplace_hint(at, std::string(key), std::move(value));
    }
    changed_ = true;
}

void PreferenceFile::removeObject(std::string_view key) {
    const std::unique_lock guard(mutex_);
    if (const auto at = values_.find(key); at != values_.end()) {
        values_.erase(at);
        changed_ = true;
    }
}

void PreferenceFile::removeAllObjects() {
    const std::unique_lock guard(mutex_);
    changed_ = changed_ || !values_.empty();
    values_.clear();
}

bool PreferenceFile::synchronize() {
    std::string text;
    {
        const std::shared_lock guard(mutex_);
        if (!changed_) {
            return true;
        }
        text = plistText(values_);
    }
    const bool written = write(text);
    changed_ = !written;
    return written;
}

bool PreferenceFile::write(const std::string& text) {
    if (unreadable_) {
        log_.write(LogLevel::Warning, "The settings were not saved: " + path_ +
                                          " could not be read at the start and is left alone.");
        return false;
    }
    int error = text.empty() ? EINVAL : 0;
    if (error == 0) {
        error = makeFolders(std::filesystem::absolute(path_).parent_path(), 0700);
    }
    if (error == 0) {
        error = replaceFile(path_, text, 0600);
    }
    if (error != 0) {
        log_.write(LogLevel::Error, "The settings could not be saved to " + path_ + ": " +
                                        std::strerror(error) + ".");
    }
    return error == 0;
}

std::string defaultPreferencePath() {
    return configurationFolder() + "/quillbox/preferences.plist";
}

}  // namespace quillbox::host
