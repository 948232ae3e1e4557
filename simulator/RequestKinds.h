// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>
#include <string_view>

/// The names under which requests are counted, failed and stalled. File service requests have the
/// short names of Wire/AfcProtocol.h, all others the names that travel in the request.
namespace quillbox::simulator {

/// Which protocol a request belongs to.
enum class RequestGroup { None, Multiplexer, Lockdown, Afc, HouseArrest, Applications, HomeScreen };

/// Stands for every request of the file service.
inline constexpr std::string_view kAnyAfcRequest = "any";
/// What requests of no known name are counted as.
inline constexpr std::string_view kUnknownRequest = "unknown";

/// The group of a request's name; None for a name that is not known.
[[nodiscard]] RequestGroup requestGroup(std::string_view kind);

/// The names of the requests that are not of the file service.
[[nodiscard]] std::span<const std::string_view> requestNames(RequestGroup group);

/// Whether the name of a service as it is started ("com.apple.afc") is meant by `name`: all of it,
/// or what follows its last dot.
[[nodiscard]] bool namesService(std::string_view name, std::string_view service);

/// Whether a service of that name exists here at all.
[[nodiscard]] bool isServiceName(std::string_view name);

namespace service {
inline constexpr std::string_view kLockdown = "com.apple.mobile.lockdown";
inline constexpr std::string_view kAfc = "com.apple.afc";
inline constexpr std::string_view kAfc2 = "com.apple.afc2";
inline constexpr std::string_view kHouseArrest = "com.apple.mobile.house_arrest";
inline constexpr std::string_view kInstallationProxy = "com.apple.mobile.installation_proxy";
inline constexpr std::string_view kHomeScreen = "com.apple.springboardservices";
}  // namespace service

}  // namespace quillbox::simulator
