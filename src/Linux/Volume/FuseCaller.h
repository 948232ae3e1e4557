// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#define FUSE_USE_VERSION 312

#include "Linux/Volume/DelegateQueue.h"

#include <functional>
#include <fuse_lowlevel.h>

namespace quillbox::volume {

/// The program behind a kernel request. Lives no longer than the request is unanswered.
class FuseCaller final : public Caller {
public:
    explicit FuseCaller(fuse_req_t request) : request_(request) {}

    void whenSignalled(std::function<void()> signalled) override;
    bool isKilled() const override;

private:
    const fuse_req_t request_;
    std::function<void()> signalled_;
};

}  // namespace quillbox::volume
