// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/Display.h"

#include <QDir>
#include <QLibraryInfo>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#include <string_view>

namespace quillbox::desktop {

namespace {

std::string fromEnvironment(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

bool xServerAnswers() {
    xcb_connection_t* connection = ::xcb_connect(nullptr, nullptr);
    const bool answers = ::xcb_connection_has_error(connection) == 0;
    ::xcb_disconnect(connection);
    return answers;
}

bool waylandAnswers(const std::string& display) {
    const std::string path =
        display.starts_with('/') ? display : fromEnvironment("XDG_RUNTIME_DIR") + "/" + display;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) {
        return false;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    const int link = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool answers =
        ::connect(link, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    ::close(link);
    return answers;
}

bool hasPlatform(std::string_view name) {
    const QDir folder(QLibraryInfo::path(QLibraryInfo::PluginsPath) + QStringLiteral("/platforms"));
    const auto pattern = QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()));
    return !folder.entryList({QStringLiteral("libq%1*.so").arg(pattern)}, QDir::Files).isEmpty();
}

}  // namespace

std::optional<std::string> whyNoDisplay() {
    const std::string platform = fromEnvironment("QT_QPA_PLATFORM");
    const std::string wayland = fromEnvironment("WAYLAND_DISPLAY");
    const bool isX = platform.empty() || platform.starts_with("xcb");
    const bool isWayland = platform.empty() || platform.starts_with("wayland");
    if (!isX && !isWayland) {
        return std::nullopt;  // a platform that needs no server, by the user's own choice
    }
    const std::string x = fromEnvironment("DISPLAY");
    if (isX && !x.empty() && hasPlatform("xcb") && xServerAnswers()) {
        return std::nullopt;
    }
    if (isWayland && !wayland.empty() && hasPlatform("wayland") && waylandAnswers(wayland)) {
        return std::nullopt;
    }
    if (x.empty() && wayland.empty()) {
        return "There is no display here (neither DISPLAY nor WAYLAND_DISPLAY is set): start it "
               "on a desktop, or with --headless.";
    }
    return "The display " + (x.empty() ? wayland : x) +
           " cannot be used: start it on a desktop, or with --headless.";
}

}  // namespace quillbox::desktop
