// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace quillbox {

class Preferences;

/// Whether pictures that are copied into the camera roll get the device's own names. Read from the
/// store at each call, so that a change holds from the next closed file on. Any thread.
bool isChangeNameOnCopyImages2DCIM(const Preferences& preferences);

}  // namespace quillbox
