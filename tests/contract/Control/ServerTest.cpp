// SPDX-License-Identifier: GPL-3.0-or-later
#include "ControlTesting.h"
#include "Linux/Control/Frames.h"
#include "Linux/Control/LocalSocket.h"
#include "Linux/Control/VerbClient.h"
#include "Linux/Control/VerbServer.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <array>
#include <future>
#include <thread>

namespace quillbox::control {

namespace {

using namespace std::chrono_literals;
using Ending = CallResult::Kind;

/// A server in a folder of its own, with the lock that says that it runs.
class ServerTest : public ::testing::Test {
protected:
    ServerTest() {
        std::string message;
        EXPECT_EQ(lock_.take(folder_.path(), {"mux", "prefs"}, false, &message),
                  SingleInstance::Result::Taken);
        instance_ = runningInstances(folder_.path()).at(0);
    }

    void start(VerbServer::Handler handler, VerbServer::Limits limits = {}) {
        std::string error;
        server_ = VerbServer::start(instance_.socketPath, std::move(handler), limits, &error);
        ASSERT_TRUE(server_) << error;
    }

    static void echo(const Request& request, const VerbServer::Reply& reply) {
        std::string output = request.verb;
        for (const auto& each : request.arguments) {
            output += "|" + each;
        }
        reply({kDone, output, {}});
    }

    CallResult ask(const std::string& verb, const std::vector<std::string>& arguments = {}) {
        return call(instance_, {verb, false, arguments}, 20s);
    }

    /// Whether the server closes a connection, having sent no answer.
    static bool isClosed(const Descriptor& socket) {
        pollfd source{socket.number(), POLLIN, 0};
        std::array<char, 16> buffer{};
        return ::poll(&source, 1, 20'000) == 1 &&
               ::recv(socket.number(), buffer.data(), buffer.size(), 0) <= 0;
    }

    const TestFolder folder_;
    SingleInstance lock_;
    Instance instance_;
    std::unique_ptr<VerbServer> server_;
};

TEST_F(ServerTest, AnswersOneAfterTheOther) {
    start(&echo);
    for (int i = 0; i < 50; ++i) {
        const auto result = ask("verb", {std::to_string(i), "Grün"});
        ASSERT_EQ(result.kind, Ending::Answered) << result.error;
        EXPECT_EQ(result.answer.output, "verb|" + std::to_string(i) + "|Grün");
    }
}

TEST_F(ServerTest, NobodyElseCanOpenTheSocket) {
    start(&echo);

    struct stat status {};

    ASSERT_EQ(::stat(instance_.socketPath.c_str(), &status), 0);
    EXPECT_TRUE(S_ISSOCK(status.st_mode));
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(ServerTest, ALargeAnswerArrivesWhole) {
    const std::string large(3'000'000, 'x');
    start([&](const Request&, const VerbServer::Reply& reply) { reply({kDone, large, {}}); });
    const auto result = ask("list");
    ASSERT_EQ(result.kind, Ending::Answered) << result.error;
    EXPECT_EQ(result.answer.output, large);
}

TEST_F(ServerTest, AnAnswerMayComeLaterAndFromAnyThread) {
    std::promise<VerbServer::Reply> replies;
    start([&](const Request&, const VerbServer::Reply& reply) { replies.set_value(reply); });
    auto asked = std::async(std::launch::async, [&] { return ask("mount", {"x"}); });
    const auto reply = replies.get_future().get();
    reply({kCouldNot, {}, "no"});
    reply({kDone, "a second one", {}});
    const auto result = asked.get();
    ASSERT_EQ(result.kind, Ending::Answered) << result.error;
    EXPECT_EQ(result.answer.status, kCouldNot);
    EXPECT_EQ(result.answer.error, "no");
    server_.reset();
    reply({kDone, "too late", {}});
}

TEST_F(ServerTest, ClientsThatHangAreClosedAndDisturbNobody) {
    start(&echo, {300ms, 20s});
    std::vector<std::unique_ptr<Descriptor>> hanging;
    for (int i = 0; i < 40; ++i) {
        hanging.push_back(connectTo(instance_.socketPath));
        if (!hanging.back()) {
            hanging.pop_back();  // the queue is full, which is as good
            break;
        }
        ::send(hanging.back()->number(), "\0\0", 2, MSG_NOSIGNAL);
    }
    ASSERT_GE(hanging.size(), 10U);
    EXPECT_EQ(ask("list").answer.output, "list");
    EXPECT_TRUE(isClosed(*hanging.front()));
}

TEST_F(ServerTest, GarbageEndsItsConnectionOnly) {
    start(&echo);
    const auto client = connectTo(instance_.socketPath);
    ASSERT_TRUE(client);
    ::send(client->number(), "GET / HTTP/1.1\r\n", 16, MSG_NOSIGNAL);
    EXPECT_TRUE(isClosed(*client));
    EXPECT_EQ(ask("list").answer.output, "list");
}

TEST_F(ServerTest, AnotherVersionIsToldSo) {
    start(&echo);
    const auto client = connectTo(instance_.socketPath);
    ASSERT_TRUE(client);
    const auto frame = encodeFrame({"quillbox 99", "text", "list"});
    ASSERT_EQ(::send(client->number(), frame.data(), frame.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(frame.size()));
    pollfd source{client->number(), POLLIN, 0};
    ASSERT_EQ(::poll(&source, 1, 20'000), 1);
    std::array<char, 4096> buffer{};
    const auto count = ::recv(client->number(), buffer.data(), buffer.size(), 0);
    FrameReader reader(kLongestAnswer, kMostAnswerTexts);
    ASSERT_TRUE(count > 0 && reader.add({buffer.data(), static_cast<std::size_t>(count)}));
    ASSERT_TRUE(reader.texts());
    EXPECT_EQ(answerFrom(*reader.texts())->status, kCouldNot);
}

TEST_F(ServerTest, WorkThatNeverEndsIsGivenUp) {
    start([](const Request&, const VerbServer::Reply&) {}, {5s, 200ms});
    const auto result = ask("mount", {"x"});
    ASSERT_EQ(result.kind, Ending::Answered) << result.error;
    EXPECT_EQ(result.answer.status, kCouldNot);
}

TEST_F(ServerTest, TheEndClosesWhoWaits) {
    std::promise<void> begun;
    start([&](const Request&, const VerbServer::Reply&) { begun.set_value(); });
    auto asked = std::async(std::launch::async, [&] { return ask("quit"); });
    begun.get_future().get();
    server_.reset();
    EXPECT_EQ(asked.get().kind, Ending::Ended);
    EXPECT_NE(::access(instance_.socketPath.c_str(), F_OK), 0);
}

TEST_F(ServerTest, AProgramThatDoesNotListenYetIsWaitedFor) {
    auto asked = std::async(std::launch::async, [&] { return ask("list"); });
    EXPECT_EQ(asked.wait_for(100ms), std::future_status::timeout);
    start(&echo);
    EXPECT_EQ(asked.get().kind, Ending::Answered);
}

TEST_F(ServerTest, AProgramThatEndsFirstIsNotWaitedFor) {
    auto asked = std::async(std::launch::async, [&] { return ask("list"); });
    lock_ = {};
    EXPECT_EQ(asked.get().kind, Ending::Ended);
}

TEST_F(ServerTest, ASocketThatADeadProgramLeftIsReplaced) {
    std::string error;
    auto dead = listenAt(instance_.socketPath, &error);
    ASSERT_TRUE(dead) << error;
    dead.reset();
    start(&echo);
    EXPECT_EQ(ask("list").answer.output, "list");
}

TEST(LocalSocketTest, APathOfAnyLengthIsServed) {
    const TestFolder folder;
    const std::string deep = folder / std::string(150, 'd');
    std::filesystem::create_directory(deep);
    std::string error;
    const auto listener = listenAt(deep + "/socket", &error);
    ASSERT_TRUE(listener) << error;
    const auto client = connectTo(deep + "/socket");
    ASSERT_TRUE(client);
    EXPECT_TRUE(isTrustedPeer(*client));
    EXPECT_TRUE(acceptFrom(*listener));
    EXPECT_FALSE(acceptFrom(*listener));
    EXPECT_FALSE(connectTo(folder / "nobody"));
    EXPECT_FALSE(listenAt(folder / "nowhere/socket", &error));
    EXPECT_NE(error.find("nowhere"), std::string::npos);
}

}  // namespace

}  // namespace quillbox::control
