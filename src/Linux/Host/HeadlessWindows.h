// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/InterfaceFile.h"
#include "Core/Platform/Log.h"

namespace quillbox::host {

/// Windows where there is no display: controls that keep what they are given, windows that are
/// never on the screen. Alerts are log lines and end at once with their default button. There are
/// no files behind it, so every name is known.
class HeadlessWindows final : public InterfaceFiles {
public:
    explicit HeadlessWindows(Log& log) : log_(log) {}

    std::unique_ptr<InterfaceFile> loadNibNamed(std::string_view name) override;

private:
    Log& log_;
};

}  // namespace quillbox::host
