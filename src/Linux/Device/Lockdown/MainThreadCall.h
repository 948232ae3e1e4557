// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Device/Lockdown/Device.h"
#include "Linux/Device/Lockdown/Workers.h"

#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

namespace quillbox::device {

/// Runs work that waits on a device. On the main thread: on a worker, while the main thread goes on
/// serving its loop; nothing is answered where that wait is ended first, and the work ends by
/// itself later. On any other thread: here and now. The work must own everything it touches.
template <typename Work>
auto callOffMainThread(Workers& workers, const std::shared_ptr<Device>& device, Work work)
    -> std::optional<std::invoke_result_t<Work>> {
    using Result = std::invoke_result_t<Work>;
    if (!device->platform().isMainThread()) {
        return work();
    }

    struct Call {
        std::shared_ptr<Completion> completion = std::make_shared<Completion>();
        std::optional<Result> result;
    };

    auto call = std::make_shared<Call>();
    workers.post([call, device, work = std::move(work)]() mutable {
        call->result.emplace(work());
        device->platform().finish(call->completion);
    });
    if (!device->platform().wait(call->completion, device->record,
                                 "waiting for " + device->name())) {
        return std::nullopt;
    }
    return std::move(call->result);
}

}  // namespace quillbox::device
