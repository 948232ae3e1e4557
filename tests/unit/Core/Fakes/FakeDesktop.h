// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CallRecord.h"
#include "Core/Platform/Application.h"
#include "Core/Platform/FileManager.h"
#include "Core/Platform/StatusBar.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace quillbox::fakes {

class FakeApplication final : public Application {
public:
    explicit FakeApplication(CallRecord& record) : record_(record) {}

    void arrangeInFront() override { record_.add("arrangeInFront"); }

    void activate(bool ignoringOtherApps) override {
        record_.add(ignoringOtherApps ? "activate ignoringOtherApps" : "activate");
    }

    void terminate() override { record_.add("terminate"); }

private:
    CallRecord& record_;
};

class FakeCrashReporter final : public CrashReporter {
public:
    explicit FakeCrashReporter(CallRecord& record) : record_(record) {}

    void checkForNewCrashes() override { record_.add("checkForNewCrashes"); }

private:
    CallRecord& record_;
};

class FakeStatusItem final : public StatusItem {
public:
    void setImage(const Image& image) override { images.push_back(image.resourceName); }

    std::vector<std::string> images;
};

/// Hands out one item, or none.
class FakeStatusBar final : public StatusBar {
public:
    explicit FakeStatusBar(CallRecord& record) : record_(record) {}

    std::shared_ptr<StatusItem> makeStatusItem(const StatusItemSettings& settings) override {
        record_.add("makeStatusItem");
        made.push_back(settings);
        if (item) {
            item->setImage(settings.image);
        }
        return item;
    }

    std::shared_ptr<FakeStatusItem> item = std::make_shared<FakeStatusItem>();
    std::vector<StatusItemSettings> made;

private:
    CallRecord& record_;
};

/// Files that are told about, by path; every other one is not there.
class FakeFileManager final : public FileManager {
public:
    explicit FakeFileManager(CallRecord& record) : record_(record) {}

    std::optional<PropertyDictionary> attributesOfItemAtPath(const std::string& path,
                                                             GMErrorOut error) override {
        return answer("attributesOfItemAtPath ", attributes, path, error);
    }

    std::optional<std::vector<std::string>> contentsOfDirectoryAtPath(const std::string& path,
                                                                      GMErrorOut error) override {
        return answer("contentsOfDirectoryAtPath ", contents, path, error);
    }

    std::optional<PropertyDictionary> attributesOfFileSystemForPath(const std::string& path,
                                                                    GMErrorOut error) override {
        return answer("attributesOfFileSystemForPath ", fileSystems, path, error);
    }

    static constexpr std::int32_t kNoSuchFile = 2;

    std::map<std::string, PropertyDictionary> attributes;
    std::map<std::string, std::vector<std::string>> contents;
    std::map<std::string, PropertyDictionary> fileSystems;

private:
    template <typename T>
    std::optional<T> answer(const char* kind, const std::map<std::string, T>& known,
                            const std::string& path, GMErrorOut error) {
        record_.add(kind + path);
        const auto found = known.find(path);
        if (found != known.end()) {
            return found->second;
        }
        if (error != nullptr) {
            *error = NSError::errorWithDomain(NSPOSIXErrorDomain, kNoSuchFile);
        }
        return std::nullopt;
    }

    CallRecord& record_;
};

}  // namespace quillbox::fakes
