// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <utility>

namespace quillbox::desktop {

/// An object that its parent, or a layout or list that it is given to, owns from the start.
template <typename T, typename... Arguments>
T* makeOwned(Arguments&&... arguments) {
    return std::make_unique<T>(std::forward<Arguments>(arguments)...).release();
}

}  // namespace quillbox::desktop
