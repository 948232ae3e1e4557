// SPDX-License-Identifier: GPL-3.0-or-later
#include "Multiplexer.h"

#include "UnixSocket.h"

#include <sys/socket.h>

#include <algorithm>

namespace quillbox::simulator {
namespace {

PropertyList event(const char* type, std::uint64_t number) {
    return PropertyList::dictionary().setText("MessageType", type).setNumber("DeviceID", number);
}

}  // namespace

Multiplexer::Multiplexer(Environment& environment, TaskGroup& tasks, std::filesystem::path socket,
                         std::string systemBuid)
    : environment_{environment},
      tasks_{tasks},
      socketPath_{std::move(socket)},
      systemBuid_{std::move(systemBuid)} {}

Multiplexer::~Multiplexer() {
    stop(false);
}

void Multiplexer::start(std::chrono::milliseconds empty) {
    {
        const std::scoped_lock lock{mutex_};
        if (state_ != State::Stopped) {
            return;
        }
    }
    UniqueFd listener = listenOn(socketPath_);
    std::uint64_t generation = 0;
    {
        const std::scoped_lock lock{mutex_};
        state_ = State::Running;
        generation = ++generation_;
        nextNumber_ = 1;
        listener_ = listener.get();
    }
    if (empty.count() == 0) {
        announceAll(empty, generation);
    } else {
        tasks_.spawn([this, empty, generation] { announceAll(empty, generation); });
    }
    tasks_.spawn([this, held = std::make_shared<UniqueFd>(std::move(listener))] {
        acceptClients(std::move(*held));
    });
}

void Multiplexer::announceAll(std::chrono::milliseconds pause, std::uint64_t generation) {
    std::unique_lock lock{mutex_};
    changed_.wait_for(lock, pause, [&] { return generation_ != generation; });
    if (generation_ != generation) {
        return;
    }
    for (Plug& plug : plugs_) {
        if (plug.number == 0) {
            plug.number = nextNumber_++;
            plug.announced = true;
            broadcast(attachedMessage(plug));
        }
    }
}

void Multiplexer::stop(bool leaveSocket) {
    hang(false);
    std::vector<HeldEnd> ends;
    {
        const std::scoped_lock lock{mutex_};
        if (state_ == State::Stopped) {
            return;
        }
        state_ = State::Stopped;
        ++generation_;
        if (!leaveSocket) {
            ::unlink(socketPath_.c_str());
        }
        if (listener_ >= 0) {
            ::shutdown(listener_, SHUT_RDWR);
        }
        for (Client* client : clients_) {
            ::shutdown(client->socket, SHUT_RDWR);
            client->channel.close();
        }
        for (Plug& plug : plugs_) {
            ends.push_back({plug.device, plug.number});
            plug.number = 0;
            plug.announced = false;
        }
    }
    changed_.notify_all();
    for (const HeldEnd& end : ends) {
        end.device->endLinks(end.number);
    }
}

void Multiplexer::hang(bool on) {
    std::vector<HeldEnd> ends;
    {
        const std::scoped_lock lock{mutex_};
        if (state_ != (on ? State::Running : State::Hung)) {
            return;
        }
        state_ = on ? State::Hung : State::Running;
        for (const Plug& plug : plugs_) {
            plug.device->link->hold(LinkConditions::HeldByMultiplexer, on);
            plug.device->wakeLinks();
        }
        if (!on) {
            ends.swap(heldEnds_);
            for (const HeldEnd& end : ends) {
                end.device->link->hold(LinkConditions::HeldByMultiplexer, false);
            }
        }
    }
    for (const HeldEnd& end : ends) {
        end.device->endLinks(end.number);
    }
    if (!on) {
        const std::scoped_lock lock{mutex_};
        for (const wire::Bytes& message : std::exchange(unsent_, {})) {
            sendToListeners(message);
        }
    }
    changed_.notify_all();
}

Multiplexer::State Multiplexer::state() const {
    const std::scoped_lock lock{mutex_};
    return state_;
}

Multiplexer::Plug* Multiplexer::findPlug(const std::string& udid, Transport transport) {
    const auto found = std::ranges::find_if(plugs_, [&](const Plug& plug) {
        return plug.device->udid() == udid && plug.transport == transport;
    });
    return found == plugs_.end() ? nullptr : &*found;
}

bool Multiplexer::attach(const std::shared_ptr<Device>& device, const AttachOptions& options) {
    std::unique_lock lock{mutex_};
    if (findPlug(device->udid(), options.transport) != nullptr) {
        return false;
    }
    device->trust.plugged();
    plugs_.push_back({device, options.transport, 0, false});
    if (state_ == State::Stopped) {
        return true;
    }
    const std::uint64_t number = nextNumber_++;
    const std::uint64_t generation = generation_;
    plugs_.back().number = number;
    changed_.wait_for(lock, options.delay, [&] {
        const Plug* plug = findPlug(device->udid(), options.transport);
        return generation_ != generation || plug == nullptr || plug->number != number;
    });
    Plug* plug = findPlug(device->udid(), options.transport);
    if (generation_ != generation || plug == nullptr || plug->number != number) {
        return true;  // pulled out, or the multiplexer gone, before it was shown
    }
    if (options.pairedFirst) {
        broadcast(event("Paired", number));
    }
    plug->announced = true;
    broadcast(attachedMessage(*plug));
    return true;
}

bool Multiplexer::detach(const Device& device, Transport transport) {
    std::unique_lock lock{mutex_};
    const Plug* plug = findPlug(device.udid(), transport);
    if (plug == nullptr) {
        return false;
    }
    const HeldEnd end{plug->device, plug->number};
    plugs_.erase(plugs_.begin() + (plug - plugs_.data()));
    const State state = state_;
    if (state == State::Hung) {
        heldEnds_.push_back(end);
    }
    lock.unlock();
    changed_.notify_all();
    if (state == State::Running) {
        end.device->endLinks(end.number);
    }
    lock.lock();
    if (end.number != 0 && state_ != State::Stopped) {
        broadcast(event("Detached", end.number));
    }
    return true;
}

bool Multiplexer::announcePaired(const Device& device, unsigned times) {
    const std::scoped_lock lock{mutex_};
    bool any = false;
    for (const Plug& plug : plugs_) {
        if (plug.device->udid() == device.udid() && plug.number != 0) {
            for (unsigned i = 0; i < times; ++i) {
                broadcast(event("Paired", plug.number));
            }
            any = true;
        }
    }
    return any;
}

bool Multiplexer::forgetRecord(const std::string& udid) {
    const std::scoped_lock lock{mutex_};
    return records_.erase(udid) != 0;
}

std::vector<Multiplexer::PlugInfo> Multiplexer::plugs(const std::string& udid) const {
    const std::scoped_lock lock{mutex_};
    std::vector<PlugInfo> infos;
    for (const Plug& plug : plugs_) {
        if (plug.device->udid() == udid) {
            infos.push_back({plug.transport, plug.number, plug.announced});
        }
    }
    return infos;
}

void Multiplexer::broadcast(const PropertyList& message) {
    const wire::Bytes bytes = encodeMuxMessage(wire::kMuxEventTag, message);
    if (state_ == State::Hung) {
        unsent_.push_back(bytes);
    } else {
        sendToListeners(bytes);
    }
}

void Multiplexer::sendToListeners(const wire::Bytes& message) {
    for (const Client* client : clients_) {
        if (client->listening) {
            sendAtOnce(client->socket, message);
        }
    }
}

}  // namespace quillbox::simulator
