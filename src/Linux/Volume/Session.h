// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Volume/RequestLoop.h"
#include "Linux/Volume/Served.h"

#include <memory>
#include <string>

namespace quillbox::volume {

/// One connection to the kernel: made, mounted, served, ended. Everything but `stop` on one thread.
class Session {
public:
    /// `served` answers, and must outlive the session. The option text is that of
    /// `fuseOptionText`.
    Session(const std::string& optionText, Served& served);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Shows the volume at a folder: 0 or an errno number.
    int mount(const std::string& path);
    /// Serves until the volume is unmounted and everything on it closed, or `stop`.
    void run();

    /// Ends `run` without the kernel's leave, once the requests in hand are answered, and the
    /// connection at once: programs that wait for it get an error. Any thread, after `mount`.
    void abort();

private:
    struct Closer {
        void operator()(fuse_session* session) const { ::fuse_session_destroy(session); }
    };

    void letGo();

    std::unique_ptr<fuse_session, Closer> session_;
    std::unique_ptr<RequestLoop> loop_;
    bool isMounted_ = false;
};

}  // namespace quillbox::volume
