// SPDX-License-Identifier: GPL-3.0-or-later
#include "RequestKinds.h"

#include "Wire/AfcProtocol.h"

#include <algorithm>
#include <array>

namespace quillbox::simulator {
namespace {

using std::string_view;

constexpr std::array<string_view, 7> kMultiplexer{
    "ListDevices",    "Listen",         "Connect",         "ReadBUID",
    "ReadPairRecord", "SavePairRecord", "DeletePairRecord"};
constexpr std::array<string_view, 11> kLockdown{
    "QueryType", "GetValue",     "SetValue",    "RemoveValue",  "Pair",   "ValidatePair",
    "Unpair",    "StartSession", "StopSession", "StartService", "Goodbye"};
constexpr std::array<string_view, 2> kHouseArrest{"VendContainer", "VendDocuments"};
constexpr std::array<string_view, 2> kApplications{"Lookup", "Browse"};
constexpr std::array<string_view, 2> kHomeScreen{"getIconPNGData", "getIconState"};
constexpr std::array<string_view, 6> kServices{
    service::kLockdown,          service::kAfc,       service::kAfc2, service::kHouseArrest,
    service::kInstallationProxy, service::kHomeScreen};

}  // namespace

std::span<const string_view> requestNames(RequestGroup group) {
    switch (group) {
    case RequestGroup::Multiplexer:
        return kMultiplexer;
    case RequestGroup::Lockdown:
        return kLockdown;
    case RequestGroup::HouseArrest:
        return kHouseArrest;
    case RequestGroup::Applications:
        return kApplications;
    case RequestGroup::HomeScreen:
        return kHomeScreen;
    case RequestGroup::None:
    case RequestGroup::Afc:
        break;
    }
    return {};
}

RequestGroup requestGroup(string_view kind) {
    for (const RequestGroup group :
         {RequestGroup::Multiplexer, RequestGroup::Lockdown, RequestGroup::HouseArrest,
          RequestGroup::Applications, RequestGroup::HomeScreen}) {
        if (std::ranges::find(requestNames(group), kind) != requestNames(group).end()) {
            return group;
        }
    }
    return wire::afcRequestFromName(kind) ? RequestGroup::Afc : RequestGroup::None;
}

bool namesService(string_view name, string_view service) {
    if (name == service) {
        return true;
    }
    const std::size_t dot = service.rfind('.');
    return dot != string_view::npos && service.substr(dot + 1) == name;
}

bool isServiceName(string_view name) {
    return std::ranges::any_of(kServices,
                               [&](string_view service) { return namesService(name, service); });
}

}  // namespace quillbox::simulator
