// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/DeviceControl.h"

#include "App/DeviceFacts.h"
#include "App/DeviceSurvey.h"
#include "Core/Platform/UserFileSystem.h"
#include "Core/Session/PodPhone.h"
#include "Core/Volumes/CommonData.h"
#include "Core/Volumes/NotificationNames.h"
#include "Core/Volumes/iPodDevice.h"

#include <algorithm>
#include <utility>

namespace quillbox::app {

namespace {

constexpr const char* kHasLeft = "the device has left";

bool isOffered(const std::shared_ptr<MenuItem>& item) {
    return item && item->isEnabled();
}

/// The catalogue's identifier and name of an application's root, else empty texts.
std::pair<std::string, std::string> application(const PodPhone& session, std::int32_t tag) {
    const auto catalogue = session.fileShareAppBundlesArray();
    const auto index = static_cast<std::size_t>(tag - kRootTagApplication);
    if (tag < kRootTagApplication || !catalogue || index >= catalogue->size()) {
        return {};
    }
    const auto text = [&](std::string_view key) {
        const auto* value = quillbox::find((*catalogue)[index], key);
        return value != nullptr && value->string() != nullptr ? *value->string() : std::string();
    };
    const std::string identifier = text("ID");
    const std::string name = text("name");
    return {identifier, name.empty() ? identifier : name};
}

std::pair<std::string, std::string> rootWords(const PodPhone& session, std::int32_t tag) {
    switch (tag) {
    case kRootTagRoot:
        return {"Root", "Root"};
    case kRootTagMedia:
        return {"Media", "Media"};
    default:
        return application(session, tag);
    }
}

const std::vector<std::shared_ptr<MenuItem>>& rootItems(const iPodDevice& device) {
    static const std::vector<std::shared_ptr<MenuItem>> none;
    const auto& item = device.submi_connectionRoot();
    return item && item->submenu() ? item->submenu()->items() : none;
}

/// The device of the core's collection that stands for an attached one.
std::shared_ptr<iPodDevice> announced(AMDeviceRef device) {
    for (const auto& each : CommonData::sharedInstance().connectedDevices()) {
        if (each->iPhoneInterface()->myDevice() == device) {
            return each;
        }
    }
    return nullptr;
}

}  // namespace

DeviceControl::DeviceControl(RunLoop& loop, NotificationCenter& notifications,
                             const DeviceLibrary& library,
                             std::shared_ptr<const MountedPaths> mounted,
                             std::vector<std::string> startOptions)
    : loop_(loop),
      notifications_(notifications),
      library_(library),
      mounted_(std::move(mounted)),
      startOptions_(std::move(startOptions)) {
    for (const auto name : {kGMUserFileSystemDidMount, kGMUserFileSystemDidUnmount,
                            attachedDeviceRemovedFromCollection}) {
        notifications_.addObserver(this, name,
                                   [this](const Notification& /*notification*/) { checkSoon(); });
    }
    notifications_.addObserver(this, kGMUserFileSystemMountFailed,
                               [this](const Notification& each) { mountFailed(each); });
}

DeviceControl::~DeviceControl() {
    notifications_.removeObserver(this);
}

std::vector<control::DeviceView> DeviceControl::devices() {
    std::vector<control::DeviceView> views;
    for (const auto& attached : library_.attached()) {
        auto view = viewOf(attached);
        if (const auto device = announced(attached.device)) {
            view.mountPoint = mounted_->pathOf(device->gmUserFileSys());
            view.isMounted = !view.mountPoint.empty();
            const auto& session = *device->iPhoneInterface();
            std::tie(view.root, view.rootName) = rootWords(session, session.currentRootTag());
            view.mayMount = isOffered(device->submi_startMount());
            view.mayUnmount = isOffered(device->submi_stopMount());
            view.mayReveal = isOffered(device->submi_revealInFinder());
            view.mayShowInfo = isOffered(device->submi_aboutThisDevice());
            view.mayChangeRoot = isOffered(device->submi_connectionRoot());
        }
        views.push_back(std::move(view));
    }
    return views;
}

std::shared_ptr<iPodDevice> DeviceControl::find(const std::string& uniqueDeviceID) const {
    for (const auto& each : library_.attached()) {
        if (each.uniqueDeviceID == uniqueDeviceID) {
            return announced(each.device);
        }
    }
    return nullptr;
}

void DeviceControl::mount(const std::string& device, Done done) {
    if (const auto found = find(device)) {
        // Before the item is chosen: a refusal may come at once.
        await(found, true, std::move(done));
        found->submi_startMount()->perform();
    } else {
        done(kHasLeft);
    }
}

void DeviceControl::unmount(const std::string& device, Done done) {
    if (const auto found = find(device)) {
        found->submi_stopMount()->perform();
        await(found, false, std::move(done));
    } else {
        done(kHasLeft);
    }
}

std::vector<control::RootView> DeviceControl::roots(const std::string& device) {
    std::vector<control::RootView> roots;
    if (const auto found = find(device)) {
        const auto& session = *found->iPhoneInterface();
        for (const auto& item : rootItems(*found)) {
            const auto identifier = rootWords(session, item->tag()).first;
            if (!item->isSeparator() && !identifier.empty()) {
                roots.push_back({item->tag(), identifier, item->title(),
                                 item->state() && session.currentRootTag() == item->tag()});
            }
        }
    }
    return roots;
}

void DeviceControl::changeRoot(const std::string& device, std::int32_t tag, Done done) {
    const auto found = find(device);
    if (!found) {
        done(kHasLeft);
        return;
    }
    for (const auto& item : std::vector(rootItems(*found))) {
        if (item->tag() != tag) {
            continue;
        }
        item->perform();
        // The menu marks a root once it is open.
        if (item->state() && found->iPhoneInterface()->currentRootTag() == tag) {
            await(found, true, std::move(done));
        } else {
            done("the root " + item->title() +
                 " cannot be opened; the volume stays empty until a root is chosen that can");
        }
        return;
    }
    done("the menu does not offer this root any more");
}

std::vector<control::DeviceFact> DeviceControl::information(const std::string& device) {
    const auto found = find(device);
    return found ? factsAbout(*found) : std::vector<control::DeviceFact>();
}

void DeviceControl::reveal(const std::string& device) {
    if (const auto found = find(device)) {
        found->submi_revealInFinder()->perform();
    }
}

bool DeviceControl::raise() {
    if (raise_) {
        raise_();
    }
    return static_cast<bool>(raise_);
}

void DeviceControl::await(const std::shared_ptr<iPodDevice>& device, bool isMounted, Done done) {
    wishes_.push_back({device, isMounted, std::move(done)});
    checkSoon();
}

void DeviceControl::mountFailed(const Notification& notification) {
    const auto error = notification.userInfo.find(std::string(kGMUserFileSystemErrorKey));
    std::string problem = "it could not be mounted";
    if (error != notification.userInfo.end()) {
        problem += ": " + error->second.localizedDescription;
    }
    std::list<Wish> failed;
    for (auto each = wishes_.begin(); each != wishes_.end();) {
        const auto next = std::next(each);
        const auto device = each->device.lock();
        if (each->isMounted && device && device->gmUserFileSys() == notification.object) {
            failed.splice(failed.end(), wishes_, each);
        }
        each = next;
    }
    for (const auto& each : failed) {
        each.done(problem);
    }
}

// After the core and the journal have heard the notice too.
void DeviceControl::checkSoon() {
    loop_.post([weak = std::weak_ptr(self_)] {
        if (const auto self = weak.lock()) {
            (*self)->check();
        }
    });
}

void DeviceControl::check() {
    const auto connected = CommonData::sharedInstance().connectedDevices();
    std::list<Wish> decided;
    for (auto each = wishes_.begin(); each != wishes_.end();) {
        const auto next = std::next(each);
        const auto device = each->device.lock();
        const bool hasLeft =
            std::find(connected.begin(), connected.end(), device) == connected.end();
        if (!device || hasLeft || isMounted(*device) == each->isMounted) {
            decided.splice(decided.end(), wishes_, each);
        }
        each = next;
    }
    for (const auto& each : decided) {
        const auto device = each.device.lock();
        const bool isThere =
            device && std::find(connected.begin(), connected.end(), device) != connected.end();
        // A device that left is unmounted, and mounted it will never be.
        each.done(isThere || !each.isMounted ? std::nullopt : std::optional<std::string>(kHasLeft));
    }
}

bool DeviceControl::isMounted(const iPodDevice& device) const {
    return !mounted_->pathOf(device.gmUserFileSys()).empty();
}

}  // namespace quillbox::app
