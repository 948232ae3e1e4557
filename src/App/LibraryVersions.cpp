// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/LibraryVersions.h"

#include <dlfcn.h>

#include <array>
#include <string>

namespace quillbox::app {

namespace {

struct Library {
    const char* name;
    const char* function;  ///< tells the version; not in every release of the library
    const char* builtWith;
};

constexpr std::array kLibraries{
    Library{"libimobiledevice", "libimobiledevice_version", QUILLBOX_BUILT_WITH_IMOBILEDEVICE},
    Library{"libusbmuxd", "libusbmuxd_version", QUILLBOX_BUILT_WITH_USBMUXD},
    Library{"libplist", "libplist_version", QUILLBOX_BUILT_WITH_PLIST},
    Library{"libfuse", "fuse_pkgversion", QUILLBOX_BUILT_WITH_FUSE3},
};

}  // namespace

std::vector<control::Finding> libraryFindings() {
    std::string text;
    for (const auto& each : kLibraries) {
        text += text.empty() ? "" : ", ";
        // By name: an older release lacks the function and must do as well.
        void* found = ::dlsym(RTLD_DEFAULT, each.function);
        if (found != nullptr) {
            text += std::string(each.name) + " " + reinterpret_cast<const char* (*)()>(found)();
        } else {
            text += std::string(each.name) + " (built with " + each.builtWith + ")";
        }
    }
    return {{control::Finding::Kind::Good, "Libraries", text, {}}};
}

}  // namespace quillbox::app
