// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CallRecord.h"
#include "Core/Platform/Platform.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace quillbox::fakes {

/// Keeps every line. Any thread.
class FakeLog final : public Log {
public:
    bool isEnabled(LogLevel level) const override { return level <= level_; }

    void setLevel(LogLevel level) { level_ = level; }

    void write(LogLevel level, std::string_view text) override {
        const std::lock_guard guard(mutex_);
        lines_.emplace_back(text);
        levels_.push_back(level);
    }

    std::vector<std::string> take() {
        const std::lock_guard guard(mutex_);
        levels_.clear();
        return std::exchange(lines_, {});
    }

    std::vector<LogLevel> levels() const {
        const std::lock_guard guard(mutex_);
        return levels_;
    }

    bool contains(const std::string& line) const {
        const std::lock_guard guard(mutex_);
        return std::find(lines_.begin(), lines_.end(), line) != lines_.end();
    }

private:
    mutable std::mutex mutex_;
    std::atomic<LogLevel> level_{LogLevel::Debug};
    std::vector<std::string> lines_;
    std::vector<LogLevel> levels_;
};

/// Delivers as the port says: at once, in order, one handler for each observer and name.
class FakeNotificationCenter final : public NotificationCenter {
public:
    void addObserver(const void* observer, std::string_view name, Handler handler) override {
        for (auto& each : observations_) {
            if (each.observer == observer && each.name == name) {
                each.handler = std::move(handler);
                return;
            }
        }
        observations_.push_back({observer, std::string(name), std::move(handler)});
    }

    void removeObserver(const void* observer) override {
        std::erase_if(observations_,
                      [observer](const auto& each) { return each.observer == observer; });
    }

    void post(const Notification& notification) override {
        posted_.push_back(notification);
        const auto round = observations_;
        for (const auto& each : round) {
            if (each.name == notification.name && isObserving(each.observer, each.name)) {
                each.handler(notification);
            }
        }
    }

    bool isObserving(const void* observer, std::string_view name) const {
        return std::any_of(observations_.begin(), observations_.end(), [&](const auto& each) {
            return each.observer == observer && each.name == name;
        });
    }

    std::size_t observations(const void* observer) const {
        return static_cast<std::size_t>(
            std::count_if(observations_.begin(), observations_.end(),
                          [&](const auto& each) { return each.observer == observer; }));
    }

    const std::vector<Notification>& posted() const { return posted_; }

private:
    struct Observation {
        const void* observer;
        std::string name;
        Handler handler;
    };

    std::vector<Observation> observations_;
    std::vector<Notification> posted_;
};

/// Reads on any thread; counts what reaches the disk.
class FakePreferences final : public Preferences {
public:
    explicit FakePreferences(CallRecord& record) : record_(record) {}

    std::optional<PropertyValue> objectForKey(std::string_view key) const override {
        const std::lock_guard guard(mutex_);
        const auto* value = find(values_, key);
        return value != nullptr ? std::optional(*value) : std::nullopt;
    }

    void setObject(std::string_view key, PropertyValue value) override {
        const std::lock_guard guard(mutex_);
        record_.add("setObject " + std::string(key) + " = " + description(value));
        values_.insert_or_assign(std::string(key), std::move(value));
    }

    void removeObject(std::string_view key) override {
        const std::lock_guard guard(mutex_);
        values_.erase(std::string(key));
    }

    void removeAllObjects() override {
        const std::lock_guard guard(mutex_);
        values_.clear();
    }

    bool synchronize() override {
        record_.add("synchronize");
        return true;
    }

    PropertyDictionary values() const {
        const std::lock_guard guard(mutex_);
        return values_;
    }

private:
    CallRecord& record_;
    mutable std::mutex mutex_;
    PropertyDictionary values_;
};

class FakeLoginItems final : public LoginItems {
public:
    std::vector<LoginItem> snapshot() override { return items; }

    bool insertLast(const std::string& path) override {
        if (canWrite) {
            items.push_back({"item" + std::to_string(++last_), path});
        }
        return canWrite;
    }

    void remove(const LoginItem& item) override {
        std::erase_if(items,
                      [&item](const auto& each) { return each.identifier == item.identifier; });
    }

    std::vector<LoginItem> items;
    bool canWrite = true;

private:
    int last_ = 0;
};

class FakeWorkspace final : public Workspace {
public:
    void openFile(const std::string& path) override { opened.push_back(path); }

    void openURL(const std::string& address) override { addresses.push_back(address); }

    void runAlert(const std::string& title, const std::string& message) override {
        alerts.emplace_back(title, message);
    }

    void offerToShow(const std::string& title, const std::string& message,
                     const std::string& path) override {
        runAlert(title, message);
        offered.push_back(path);
    }

    std::vector<std::string> opened;
    std::vector<std::string> offered;
    std::vector<std::string> addresses;
    std::vector<std::pair<std::string, std::string>> alerts;
};

class FakeBundle final : public Bundle {
public:
    std::string bundlePath() const override { return "/usr/bin/quillbox"; }

    std::optional<std::string> pathForResource(const std::string& name,
                                               const std::string& type) const override {
        return isInstalled ? std::optional("/usr/share/quillbox/" + name + "." + type)
                           : std::nullopt;
    }

    std::optional<std::string> objectForInfoDictionaryKey(std::string_view key) const override {
        const auto found = information.find(key);
        return found == information.end() ? std::nullopt : std::optional(found->second);
    }

    std::string operatingSystemVersionString() const override { return version; }

    std::map<std::string, std::string, std::less<>> information{{"CFBundleVersion", "2.1"}};
    std::string version = "Debian GNU/Linux 12 (bookworm)";
    bool isInstalled = true;
};

/// Letters of the basic alphabet without their case.
class FakeCollation final : public Collation {
public:
    int localizedCaseInsensitiveCompare(const std::string& a, const std::string& b) const override {
        return lower(a).compare(lower(b));
    }

private:
    static std::string lower(std::string text) {
        std::transform(text.begin(), text.end(), text.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        return text;
    }
};

/// Locks that never wait: one that is held answers as an ended wait does. Notes misuse.
class FakeLocks final : public Locks {
public:
    explicit FakeLocks(CallRecord& record) : record_(record) {}

    std::unique_ptr<NSLock> makeLock(const void* subject) override;

    std::vector<const void*> subjects;
    bool isHeld = false;  ///< the lock that was made last
    int ended = 0;        ///< waits that ended without the lock

private:
    class Lock;
    CallRecord& record_;
};

class FakeLocks::Lock final : public NSLock {
public:
    explicit Lock(FakeLocks& locks) : locks_(locks) { locks_.isHeld = false; }

    bool lock() override {
        locks_.record_.add("lock");
        if (locks_.isHeld) {
            ++locks_.ended;
            return false;
        }
        locks_.isHeld = true;
        return true;
    }

    void unlock() override {
        locks_.record_.add("unlock");
        locks_.isHeld = false;
    }

private:
    FakeLocks& locks_;
};

inline std::unique_ptr<NSLock> FakeLocks::makeLock(const void* subject) {
    subjects.push_back(subject);
    return std::make_unique<Lock>(*this);
}

}  // namespace quillbox::fakes
