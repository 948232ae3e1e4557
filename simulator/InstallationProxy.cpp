// SPDX-License-Identifier: GPL-3.0-or-later
#include "InstallationProxy.h"

#include "PropertyListService.h"

#include <algorithm>

namespace quillbox::simulator {
namespace {

/// Applications in one piece of a Browse answer.
constexpr std::size_t kPiece = 3;

struct Listed {
    std::string identifier;
    PropertyList attributes;
};

std::vector<Listed> select(const Applications& applications, const PropertyList& request) {
    const PropertyList options =
        request.value("ClientOptions").value_or(PropertyList::dictionary());
    const auto type = options.textAt("ApplicationType");
    const auto wanted = options.textsAt("BundleIDs");
    const auto returned = options.textsAt("ReturnAttributes");
    std::vector<Listed> selected;
    for (const Application& application : applications.all()) {
        const bool typeFits = !type || *type == "Any" || *type == application.type;
        const bool isWanted =
            !wanted || std::ranges::find(*wanted, application.identifier) != wanted->end();
        if (!typeFits || !isWanted) {
            continue;
        }
        PropertyList attributes =
            application.attributes(applications.container(application.identifier));
        if (returned) {
            for (const std::string& key : attributes.keys()) {
                if (std::ranges::find(*returned, key) == returned->end()) {
                    attributes.remove(key);
                }
            }
        }
        selected.push_back({application.identifier, std::move(attributes)});
    }
    return selected;
}

bool answerLookup(Stream& stream, std::vector<Listed> listed, const Verdict& verdict) {
    PropertyList result = PropertyList::dictionary();
    for (Listed& application : listed) {
        result.set(application.identifier, std::move(application.attributes));
    }
    PropertyList answer = PropertyList::dictionary();
    answer.set("LookupResult", std::move(result)).setText("Status", "Complete");
    return writeAnswer(stream, answer, verdict);
}

bool answerBrowse(Stream& stream, std::vector<Listed> listed, const Verdict& verdict) {
    for (std::size_t index = 0; index < listed.size(); index += kPiece) {
        const std::size_t amount = std::min(kPiece, listed.size() - index);
        PropertyList current = PropertyList::array();
        for (std::size_t i = index; i < index + amount; ++i) {
            current.append(std::move(listed[i].attributes));
        }
        PropertyList piece = PropertyList::dictionary();
        piece.setText("Status", "BrowsingApplications")
            .setNumber("Total", listed.size())
            .setNumber("CurrentIndex", index)
            .setNumber("CurrentAmount", amount)
            .set("CurrentList", std::move(current));
        if (!writeAnswer(stream, piece, verdict)) {
            return false;
        }
    }
    return writeAnswer(stream, PropertyList::dictionary().setText("Status", "Complete"), verdict);
}

}  // namespace

void serveInstallationProxy(ServiceContext& context) {
    while (const auto request = readRequest(context)) {
        const auto& [content, command, verdict] = *request;
        bool goOn = false;
        if (verdict.kind == Verdict::Kind::Fail) {
            goOn = writePropertyList(context.stream,
                                     PropertyList::dictionary().setText("Error", verdict.status));
        } else if (command == "Lookup") {
            goOn =
                answerLookup(context.stream, select(context.device.applications, content), verdict);
        } else if (command == "Browse") {
            goOn =
                answerBrowse(context.stream, select(context.device.applications, content), verdict);
        } else {
            goOn = writePropertyList(context.stream,
                                     PropertyList::dictionary().setText("Error", "UnknownCommand"));
        }
        if (!goOn) {
            return;
        }
    }
}

}  // namespace quillbox::simulator
