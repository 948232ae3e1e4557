// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/InstanceKey.h"

#include "Linux/Host/PreferenceFile.h"

#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

namespace quillbox::app {

namespace {

constexpr const char* kUsualMultiplexer = "/var/run/usbmuxd";
constexpr std::string_view kUnix = "UNIX:";

}  // namespace

bool environmentNamesMultiplexer() {
    const char* address = std::getenv(kMultiplexerVariable);
    return address != nullptr && *address != '\0';
}

control::InstanceKey instanceKey(const Options& options) {
    const std::string address =
        environmentNamesMultiplexer() ? std::getenv(kMultiplexerVariable) : kUsualMultiplexer;
    return {address.starts_with(kUnix) ? address.substr(kUnix.size()) : address,
            std::filesystem::absolute(options.preferences.value_or(host::defaultPreferencePath()))
                .lexically_normal()};
}

std::vector<control::Instance> fittingInstances(const Options& options,
                                                const std::string& runtimeFolder) {
    return control::choose(control::runningInstances(runtimeFolder),
                           {environmentNamesMultiplexer(), options.preferences.has_value(),
                            options.simulate, instanceKey(options)});
}

}  // namespace quillbox::app
