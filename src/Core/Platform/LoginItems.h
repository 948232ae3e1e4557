// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

namespace quillbox {

/// One program that the user's desktop starts at login.
struct LoginItem {
    std::string identifier;  ///< tells this entry from every other; for the adapter alone
    std::string path;  ///< the program that the entry starts, an absolute path where it has one
};

/// The user's login items, in order. Main thread. Reads what is on disk at each call.
class LoginItems {
public:
    virtual ~LoginItems() = default;

    virtual std::vector<LoginItem> snapshot() = 0;
    /// Adds an entry at the end that starts this program; false when it could not be written.
    virtual bool insertLast(const std::string& path) = 0;
    virtual void remove(const LoginItem& item) = 0;
};

}  // namespace quillbox
