// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Volume/FuseCaller.h"
#include "Linux/Volume/Served.h"

#include <optional>
#include <utility>

namespace quillbox::volume {

// How long the kernel may answer by itself, in seconds. The same files are changed by the device's
// own programs, and the kernel is not told of that; what programs change here it knows.
inline constexpr double kKeepsNothing = 0;
// What a look-up tells serves the question that it was made for.
inline constexpr double kKeepsMoment = 0.01;
// A folder on the way to what is asked for, and what a listing tells of its entries.
inline constexpr double kKeepsWay = 0.25;

inline Served& servedBy(fuse_req_t request) {
    return *static_cast<Served*>(::fuse_req_userdata(request));
}

// The one way from a callback to an operation and back. `reply` answers with the value and cannot
// fail; it returns false when the kernel did not take the answer, and `undo` then takes back what
// the kernel will never release.
template <typename Compute, typename Reply, typename Undo>
void answer(fuse_req_t request, Compute compute, Reply reply, Undo undo) noexcept {
    Served& served = servedBy(request);
    int error = EIO;
    decltype(compute(std::declval<Operations&>(), std::declval<Caller&>())) result = Failure{EIO};
    try {
        if (!served.queue.isClosed()) {
            FuseCaller caller(request);
            result = compute(served.operations, caller);
            // While the connection went away no refusal is worth anything: "gone" least of all.
            error = served.queue.isClosed() ? EIO : result.error();
        }
    } catch (...) {
        result = Failure{EIO};
    }
    if (!result) {
        ::fuse_reply_err(request, error);
        return;
    }
    if (reply(*result) == 0) {
        return;
    }
    try {
        undo(served.operations, *result);
    } catch (...) {
        return;  // the program is gone; there is nobody to tell
    }
}

template <typename Compute, typename Reply>
void answer(fuse_req_t request, Compute compute, Reply reply) noexcept {
    answer(request, std::move(compute), std::move(reply), [](Operations&, const auto&) {});
}

template <typename Compute>
void answerDone(fuse_req_t request, Compute compute) noexcept {
    answer(request, std::move(compute),
           [request](const Done&) { return ::fuse_reply_err(request, 0); });
}

inline fuse_entry_param parameters(const Operations& operations, const Entry& entry) {
    fuse_entry_param result = {};
    result.ino = entry.node;
    result.attr = entry.attributes;
    result.attr_timeout = operations.mayBeKept(entry) ? kKeepsMoment : kKeepsNothing;
    result.entry_timeout = S_ISDIR(entry.attributes.st_mode) ? kKeepsWay : kKeepsNothing;
    return result;
}

template <typename Compute>
void answerEntry(fuse_req_t request, Compute compute) noexcept {
    answer(
        request, std::move(compute),
        [request](const Entry& entry) {
            const fuse_entry_param answered = parameters(servedBy(request).operations, entry);
            return ::fuse_reply_entry(request, &answered);
        },
        [](Operations& operations, const Entry& entry) { operations.forget(entry.node, 1); });
}

inline std::optional<HandleId> handleOf(const fuse_file_info* file) {
    return file == nullptr ? std::nullopt : std::optional<HandleId>(file->fh);
}

}  // namespace quillbox::volume
