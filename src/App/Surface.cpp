// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/Surface.h"

#include "Linux/Host/AutostartEntries.h"

#include <vector>

namespace quillbox::app {

DesktopSurface::DesktopSurface(host::MainLoop& loop, Log& log, const Bundle& bundle,
                               const std::string& volumesFolder)
    : loop_(loop),
      desktop_(loop, log, bundle, host::AutostartEntries::kApplicationId, volumesFolder,
               [&loop] { loop.quit(); }) {
    loop_.setSleeper(
        [this](const std::vector<int>& descriptors, host::MainLoop::Clock::time_point deadline) {
            desktop_.serve(descriptors, deadline);
        });
}

DesktopSurface::~DesktopSurface() {
    loop_.setSleeper({});
}

}  // namespace quillbox::app
