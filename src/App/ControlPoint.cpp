// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/ControlPoint.h"

#include <utility>

namespace quillbox::app {

std::unique_ptr<ControlPoint> ControlPoint::open(const std::string& socketPath,
                                                 host::MainLoop& loop, std::function<void()> quit,
                                                 std::string* error) {
    auto point = std::make_unique<ControlPoint>();
    auto handler = [&loop, quit = std::move(quit), weak = std::weak_ptr(point->desk_)](
                       const control::Request& request, const control::VerbServer::Reply& reply) {
        if (request.verb == "quit") {
            // At once, whatever the main thread waits for; the answer is the end of the connection.
            quit();
            return;
        }
        auto task = [weak, request, reply] {
            const auto desk = weak.lock();
            if (desk && *desk) {
                (*desk)->perform(request, reply);
            } else {
                reply({control::kCouldNot, {}, "Quillbox is about to end"});
            }
        };
        if (control::VerbDesk::onlyLooks(request)) {
            loop.postLook(std::move(task));
        } else {
            loop.post(std::move(task));
        }
    };
    point->server_ = control::VerbServer::start(socketPath, std::move(handler), {}, error);
    return point->server_ ? std::move(point) : nullptr;
}

void ControlPoint::serve(control::ProgramControl* program) {
    *desk_ = program != nullptr ? std::make_unique<control::VerbDesk>(*program) : nullptr;
}

}  // namespace quillbox::app
