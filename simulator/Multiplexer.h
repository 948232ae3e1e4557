// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Device.h"
#include "MuxMessages.h"
#include "Service.h"
#include "TaskGroup.h"

#include <condition_variable>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace quillbox::simulator {

/// How a device is reached.
enum class Transport { Usb, Network };

/// The service on the computer that knows which devices are plugged in, keeps pairing records, and
/// connects clients with devices, on a UNIX socket. Thread-safe; calls return when their effect can
/// be seen by clients.
class Multiplexer {
public:
    /// `tasks` runs the clients and must be joined after stop() and before this object ends.
    Multiplexer(Environment& environment, TaskGroup& tasks, std::filesystem::path socket,
                std::string systemBuid);
    ~Multiplexer();

    /// Listens. Device numbers begin at 1 again, and for `empty` no device is known yet. Throws
    /// std::runtime_error when the socket cannot be made or another process answers on it.
    void start(std::chrono::milliseconds empty);

    /// Ends all connections and the socket. With `leaveSocket` its file stays behind and refuses,
    /// as after a kill. Nobody is told that devices have gone.
    void stop(bool leaveSocket);

    /// On: accepts clients and answers nobody, nothing moves on any connection, no event is sent;
    /// what happened meanwhile is told afterwards.
    void hang(bool on);

    enum class State { Stopped, Running, Hung };

    [[nodiscard]] State state() const;

    struct AttachOptions {
        Transport transport = Transport::Usb;
        std::chrono::milliseconds delay{0};  ///< before clients are told
        bool pairedFirst = false;            ///< Paired is told before Attached
    };

    /// Plugs a device in; false when it is already. Waits for the delay.
    bool attach(const std::shared_ptr<Device>& device, const AttachOptions& options);

    /// Pulls a device out: its connections end, then clients are told. False when it was not
    /// plugged in.
    bool detach(const Device& device, Transport transport);

    /// Tells clients that the device is paired, `times` times; false when it is not plugged in.
    bool announcePaired(const Device& device, unsigned times);

    /// Asks the device to pair the way this service does by itself for a device that is plugged in,
    /// and keeps the record. The device takes it without another question.
    void pairByItself(Device& device);

    /// Forgets the pairing record of a device; false when there was none.
    bool forgetRecord(const std::string& udid);

    struct PlugInfo {
        Transport transport;
        std::uint64_t number;
        bool announced;
    };

    [[nodiscard]] std::vector<PlugInfo> plugs(const std::string& udid) const;

private:
    struct Plug {
        std::shared_ptr<Device> device;
        Transport transport = Transport::Usb;
        std::uint64_t number = 0;
        bool announced = false;  ///< clients have been told; it stands in the list
    };

    /// A client's connection while it speaks to the multiplexer itself. The socket belongs to the
    /// client's thread, which takes it off the list before it closes it or gives it to a link.
    struct Client {
        int socket = -1;
        bool listening = false;
        Channel channel{""};
    };

    /// What a client was connected with.
    struct Opened {
        std::shared_ptr<Link> link;
        std::shared_ptr<Device> device;
    };

    /// The ends of messages that were held back.
    struct HeldEnd {
        std::shared_ptr<Device> device;
        std::uint64_t number;
    };

    void acceptClients(UniqueFd listener);
    void serveClient(UniqueFd socket, Client& client);
    /// Answers messages until the client leaves or is connected with a device.
    [[nodiscard]] std::optional<Opened> converse(UniqueFd& socket, Client& client);
    [[nodiscard]] std::optional<Opened> connect(UniqueFd& socket, Client& client,
                                                const MuxMessage& message, std::uint64_t& number);
    [[nodiscard]] bool respond(Client& client, std::uint32_t tag, const PropertyList& content,
                               const Verdict& verdict);
    [[nodiscard]] std::optional<Verdict> admit(Client& client, const std::string& udid,
                                               const std::string& kind);
    void listen(Client& client, std::uint32_t tag);
    [[nodiscard]] PropertyList simpleAnswer(const std::string& kind, const PropertyList& request);
    [[nodiscard]] PropertyList deviceList() const;
    [[nodiscard]] PropertyList attachedMessage(const Plug& plug) const;
    [[nodiscard]] static PropertyList result(std::uint64_t number);
    void broadcast(const PropertyList& message);
    void sendToListeners(const wire::Bytes& message);
    [[nodiscard]] bool waitWhileHung(const Client& client);
    void announceAll(std::chrono::milliseconds pause, std::uint64_t generation);
    [[nodiscard]] Plug* findPlug(const std::string& udid, Transport transport);

    Environment& environment_;
    TaskGroup& tasks_;
    const std::filesystem::path socketPath_;
    const std::string systemBuid_;

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    State state_ = State::Stopped;
    std::uint64_t generation_ = 0;
    int listener_ = -1;  // belongs to the accepting thread
    std::uint64_t nextNumber_ = 1;
    std::vector<Plug> plugs_;
    std::vector<Client*> clients_;
    std::vector<wire::Bytes> unsent_;
    std::vector<HeldEnd> heldEnds_;
    std::map<std::string, wire::Bytes> records_;
};

}  // namespace quillbox::simulator
