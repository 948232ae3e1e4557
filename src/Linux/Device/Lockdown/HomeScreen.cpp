// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Lockdown/HomeScreen.h"

#include "Linux/Device/Streams/PropertyListChannel.h"
#include "Linux/Device/Streams/PropertyLists.h"

namespace quillbox::device {

Failure readHomeScreenPicture(Device& device, const std::string& bundleIdentifier,
                              wire::Bytes& picture) {
    std::unique_ptr<ServiceConnection> connection;
    if (Failure failure = device.lockdown().openService("com.apple.springboardservices",
                                                        device.options().noProgress, connection)) {
        return failure;
    }
    std::string error;
    const auto answer =
        askPropertyList(connection->stream(),
                        {{"command", "getIconPNGData"}, {"bundleId", bundleIdentifier}}, error);
    if (!answer) {
        return {FailureKind::NoAnswer, error};
    }
    if (const PropertyValue* value = find(*answer, "pngData")) {
        if (const auto* data = value->get<PropertyData>()) {
            const auto view = std::as_bytes(std::span{*data});
            picture.assign(view.begin(), view.end());
        }
    }
    return {};
}

}  // namespace quillbox::device
