// SPDX-License-Identifier: GPL-3.0-or-later
#include "HouseArrest.h"

#include "AfcService.h"
#include "PropertyListService.h"

namespace quillbox::simulator {
namespace {

/// Why the device does not vend; empty when it does.
std::string refusal(const Device& device, const std::string& command,
                    const std::optional<Application>& application) {
    if (!application || application->type != "User") {
        return "ApplicationLookupFailed";
    }
    if (command == "VendContainer") {
        const bool refused = device.description().refuseContainers && !application->developerSigned;
        return refused ? "InstallationLookupFailed" : "";
    }
    return application->fileSharing.value_or(false) ? "" : "InstallationLookupFailed";
}

}  // namespace

void serveHouseArrest(ServiceContext& context) {
    while (const auto request = readRequest(context)) {
        const auto& [content, command, verdict] = *request;
        const std::string identifier = content.textAt("Identifier").value_or("");
        std::string error;
        if (verdict.kind == Verdict::Kind::Fail) {
            error = verdict.status;
        } else if (requestGroup(command) != RequestGroup::HouseArrest) {
            error = "UnknownCommand";
        } else {
            error = refusal(context.device, command, context.device.applications.find(identifier));
        }
        PropertyList answer = PropertyList::dictionary();
        if (error.empty()) {
            answer.setText("Status", "Complete");
        } else {
            answer.setText("Error", error);
        }
        if (!writeAnswer(context.stream, answer, verdict)) {
            return;
        }
        if (error.empty()) {
            AfcArea area{context.device.applications.container(identifier), {}, {}};
            if (command == "VendDocuments") {
                area.onlyBelow = "/Documents";
            }
            serveAfc(context, std::move(area), true);
            return;
        }
    }
}

}  // namespace quillbox::simulator
