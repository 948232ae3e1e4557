// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace quillbox::device {

/// To be called before a question to the multiplexer library: its first question fills a variable
/// of the library without a lock, so that one is asked alone. Any thread; blocks for as long as the
/// library gives the multiplexer (5 seconds) until one question was answered, later not at all.
void startLibrary();

}  // namespace quillbox::device
