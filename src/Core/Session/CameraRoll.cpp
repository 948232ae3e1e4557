// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Session/PodPhone.h"

namespace quillbox {

bool PodPhone::createThumbnailForDCIM(const std::string& /*path*/) {
    return false;
}

}  // namespace quillbox
