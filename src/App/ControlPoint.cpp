// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/ControlPoint.h"

#include <utility>

namespace quillbox::app {

std::unique_ptr<ControlPoint> ControlPoint::open(const std::string& socketPath, RunLoop& loop,
                                                 std::function<void()> quit, std::string* error) {
    auto point = std::make_unique<ControlPoint>();
    auto handler = [&loop, quit = std::move(quit), weak = std::weak_ptr(point->desk_)](
                       const control::Request& request, const control::VerbServer::Reply& reply) {
        if (request.verb == "quit") {
            // At once, whatever the main thread waits for; the answer is the end of the connection.
            quit();
            return;
        }
        loop.post([weak, request, reply] {
            const auto desk = weak.lock();
            if (desk && *desk) {
                (*desk)->perform(request, reply);
            } else {
                reply({control::kCouldNot, {}, "Quillbox is about to end"});
            }
        });
    };
    point->server_ = control::VerbServer::start(socketPath, std::move(handler), {}, error);
    return point->server_ ? std::move(point) : nullptr;
}

void ControlPoint::serve(control::ProgramControl* program) {
    *desk_ = program != nullptr ? std::make_unique<control::VerbDesk>(*program) : nullptr;
}

}  // namespace quillbox::app
