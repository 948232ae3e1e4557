// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Desktop/Picture.h"

#include <QByteArray>

#include <memory>

namespace quillbox::desktop {

/// Decodes a picture, held with at most `Imaging::kMostPixelsKept` pixels; null for what does not
/// decode within the limits that `Images` states. Any thread.
std::shared_ptr<const Picture> decodedPicture(const QByteArray& data);

}  // namespace quillbox::desktop
