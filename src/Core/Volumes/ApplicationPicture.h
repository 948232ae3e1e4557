// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace quillbox {

/// Where an application's picture lies on a connection that serves the application's area.
inline constexpr const char* kApplicationPicturePath = "/iTunesArtwork";

}  // namespace quillbox
