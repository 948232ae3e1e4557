// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Images/NSImage+IconData.h"
#include "Core/Platform/LogLine.h"
#include "Core/Session/PodPhone.h"
#include "Core/Settings/CachedFlags.h"
#include "Core/Volumes/ApplicationPicture.h"
#include "Core/Volumes/iPodDevice.h"

#include <chrono>

namespace quillbox {

namespace {

constexpr double kMenuPicturePoints = 16;
constexpr double kMenuPictureRadius = 2.0;

Image resource(const char* name) {
    return Image{name, {}};
}

std::optional<Image> menuPicture(const Platform& platform, const std::optional<Image>& image) {
    return image ? thumbnailImage(platform, *image, kMenuPicturePoints, kMenuPictureRadius)
                 : std::nullopt;
}

/// The title of an application's item: its name, else the last part of its identifier.
std::string titleOf(const AppRecord& application) {
    for (const char* key : {"name", "ID"}) {
        const auto* value = find(application, key);
        const std::string* text = value != nullptr ? value->string() : nullptr;
        if (text != nullptr) {
            return key == std::string_view("name") ? *text : text->substr(text->rfind('.') + 1);
        }
    }
    return {};
}

/// Says how long the pictures of a whole menu took, when there were any to read.
class PictureTime {
public:
    PictureTime(Log& log, std::size_t applications) : log_(log), applications_(applications) {}

    PictureTime(const PictureTime&) = delete;
    PictureTime& operator=(const PictureTime&) = delete;

    ~PictureTime() {
        using namespace std::chrono;
        const auto took = duration_cast<milliseconds>(steady_clock::now() - start_).count();
        logLine(log_, LogLevel::Info, "Reading the pictures of ", applications_,
                " applications took ", took, " ms: ", found_, " found.");
    }

    void count(bool isFound) { found_ += isFound ? 1 : 0; }

private:
    Log& log_;
    const std::size_t applications_;
    std::size_t found_ = 0;
    const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace

std::shared_ptr<MenuItem> iPodDevice::makeRootItem(std::string title, std::int32_t tag,
                                                   Image image) {
    auto item = makeItem(std::move(title), [](iPodDevice& device, MenuItem& sender) {
        device.changeConnectionRoot(sender);
    });
    item->setTag(tag);
    item->setImage(std::move(image));
    return item;
}

void iPodDevice::selectRemembered(const std::shared_ptr<MenuItem>& item) {
    item->setState(true);
    last_selectMenuItem_ = item;
    submi_selectMenuItem_->setTitleIsName(item->titleIsName());
    submi_selectMenuItem_->setTitle(item->title());
}

void iPodDevice::updateChangeConnectionRootMenuItem() {
    auto& log = platform_.log;
    logLine(log, LogLevel::Info, "updateChangeConnectionRootMenuItem");
    const auto menu = std::make_shared<Menu>();
    submi_connectionRoot_->setSubmenu(menu);
    submi_selectMenuItem_->setImage(resource("Folder"));
    const auto session = iPhoneInterface();
    if (session && session->isJailbreaked()) {
        logLine(log, LogLevel::Info, "isJailbreaked");
        submi_selectMenuItem_->setTitle("Root");
    } else {
        submi_selectMenuItem_->setTitle("Media");
    }
    if (!session) {
        return;
    }
    addApplicationItems(*menu, *session);
    addFixedRootItems(*menu, *session);
    if (isLoadAppsIconBeforeStart_) {
        session->setupConnectionForRoot(selectedRootTag());
    }
}

void iPodDevice::addApplicationItems(Menu& menu, PodPhone& session) {
    const AppCatalogue applications = session.getUserAppBundlesArray(isOnlyShowFileSharingApp_);
    const bool loadsPictures = isLoadAppsIconBeforeStart_;
    std::optional<PictureTime> time;
    if (loadsPictures && !applications.empty()) {
        time.emplace(platform_.log, applications.size());
    }
    for (std::size_t index = 0; index < applications.size(); ++index) {
        const auto item = makeRootItem(titleOf(applications[index]),
                                       kRootTagApplication + static_cast<std::int32_t>(index),
                                       resource("AppStore"));
        item->setTitleIsName(true);
        if (loadsPictures) {
            auto picture =
                menuPicture(platform_, session.getImageBy(static_cast<std::int64_t>(index)));
            time->count(picture.has_value());
            if (picture) {
                item->setImage(std::move(picture));
            }
        }
        menu.addItem(item);
        if (session.lastMountTag() == item->tag() && isMountLastPoint_) {
            logLine(platform_.log, LogLevel::Info, "mount app:", index);
            item->setState(true);
            if (auto picture = getAppMenuItemIcon(*item)) {
                item->setImage(std::move(picture));
            }
            submi_selectMenuItem_->setImage(item->image());
            selectRemembered(item);
        }
    }
    if (!applications.empty()) {
        menu.addItem(MenuItem::separatorItem());
    }
}

// What is kept on purpose: Root and Media are selected again whatever the setting says, and a
// remembered Media is not on a device that offers Root.
void iPodDevice::addFixedRootItems(Menu& menu, const PodPhone& session) {
    auto& log = platform_.log;
    const auto media = makeRootItem("Media", kRootTagMedia, resource("Folder"));
    if (session.isJailbreaked()) {
        logLine(log, LogLevel::Info, "isJailbreaked");
        const auto root = makeRootItem("Root", kRootTagRoot, resource("Folder"));
        menu.addItem(root);
        if (session.lastMountTag() == kRootTagRoot) {
            logLine(log, LogLevel::Info, "kConnectionRoot_Root");
            selectRemembered(root);
        }
    } else if (session.lastMountTag() == kRootTagMedia) {
        logLine(log, LogLevel::Info, "kConnectionRoot_Media");
        selectRemembered(media);
    }
    menu.addItem(media);
}

std::optional<Image> iPodDevice::getAppMenuItemIcon(const MenuItem& item) const {
    const auto session = iPhoneInterface();
    if (item.tag() < kRootTagApplication || !session) {
        return std::nullopt;
    }
    const auto data = session->readDataOfFile(kApplicationPicturePath);
    return data ? menuPicture(platform_, platform_.images.imageWithData(*data)) : std::nullopt;
}

void iPodDevice::changeConnectionRoot(MenuItem& item) {
    auto& log = platform_.log;
    logLine(log, LogLevel::Info, "changeConnectionRoot:");
    const auto session = iPhoneInterface();
    if (!session || !session->setupConnectionForRoot(item.tag())) {
        failedRoot_ = item.title();
        logLine(log, LogLevel::Warning, "\"", item.title(), "\" of ", deviceName(),
                " could not be opened, and its volume has no connection now. To go on, choose a "
                "connection root again.");
        return;
    }
    failedRoot_.clear();
    const auto chosen = item.shared_from_this();
    if (last_selectMenuItem_) {
        last_selectMenuItem_->setState(false);
    }
    last_selectMenuItem_ = chosen;
    chosen->setState(true);
    submi_selectMenuItem_->setTitleIsName(chosen->titleIsName());
    submi_selectMenuItem_->setTitle(chosen->title());
    stopMount();
    if (!isLoadAppsIconBeforeStart_ && chosen->tag() >= kRootTagApplication) {
        if (auto picture = getAppMenuItemIcon(*chosen)) {
            chosen->setImage(std::move(picture));
        }
    }
    submi_selectMenuItem_->setImage(chosen->image());
    isUserChanged_ = true;
    startMount();
}

}  // namespace quillbox
