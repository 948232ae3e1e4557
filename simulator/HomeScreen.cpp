// SPDX-License-Identifier: GPL-3.0-or-later
#include "HomeScreen.h"

#include "Pictures.h"
#include "PropertyListService.h"

namespace quillbox::simulator {
namespace {

constexpr unsigned kIconSize = 60;

PropertyList picture(const Device& device, const std::string& identifier) {
    PropertyList answer = PropertyList::dictionary();
    const auto application = device.applications.find(identifier);
    if (application && application->homeScreenPicture) {
        answer.setData("pngData",
                       encodePng(applicationPicture(application->identifier, kIconSize)));
    }
    return answer;
}

/// One row of the dock, empty, and one page with all applications.
PropertyList layout(const Device& device) {
    PropertyList page = PropertyList::array();
    for (const Application& application : device.applications.all()) {
        PropertyList icon = PropertyList::dictionary();
        icon.setText("bundleIdentifier", application.identifier)
            .setText("displayIdentifier", application.identifier)
            .setText("displayName", application.displayName.value_or(application.identifier));
        page.append(std::move(icon));
    }
    PropertyList state = PropertyList::array();
    state.append(PropertyList::array()).append(std::move(page));
    return state;
}

}  // namespace

void serveHomeScreen(ServiceContext& context) {
    while (const auto request = readRequest(context, "command")) {
        const auto& [content, command, verdict] = *request;
        PropertyList answer = PropertyList::dictionary();
        if (verdict.kind == Verdict::Kind::Fail) {
            answer.setText("Error", verdict.status);
        } else if (command == "getIconPNGData") {
            answer = picture(context.device, content.textAt("bundleId").value_or(""));
        } else if (command == "getIconState") {
            answer = layout(context.device);
        } else {
            answer.setText("Error", "UnknownCommand");
        }
        if (!writeAnswer(context.stream, answer, verdict)) {
            return;
        }
    }
}

}  // namespace quillbox::simulator
