// SPDX-License-Identifier: GPL-3.0-or-later
#include "Commands.h"
#include "TemporaryFolder.h"
#include "UnixSocket.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <fstream>

namespace quillbox::simulator {
namespace {

/// A multiplexer with one device, and a client of it.
class CommandsTest : public testing::Test {
protected:
    CommandsTest() { simulation_.multiplexer().start(std::chrono::milliseconds{0}); }

    CommandResult run(const std::vector<std::string>& command) {
        return runCommand(simulation_, command);
    }

    void expectDone(const std::vector<std::string>& command) {
        const CommandResult result = run(command);
        EXPECT_EQ(result.status, 0) << command.front() << ": " << result.text;
    }

    void add(const char* udid) { expectDone({"add-device", udid}); }

    UniqueFd listen() {
        UniqueFd client = connectTo(socket());
        send(client, PropertyList::dictionary().setText("MessageType", "Listen"));
        EXPECT_EQ(receive(client).numberAt("Number"), 0U);
        return client;
    }

    static void send(const UniqueFd& client, const PropertyList& message) {
        EXPECT_TRUE(sendAll(client.get(), encodeMuxMessage(5, message)));
    }

    static PropertyList receive(const UniqueFd& client) {
        const timeval patience{5, 0};
        ::setsockopt(client.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        const auto message = readMuxMessage(client.get());
        EXPECT_TRUE(message);
        return message ? message->content : PropertyList::dictionary();
    }

    static std::string event(const UniqueFd& client) {
        const PropertyList message = receive(client);
        return message.textAt("MessageType").value_or("none") + " " +
               std::to_string(message.numberAt("DeviceID").value_or(0));
    }

    /// Nothing more has come.
    static bool silent(const UniqueFd& client) {
        std::byte byte{};
        return ::recv(client.get(), &byte, 1, MSG_DONTWAIT) == -1;
    }

    [[nodiscard]] std::filesystem::path socket() const { return folder_.path() / "mux"; }

    /// All tests share one key pair: making one is what takes time.
    static std::filesystem::path key() {
        static const TemporaryFolder kFolder;
        return kFolder.path() / "key.pem";
    }

    TemporaryFolder folder_;
    Simulation simulation_{folder_.path() / "mux", folder_.path() / "state", key()};
};

TEST_F(CommandsTest, WrongUsageHasStatusTwoAndOneLine) {
    add("one");
    const std::vector<std::vector<std::string>> wrong{{},
                                                      {"nonsense"},
                                                      {"attach"},
                                                      {"attach", "one", "two"},
                                                      {"attach", "one", "--unknown"},
                                                      {"attach", "one", "--delay", "x"},
                                                      {"fail", "read", "1"},
                                                      {"fail", "reading", "1", "8"},
                                                      {"fail", "read", "0", "8"},
                                                      {"fail", "read", "1", "nothing"},
                                                      {"fail", "StartService", "1", "8"},
                                                      {"malformed", "read", "1", "odd"},
                                                      {"latency", "-1"},
                                                      {"bandwidth", "fast"},
                                                      {"counters", "clear"},
                                                      {"mux", "restart"},
                                                      {"drop-connections", "one", "nonsense"},
                                                      {"install", "one", "../escape"},
                                                      {"quit", "now"}};
    for (const auto& command : wrong) {
        const CommandResult result = run(command);
        EXPECT_EQ(result.status, 2)
            << (command.empty() ? "" : command.front()) << ": " << result.text;
        EXPECT_FALSE(result.text.empty());
        EXPECT_EQ(result.text.find('\n'), std::string::npos) << result.text;
    }
}

TEST_F(CommandsTest, WhatCannotBeDoneHasStatusOne) {
    add("one");
    EXPECT_EQ(run({"attach", "two"}).status, 1);
    EXPECT_EQ(run({"attach", "one"}).status, 1) << "it is attached already";
    EXPECT_EQ(run({"detach", "one", "--network"}).status, 1);
    EXPECT_EQ(run({"add-device", "one"}).status, 1);
    EXPECT_EQ(run({"add-device", "../x"}).status, 1);
    EXPECT_EQ(run({"add-device", "two", "--media", "/nonexistent/folder"}).status, 1);
    EXPECT_EQ(run({"mux", "start"}).status, 1);
    EXPECT_EQ(run({"mux", "unhang"}).status, 1);
    EXPECT_EQ(run({"remove-device", "two"}).status, 1);
    EXPECT_EQ(run({"uninstall", "one", "org.example.none"}).status, 1);
}

TEST_F(CommandsTest, ListenersAreToldOfComingAndGoing) {
    add("one");
    const UniqueFd client = listen();
    EXPECT_EQ(event(client), "Attached 1");
    expectDone({"detach", "one"});
    EXPECT_EQ(event(client), "Detached 1");
    expectDone({"attach", "one"});
    EXPECT_EQ(event(client), "Attached 2");
    expectDone({"attach", "one", "--network"});
    EXPECT_EQ(event(client), "Attached 3");
    expectDone({"trust", "one"});
    EXPECT_EQ(event(client), "Paired 2");
    EXPECT_EQ(event(client), "Paired 3");
    EXPECT_TRUE(silent(client));
}

TEST_F(CommandsTest, PairingIsToldInEveryWay) {
    expectDone({"add-device", "one", "--untrusted", "--detached"});
    const UniqueFd client = listen();
    expectDone({"attach", "one"});
    EXPECT_EQ(event(client), "Attached 1");
    expectDone({"trust", "one", "--silent"});
    EXPECT_TRUE(silent(client));
    expectDone({"trust", "one", "--twice"});
    EXPECT_EQ(event(client), "Paired 1");
    EXPECT_EQ(event(client), "Paired 1");
    expectDone({"detach", "one"});
    EXPECT_EQ(event(client), "Detached 1");
    expectDone({"attach", "one", "--paired-first"});
    EXPECT_EQ(event(client), "Paired 2");
    EXPECT_EQ(event(client), "Attached 2");
}

TEST_F(CommandsTest, ADeviceCanBePulledOutBeforeItIsShown) {
    expectDone({"add-device", "one", "--detached"});
    const UniqueFd client = listen();
    std::thread plugging{[&] { expectDone({"attach", "one", "--delay", "60000"}); }};
    while (simulation_.multiplexer().plugs("one").empty()) {
        std::this_thread::yield();
    }
    expectDone({"detach", "one"});
    plugging.join();
    EXPECT_EQ(event(client), "Detached 1");
    EXPECT_TRUE(silent(client));
}

TEST_F(CommandsTest, RecordsSavedWithANumberAreTold) {
    add("one");
    const UniqueFd client = listen();
    EXPECT_EQ(event(client), "Attached 1");
    const UniqueFd other = connectTo(socket());
    PropertyList save = PropertyList::dictionary();
    save.setText("MessageType", "SavePairRecord")
        .setText("PairRecordID", "x")
        .setData("PairRecordData", wire::asBytes("record"));
    send(other, save);
    EXPECT_EQ(receive(other).numberAt("Number"), 0U);
    EXPECT_TRUE(silent(client));
    send(other, save.setNumber("DeviceID", 1));
    EXPECT_EQ(receive(other).numberAt("Number"), 0U);
    EXPECT_EQ(event(client), "Paired 1");
    PropertyList read = PropertyList::dictionary();
    read.setText("MessageType", "ReadPairRecord").setText("PairRecordID", "x");
    send(other, read);
    EXPECT_EQ(wire::asText(*receive(other).dataAt("PairRecordData")), "record");
    send(other, PropertyList::dictionary()
                    .setText("MessageType", "DeletePairRecord")
                    .setText("PairRecordID", "x"));
    EXPECT_EQ(receive(other).numberAt("Number"), 0U);
    send(other, read);
    EXPECT_EQ(receive(other).numberAt("Number"), 2U);
    send(other, PropertyList::dictionary().setText("MessageType", "Nonsense"));
    EXPECT_EQ(receive(other).numberAt("Number"), 1U);
}

TEST_F(CommandsTest, NumbersBeginAgainWhenTheMultiplexerDoes) {
    add("one");
    expectDone({"detach", "one"});
    expectDone({"attach", "one"});
    const UniqueFd client = listen();
    EXPECT_EQ(event(client), "Attached 2");
    expectDone({"mux", "stop"});
    EXPECT_FALSE(readMuxMessage(client.get())) << "the connection ends without Detached";
    EXPECT_FALSE(std::filesystem::exists(socket()));
    expectDone({"mux", "start", "--empty", "200"});
    const UniqueFd after = listen();
    EXPECT_TRUE(silent(after)) << "the list is empty for a while";
    EXPECT_EQ(event(after), "Attached 1");
}

TEST_F(CommandsTest, AKilledMultiplexerLeavesASocketThatRefuses) {
    add("one");
    expectDone({"mux", "kill"});
    EXPECT_TRUE(std::filesystem::exists(socket()));
    EXPECT_FALSE(connectTo(socket()));
    expectDone({"mux", "start", "--empty", "0"});
    EXPECT_EQ(event(listen()), "Attached 1");
}

TEST_F(CommandsTest, AHungMultiplexerAcceptsAndNeverAnswers) {
    add("one");
    const UniqueFd listener = listen();
    EXPECT_EQ(event(listener), "Attached 1");
    expectDone({"mux", "hang"});
    const UniqueFd client = connectTo(socket());
    ASSERT_TRUE(client);
    send(client, PropertyList::dictionary().setText("MessageType", "ReadBUID"));
    expectDone({"detach", "one"});
    std::this_thread::sleep_for(std::chrono::milliseconds{100});
    EXPECT_TRUE(silent(client));
    EXPECT_TRUE(silent(listener));
    expectDone({"mux", "unhang"});
    EXPECT_TRUE(receive(client).textAt("BUID"));
    EXPECT_EQ(event(listener), "Detached 1");
}

TEST_F(CommandsTest, ConnectTellsWhatIsNotThere) {
    add("one");
    const UniqueFd client = connectTo(socket());
    PropertyList connect = PropertyList::dictionary();
    connect.setText("MessageType", "Connect").setNumber("DeviceID", 9).setNumber("PortNumber", 1);
    send(client, connect);
    EXPECT_EQ(receive(client).numberAt("Number"), 2U);
    send(client, connect.setNumber("DeviceID", 1));
    EXPECT_EQ(receive(client).numberAt("Number"), 3U);
    expectDone({"fail", "Connect", "1", "7"});
    send(client, connect);
    EXPECT_EQ(receive(client).numberAt("Number"), 7U);
}

TEST_F(CommandsTest, OpenConnectionsEndBeforeTheDepartureIsTold) {
    add("one");
    const UniqueFd listener = listen();
    EXPECT_EQ(event(listener), "Attached 1");
    const UniqueFd client = connectTo(socket());
    send(client, PropertyList::dictionary()
                     .setText("MessageType", "Connect")
                     .setNumber("DeviceID", 1)
                     .setNumber("PortNumber", 0x7EF2));  // 62078 in network byte order
    EXPECT_EQ(receive(client).numberAt("Number"), 0U);
    EXPECT_NE(run({"list"}).text.find("com.apple.mobile.lockdown=1"), std::string::npos);
    expectDone({"detach", "one"});
    std::byte byte{};
    EXPECT_EQ(::recv(client.get(), &byte, 1, MSG_DONTWAIT), 0);
    EXPECT_EQ(event(listener), "Detached 1");
}

TEST_F(CommandsTest, GarbageEndsOnlyTheClientThatSentIt) {
    add("one");
    for (const std::string_view garbage :
         {std::string_view("GET / HTTP/1.0\r\n\r\n"),
          std::string_view("\x10\0\0\0\x01\0\0\0\x08\0\0\0\0\0\0\0", 16),
          std::string_view("\x14\0\0\0\x01\0\0\0\x08\0\0\0\0\0\0\0abcd", 20)}) {
        const UniqueFd client = connectTo(socket());
        EXPECT_TRUE(sendAll(client.get(), wire::asBytes(garbage)));
        std::byte byte{};
        EXPECT_LE(::recv(client.get(), &byte, 1, 0), 0);
    }
    EXPECT_EQ(event(listen()), "Attached 1");
}

TEST_F(CommandsTest, ASecondSimulationOnTheSocketIsRefused) {
    Simulation second{socket(), folder_.path() / "other", key()};
    EXPECT_THROW(second.multiplexer().start(std::chrono::milliseconds{0}), std::runtime_error);
    EXPECT_EQ(event((add("one"), listen())), "Attached 1");
}

TEST_F(CommandsTest, SampleContentHoldsWhatItPromises) {
    expectDone({"add-device", "one", "--sample"});
    const auto media = folder_.path() / "state/one/Media";
    EXPECT_TRUE(std::filesystem::exists(media / "DCIM/.MISC/Info.plist"));
    EXPECT_TRUE(std::filesystem::exists(media / "DCIM/100APPLE/IMG_0001.JPG"));
    EXPECT_GT(std::filesystem::file_size(media / "Huge sparse file.bin"), std::uintmax_t{1} << 32U);
    EXPECT_TRUE(std::filesystem::is_symlink(media / "Links/dangling"));
    EXPECT_FALSE(std::filesystem::exists(media / "Links/dangling"));
    EXPECT_TRUE(std::filesystem::exists(folder_.path() /
                                        "state/one/Apps/org.example.sketches/iTunesArtwork"));
}

TEST_F(CommandsTest, AGivenMediaAreaIsLeftAlone) {
    const auto media = folder_.path() / "mine";
    std::filesystem::create_directories(media);
    expectDone({"add-device", "one", "--sample", "--media", media.string()});
    EXPECT_TRUE(std::filesystem::is_empty(media));
}

}  // namespace
}  // namespace quillbox::simulator
