// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Device/Files/AfcClient.h"

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>

namespace quillbox::device {

/// The directories that one connection has just made: they hold nothing but what this connection
/// puts into them, so that a question after anything else needs no device. That is believed for
/// half a second, and for another one where a listing that was asked for meanwhile confirms it. One
/// thread at a time.
class NewFolders {
public:
    using Clock = std::chrono::steady_clock;

    /// `path` was made and was not there before, at `made` at the earliest.
    void wasMade(const std::string& path, Clock::time_point made);
    /// Something may be made at `path`, by this connection.
    void appears(const std::string& path);
    /// `path` may lead to something else from now on, and everything below it.
    void changes(const std::string& path);
    /// Whether nothing can be at `path`. Puts down the question that confirms it, now and then.
    bool isAbsent(AfcClient& client, const std::string& path);

private:
    struct Folder {
        std::unordered_set<std::string> names;  ///< in small letters
        Clock::time_point confirmed;
        std::shared_ptr<AfcAnswer> check;  ///< a listing that is on its way
        Clock::time_point checkAsked;
    };

    static bool holds(const Folder& folder, const std::shared_ptr<AfcAnswer>& listing);
    static bool confirm(Folder& folder, Clock::time_point now);

    std::map<std::string, Folder, std::less<>> folders_;
};

}  // namespace quillbox::device
