// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace quillbox::host {

/// Catches the signals that end the program (SIGINT, SIGTERM, and SIGHUP unless it was ignored) and
/// passes each as one byte to every registered descriptor. One at a time in a process; the former
/// actions return at the end.
///
/// SIGPIPE is caught by a handler that does nothing: a broken pipe is an error of its write here,
/// and a program that we start finds the default again, since handlers do not survive exec.
class Signals {
public:
    Signals();
    ~Signals();
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

    /// From now on each ending signal is written to this non-blocking descriptor as one byte, its
    /// number. False when no more fit (four do).
    static bool addReceiver(int descriptor);
    static void removeReceiver(int descriptor);
};

}  // namespace quillbox::host
