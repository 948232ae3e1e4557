// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/XTray.h"

#include <QGuiApplication>

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <string_view>

namespace quillbox::desktop {

namespace {

struct Free {
    void operator()(void* reply) const { std::free(reply); }  // NOLINT: the library mallocs it
};

xcb_connection_t* connection() {
    const auto* x = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x != nullptr ? x->connection() : nullptr;
}

xcb_atom_t atom(std::string_view name) {
    const auto cookie =
        ::xcb_intern_atom(connection(), 0, static_cast<std::uint16_t>(name.size()), name.data());
    const std::unique_ptr<xcb_intern_atom_reply_t, Free> reply(
        ::xcb_intern_atom_reply(connection(), cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

}  // namespace

bool XTray::isPossible() {
    return connection() != nullptr;
}

XTray::XTray(std::function<void()> changed) : changed_(std::move(changed)) {
    if (!isPossible()) {
        return;
    }
    selection_ = atom("_NET_SYSTEM_TRAY_S0");
    manager_ = atom("MANAGER");
    lookAgain_.setSingleShot(true);
    lookAgain_.setInterval(0);
    QObject::connect(&lookAgain_, &QTimer::timeout, &lookAgain_, [this] { look(); });
    qGuiApp->installNativeEventFilter(this);
    look();
}

XTray::~XTray() {
    if (qGuiApp != nullptr) {
        qGuiApp->removeNativeEventFilter(this);
    }
}

void XTray::look() {
    const std::unique_ptr<xcb_get_selection_owner_reply_t, Free> reply(
        ::xcb_get_selection_owner_reply(
            connection(), ::xcb_get_selection_owner(connection(), selection_), nullptr));
    const quint32 owner = reply ? reply->owner : quint32{XCB_WINDOW_NONE};
    if (owner == owner_) {
        return;
    }
    owner_ = owner;
    if (owner_ != 0) {
        // So that its end is told.
        const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
        ::xcb_change_window_attributes(connection(), owner_, XCB_CW_EVENT_MASK, &mask);
        ::xcb_flush(connection());
    }
    changed_();
}

bool XTray::nativeEventFilter(const QByteArray& /*kind*/, void* message, qintptr* /*result*/) {
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    switch (event->response_type & ~0x80U) {
    case XCB_CLIENT_MESSAGE: {
        const auto* told = reinterpret_cast<const xcb_client_message_event_t*>(event);
        if (told->type == manager_ && told->data.data32[1] == selection_) {
            lookAgain_.start();
        }
        break;
    }
    case XCB_DESTROY_NOTIFY:
        if (reinterpret_cast<const xcb_destroy_notify_event_t*>(event)->window == owner_) {
            lookAgain_.start();
        }
        break;
    default:
        break;
    }
    return false;
}

}  // namespace quillbox::desktop
