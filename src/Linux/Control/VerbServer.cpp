// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Control/VerbServer.h"

#include "Linux/Control/Frames.h"
#include "Linux/Control/LocalSocket.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <map>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace quillbox::control {

namespace {

using Clock = std::chrono::steady_clock;

/// Who comes while so many are served waits in the socket's queue.
constexpr std::size_t kMostClients = 32;

}  // namespace

class VerbServer::Thread {
    /// Answers on their way to the server's thread; outlives it where somebody still holds a reply.
    class Inbox {
    public:
        explicit Inbox(std::unique_ptr<Descriptor> event) : event_(std::move(event)) {}

        int descriptor() const { return event_->number(); }

        void put(std::uint64_t client, Answer answer) {
            {
                const std::lock_guard lock(mutex_);
                answers_.emplace_back(client, std::move(answer));
            }
            wake();
        }

        void stop() {
            {
                const std::lock_guard lock(mutex_);
                stopped_ = true;
            }
            wake();
        }

        bool isStopped() const {
            const std::lock_guard lock(mutex_);
            return stopped_;
        }

        std::vector<std::pair<std::uint64_t, Answer>> takeAll() {
            std::uint64_t count = 0;
            [[maybe_unused]] const auto got = ::read(event_->number(), &count, sizeof count);
            const std::lock_guard lock(mutex_);
            return std::exchange(answers_, {});
        }

    private:
        void wake() {
            const std::uint64_t one = 1;
            [[maybe_unused]] const auto put = ::write(event_->number(), &one, sizeof one);
        }

        const std::unique_ptr<Descriptor> event_;
        mutable std::mutex mutex_;
        std::vector<std::pair<std::uint64_t, Answer>> answers_;
        bool stopped_ = false;
    };

    struct Client {
        Client(std::unique_ptr<Descriptor> connection, Clock::time_point latest)
            : socket(std::move(connection)), deadline(latest) {}

        std::unique_ptr<Descriptor> socket;
        Clock::time_point deadline;
        FrameReader request{kLongestRequest, kMostRequestTexts};
        bool isWorking = false;
        std::string answer;  ///< what is left to send; begun once it is not empty
    };

public:
    Thread(std::string path, std::unique_ptr<Descriptor> listener,
           std::unique_ptr<Descriptor> event, Handler handler, const Limits& limits)
        : path_(std::move(path)),
          listener_(std::move(listener)),
          inbox_(std::make_shared<Inbox>(std::move(event))),
          handler_(std::move(handler)),
          limits_(limits),
          thread_([this] { run(); }) {}

    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    ~Thread() {
        inbox_->stop();
        thread_.join();
        ::unlink(path_.c_str());
    }

private:
    void run() {
        while (!inbox_->isStopped()) {
            wait();
            for (auto& [number, answer] : inbox_->takeAll()) {
                if (const auto found = clients_.find(number); found != clients_.end()) {
                    beginAnswer(found->second, answer);
                }
            }
            serveAll();
            acceptAll();
        }
    }

    void wait() {
        std::vector<pollfd> sources{{inbox_->descriptor(), POLLIN, 0}};
        auto next = Clock::time_point::max();
        for (const auto& [number, client] : clients_) {
            const int events = !client.answer.empty() ? POLLOUT : client.isWorking ? 0 : POLLIN;
            sources.push_back({client.socket->number(), static_cast<short>(events | POLLRDHUP), 0});
            next = std::min(next, client.deadline);
        }
        if (clients_.size() < kMostClients) {
            sources.push_back({listener_->number(), POLLIN, 0});
        }
        int patience = -1;
        if (next != Clock::time_point::max()) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now());
            patience = static_cast<int>(std::max<std::int64_t>(left.count(), 0));
        }
        ::poll(sources.data(), sources.size(), patience);
    }

    void acceptAll() {
        while (clients_.size() < kMostClients) {
            auto socket = acceptFrom(*listener_);
            if (!socket) {
                return;
            }
            if (isTrustedPeer(*socket)) {
                clients_.try_emplace(++lastNumber_, std::move(socket),
                                     Clock::now() + limits_.transfer);
            }
        }
    }

    void serveAll() {
        for (auto each = clients_.begin(); each != clients_.end();) {
            each = serve(each->first, each->second) ? std::next(each) : clients_.erase(each);
        }
    }

    /// False when the client is done with, or has to go.
    bool serve(std::uint64_t number, Client& client) {
        if (client.isWorking && client.answer.empty()) {
            if (Clock::now() >= client.deadline) {
                beginAnswer(client, {kCouldNot, {}, "Quillbox did not come to an end with it"});
            } else {
                return !hasLeft(client);
            }
        }
        if (!client.answer.empty()) {
            return sendAnswer(client) && Clock::now() < client.deadline;
        }
        return receiveRequest(number, client) && Clock::now() < client.deadline;
    }

    static bool hasLeft(const Client& client) {
        pollfd source{client.socket->number(), POLLRDHUP, 0};
        return ::poll(&source, 1, 0) > 0;
    }

    bool receiveRequest(std::uint64_t number, Client& client) {
        std::array<char, 4096> buffer{};
        while (!client.isWorking) {
            const auto count = ::recv(client.socket->number(), buffer.data(), buffer.size(), 0);
            if (count < 0) {
                return errno == EAGAIN || errno == EINTR;
            }
            if (count == 0 ||
                !client.request.add({buffer.data(), static_cast<std::size_t>(count)})) {
                return false;
            }
            if (client.request.texts()) {
                begin(number, client);
            }
        }
        return true;
    }

    void begin(std::uint64_t number, Client& client) {
        client.isWorking = true;
        client.deadline = Clock::now() + limits_.work;
        auto request = requestFrom(*client.request.texts());
        if (!request) {
            beginAnswer(client, {kCouldNot, {}, "the running Quillbox is another version of it"});
            return;
        }
        handler_(std::move(*request), [inbox = inbox_, number](Answer answer) {
            inbox->put(number, std::move(answer));
        });
    }

    void beginAnswer(Client& client, const Answer& answer) const {
        if (client.answer.empty()) {
            client.answer = encodeFrame(toTexts(answer));
            client.deadline = Clock::now() + limits_.transfer;
        }
    }

    /// False once all is sent, or nothing more can be.
    static bool sendAnswer(Client& client) {
        const auto count = ::send(client.socket->number(), client.answer.data(),
                                  client.answer.size(), MSG_NOSIGNAL);
        if (count < 0) {
            return errno == EAGAIN || errno == EINTR;
        }
        client.answer.erase(0, static_cast<std::size_t>(count));
        return !client.answer.empty();
    }

    const std::string path_;
    const std::unique_ptr<Descriptor> listener_;
    const std::shared_ptr<Inbox> inbox_;
    const Handler handler_;
    const Limits limits_;
    std::map<std::uint64_t, Client> clients_;
    std::uint64_t lastNumber_ = 0;
    std::thread thread_;  ///< last: it uses all of the above
};

VerbServer::VerbServer(std::unique_ptr<Thread> thread) : thread_(std::move(thread)) {}

VerbServer::~VerbServer() = default;

std::unique_ptr<VerbServer> VerbServer::start(const std::string& path, Handler handler,
                                              const Limits& limits, std::string* error) {
    auto listener = listenAt(path, error);
    if (!listener) {
        return nullptr;
    }
    auto event = Descriptor::own(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!event) {
        *error = std::string("No event descriptor: ") + std::strerror(errno);
        return nullptr;
    }
    return std::unique_ptr<VerbServer>(new VerbServer(std::make_unique<Thread>(
        path, std::move(listener), std::move(event), std::move(handler), limits)));
}

}  // namespace quillbox::control
