// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/UserFileSystem.h"
#include "Core/Platform/VolumeBacking.h"

#include <functional>
#include <memory>

namespace quillbox::volume {

/// Makes the backing of a volume when it is mounted, on the main thread; it belongs to the volume
/// and goes with it. A mount fails where it is null.
using BackingFactory =
    std::function<std::unique_ptr<VolumeBacking>(std::weak_ptr<GMUserFileSystemDelegate> delegate)>;

}  // namespace quillbox::volume
