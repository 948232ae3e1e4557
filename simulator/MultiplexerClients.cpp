// SPDX-License-Identifier: GPL-3.0-or-later
#include "Lockdown.h"
#include "LockdownValues.h"
#include "Multiplexer.h"
#include "Services.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <charconv>

// What the multiplexer answers its clients. Events and life cycle stand in Multiplexer.cpp.
namespace quillbox::simulator {
namespace {

constexpr std::uint64_t kOk = 0;
constexpr std::uint64_t kBadCommand = 1;
constexpr std::uint64_t kBadDevice = 2;
constexpr std::uint64_t kRefused = 3;

std::uint64_t orderedNumber(const Verdict& verdict) {
    std::uint64_t number = kBadCommand;
    std::from_chars(verdict.status.data(), verdict.status.data() + verdict.status.size(), number);
    return number;
}

}  // namespace

void Multiplexer::acceptClients(UniqueFd listener) {
    for (;;) {
        UniqueFd socket{::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC)};
        const std::scoped_lock lock{mutex_};
        if (listener_ != listener.get() || state_ == State::Stopped) {
            break;
        }
        if (!socket) {
            if (errno == EINTR || errno == ECONNABORTED || errno == EMFILE || errno == ENFILE) {
                continue;
            }
            break;
        }
        tasks_.spawn([this, held = std::make_shared<UniqueFd>(std::move(socket))] {
            Client client;
            serveClient(std::move(*held), client);
        });
    }
    const std::scoped_lock lock{mutex_};
    if (listener_ == listener.get()) {
        listener_ = -1;
    }
    listener.reset();
}

void Multiplexer::serveClient(UniqueFd socket, Client& client) {
    {
        const std::scoped_lock lock{mutex_};
        if (state_ == State::Stopped) {
            return;
        }
        client.socket = socket.get();
        clients_.push_back(&client);
    }
    const auto opened = converse(socket, client);
    {
        const std::scoped_lock lock{mutex_};
        std::erase(clients_, &client);
    }
    if (opened) {
        opened->link->run();
        opened->device->removeLink(opened->link);
    }
}

bool Multiplexer::waitWhileHung(const Client& client) {
    std::unique_lock lock{mutex_};
    while (state_ == State::Hung) {
        pollfd look{client.socket, POLLRDHUP, 0};
        if (::poll(&look, 1, 0) > 0) {
            return false;
        }
        constexpr std::chrono::milliseconds kGlance{50};
        changed_.wait_for(lock, kGlance);
    }
    return state_ == State::Running && !client.channel.closed();
}

std::optional<Verdict> Multiplexer::admit(Client& client, const std::string& udid,
                                          const std::string& kind) {
    const RequestGroup group = requestGroup(kind);
    const std::string_view known =
        group == RequestGroup::Multiplexer ? std::string_view{kind} : kUnknownRequest;
    environment_.counters.count(udid.empty() ? Counters::kNoDevice : udid, known);
    const Faults::Request request{udid, {}, known, RequestGroup::Multiplexer};
    const Verdict verdict = environment_.faults.judge(request);
    if (!environment_.faults.pass(request, client.channel)) {
        return std::nullopt;
    }
    return verdict;
}

bool Multiplexer::respond(Client& client, std::uint32_t tag, const PropertyList& content,
                          const Verdict& verdict) {
    const bool spoiled = verdict.kind == Verdict::Kind::Spoil;
    {
        const std::scoped_lock lock{mutex_};
        if (!sendAtOnce(client.socket, spoiled ? spoilMuxMessage(tag, content, verdict.variant)
                                               : encodeMuxMessage(tag, content))) {
            return false;
        }
    }
    if (spoiled && verdict.variant == Malformed::TruncatedSilent) {
        // Until the client leaves.
        while (!client.channel.closed() && readMuxMessage(client.socket)) {
        }
        return false;
    }
    return !spoiled || verdict.variant != Malformed::TruncatedClose;
}

std::optional<Multiplexer::Opened> Multiplexer::converse(UniqueFd& socket, Client& client) {
    for (;;) {
        const auto message = readMuxMessage(socket.get());
        if (!message || !waitWhileHung(client)) {
            return std::nullopt;
        }
        const PropertyList& request = message->content;
        const std::string kind = request.textAt("MessageType").value_or("");
        if (kind == "Connect") {
            std::uint64_t number = kOk;
            auto opened = connect(socket, client, *message, number);
            if (opened) {
                return opened;
            }
            if (client.channel.closed() ||
                !respond(client, message->tag, result(number), Verdict{})) {
                return std::nullopt;
            }
            continue;
        }
        const auto verdict = admit(client, {}, kind);
        if (!verdict) {
            return std::nullopt;
        }
        if (verdict->kind == Verdict::Kind::Fail) {
            if (!respond(client, message->tag, result(orderedNumber(*verdict)), *verdict)) {
                return std::nullopt;
            }
        } else if (kind == "Listen" && verdict->kind == Verdict::Kind::Pass) {
            listen(client, message->tag);
        } else if (!respond(client, message->tag, simpleAnswer(kind, request), *verdict)) {
            return std::nullopt;
        }
    }
}

void Multiplexer::listen(Client& client, std::uint32_t tag) {
    const std::scoped_lock lock{mutex_};
    sendAtOnce(client.socket, encodeMuxMessage(tag, result(kOk)));
    for (const Plug& plug : plugs_) {
        if (plug.announced) {
            sendAtOnce(client.socket, encodeMuxMessage(wire::kMuxEventTag, attachedMessage(plug)));
        }
    }
    client.listening = true;
}

std::optional<Multiplexer::Opened> Multiplexer::connect(UniqueFd& socket, Client& client,
                                                        const MuxMessage& message,
                                                        std::uint64_t& number) {
    const auto wanted = message.content.numberAt("DeviceID").value_or(0);
    const auto find = [&]() -> std::shared_ptr<Device> {
        const auto plug = std::ranges::find_if(plugs_, [&](const Plug& candidate) {
            return candidate.announced && candidate.number == wanted;
        });
        return plug == plugs_.end() ? nullptr : plug->device;
    };
    std::shared_ptr<Device> device;
    {
        const std::scoped_lock lock{mutex_};
        device = find();
    }
    const auto verdict = admit(client, device ? device->udid() : "", "Connect");
    if (!verdict) {
        client.channel.close();
        return std::nullopt;
    }
    if (verdict->kind == Verdict::Kind::Fail) {
        number = orderedNumber(*verdict);
        return std::nullopt;
    }
    if (verdict->kind == Verdict::Kind::Spoil) {
        (void)respond(client, message.tag, result(kOk), *verdict);
        client.channel.close();
        return std::nullopt;
    }
    std::unique_lock lock{mutex_};
    // A stalled client may have waited while the device left.
    if (!device || find() != device) {
        number = device ? kRefused : kBadDevice;
        return std::nullopt;
    }
    const std::uint16_t port =
        ntohs(static_cast<std::uint16_t>(message.content.numberAt("PortNumber").value_or(0)));
    std::optional<StartedService> service;
    if (port == kLockdownPort) {
        service = StartedService{std::string{service::kLockdown}, false, {}};
    } else {
        service = device->takePort(port);
    }
    std::array<int, 2> ends{-1, -1};
    if (!service || ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        number = kRefused;
        return std::nullopt;
    }
    UniqueFd linkEnd{ends[0]};
    auto serviceEnd = std::make_shared<UniqueFd>(ends[1]);
    sendAtOnce(socket.get(), encodeMuxMessage(message.tag, result(kOk)));
    std::erase(clients_, &client);
    auto channel = std::make_shared<Channel>(service->name);
    const auto link =
        std::make_shared<Link>(std::move(socket), std::move(linkEnd), device->link, channel);
    device->addLink(wanted, link);
    lock.unlock();
    tasks_.spawn([this, device, channel, serviceEnd, started = std::move(*service)] {
        Stream stream{std::move(*serviceEnd), channel};
        ServiceContext context{environment_, *device, stream};
        serve(context, started);
    });
    return Opened{link, device};
}

PropertyList Multiplexer::result(std::uint64_t number) {
    return PropertyList::dictionary().setText("MessageType", "Result").setNumber("Number", number);
}

PropertyList Multiplexer::simpleAnswer(const std::string& kind, const PropertyList& request) {
    if (kind == "ListDevices") {
        return PropertyList::dictionary().set("DeviceList", deviceList());
    }
    if (kind == "ReadBUID") {
        return PropertyList::dictionary().setText("BUID", systemBuid_);
    }
    if (kind == "Listen") {
        return result(kOk);
    }
    const std::string record = request.textAt("PairRecordID").value_or("");
    const std::scoped_lock lock{mutex_};
    if (kind == "ReadPairRecord") {
        const auto found = records_.find(record);
        return found == records_.end()
                   ? result(kBadDevice)
                   : PropertyList::dictionary().setData("PairRecordData", found->second);
    }
    if (kind == "SavePairRecord") {
        const auto data = request.dataAt("PairRecordData");
        constexpr std::size_t kMostRecords = 1000;
        if (!data || record.empty() || records_.size() >= kMostRecords) {
            return result(kBadCommand);
        }
        records_[record] = *data;
        if (const auto number = request.numberAt("DeviceID")) {
            broadcast(PropertyList::dictionary()
                          .setText("MessageType", "Paired")
                          .setNumber("DeviceID", *number));
        }
        return result(kOk);
    }
    if (kind == "DeletePairRecord") {
        return result(records_.erase(record) != 0 ? kOk : kBadDevice);
    }
    return result(kBadCommand);
}

PropertyList Multiplexer::deviceList() const {
    const std::scoped_lock lock{mutex_};
    PropertyList list = PropertyList::array();
    for (const Plug& plug : plugs_) {
        if (plug.announced) {
            list.append(attachedMessage(plug));
        }
    }
    return list;
}

PropertyList Multiplexer::attachedMessage(const Plug& plug) const {
    const DeviceDescription& description = plug.device->description();
    PropertyList properties = PropertyList::dictionary();
    properties.setNumber("DeviceID", plug.number).setText("SerialNumber", description.udid);
    if (plug.transport == Transport::Usb) {
        constexpr std::uint64_t kHighSpeed = 480'000'000;
        properties.setText("ConnectionType", "USB")
            .setNumber("ConnectionSpeed", kHighSpeed)
            .setNumber("LocationID", 0x10000U + plug.number)
            .setNumber("ProductID", description.productId);
    } else {
        // An address in the layout of the platform that devices come from: length and family first.
        constexpr std::array<unsigned char, 16> kLoopback{16, 2, 0, 0, 127, 0, 0, 1};
        properties.setText("ConnectionType", "Network")
            .setText("EscapedFullServiceName",
                     wifiAddress(description) + "@fe80::1._apple-mobdev2._tcp.local.")
            .setNumber("InterfaceIndex", 1)
            .setData("NetworkAddress", std::as_bytes(std::span{kLoopback}));
    }
    return PropertyList::dictionary()
        .setText("MessageType", "Attached")
        .setNumber("DeviceID", plug.number)
        .set("Properties", std::move(properties));
}

void Multiplexer::pairByItself(Device& device) {
    PairRecord made =
        makePairRecord(environment_.key, systemBuid_, wifiAddress(device.description()));
    device.trust.add(made.pairing);
    const std::scoped_lock lock{mutex_};
    records_[device.udid()] = made.record.toXml();
}

}  // namespace quillbox::simulator
