// SPDX-License-Identifier: GPL-3.0-or-later
// The limit that a volume is measured against: the same bytes as one pipelined stream of the file
// service over the same link, with nothing between the socket and a buffer.
#include "Linux/Device/Lockdown/Device.h"
#include "Wire/AfcPacket.h"
#include "Wire/AfcParameters.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

namespace {

using namespace quillbox;
using wire::AfcOperation;
using wire::AfcParameters;

constexpr std::size_t kStep = 1U << 20U;
/// Requests in flight: more than any link of the benchmarks needs to be kept busy.
constexpr std::size_t kInFlight = 8;

class Silence final : public Log {
public:
    bool isEnabled(LogLevel) const override { return false; }

    void write(LogLevel, std::string_view) override {}
};

class NoLoop final : public RunLoop {
public:
    bool isMainThread() const override { return false; }

    void post(std::function<void()>) override {}

    bool wait(const std::shared_ptr<Completion>&, const void*, const std::string&) override {
        return false;
    }

    void endWaits(const void*) override {}

protected:
    void wake() override {}
};

class Stream {
public:
    explicit Stream(device::ByteStream& bytes) : bytes_{bytes} {}

    void send(AfcOperation operation, const AfcParameters& parameters, wire::ByteView data = {}) {
        const wire::Bytes head =
            wire::makeAfcHead(++number_, operation, parameters.bytes(), data.size());
        if (!bytes_.send(head, data)) {
            throw std::runtime_error{bytes_.error()};
        }
    }

    /// The bytes behind the next answer's header, in `into`; their count.
    std::size_t receive(std::span<std::byte> into, AfcOperation expected) {
        std::array<std::byte, wire::kAfcHeaderSize> head{};
        if (!bytes_.receive(head)) {
            throw std::runtime_error{bytes_.error()};
        }
        const auto header = wire::decodeAfcHeader(head);
        if (!header || header->operation != expected ||
            header->entireLength - wire::kAfcHeaderSize > into.size()) {
            throw std::runtime_error{"an answer that was not expected"};
        }
        const std::size_t length = header->entireLength - wire::kAfcHeaderSize;
        if (!bytes_.receive(into.first(length))) {
            throw std::runtime_error{bytes_.error()};
        }
        return length;
    }

    std::uint64_t open(const std::string& path, wire::AfcOpenMode mode) {
        send(AfcOperation::FileOpen,
             AfcParameters{}.word(static_cast<std::uint64_t>(mode)).path(path));
        std::array<std::byte, 8> handle{};
        receive(handle, AfcOperation::FileOpenResult);
        return wire::loadLittle<std::uint64_t>(handle);
    }

    void expectSuccess() {
        std::array<std::byte, 8> status{};
        receive(status, AfcOperation::Status);
        if (wire::loadLittle<std::uint64_t>(status) != 0) {
            throw std::runtime_error{"the device refused a request"};
        }
    }

private:
    device::ByteStream& bytes_;
    std::uint64_t number_ = 0;
};

std::uint64_t readAll(Stream& stream, const std::string& path) {
    const std::uint64_t handle = stream.open(path, wire::AfcOpenMode::Read);
    const AfcParameters request = AfcParameters{}.word(handle).word(kStep);
    wire::Bytes buffer(kStep);
    for (std::size_t i = 0; i < kInFlight; ++i) {
        stream.send(AfcOperation::FileRead, request);
    }
    std::uint64_t total = 0;
    while (const std::size_t moved = stream.receive(buffer, AfcOperation::Data)) {
        total += moved;
        stream.send(AfcOperation::FileRead, request);
    }
    return total;
}

std::uint64_t writeAll(Stream& stream, const std::string& path, std::uint64_t size) {
    const std::uint64_t handle = stream.open(path, wire::AfcOpenMode::WriteTruncate);
    const wire::Bytes buffer(kStep, std::byte{0x5A});
    std::size_t inFlight = 0;
    for (std::uint64_t sent = 0; sent < size; ++inFlight) {
        if (inFlight == kInFlight) {
            stream.expectSuccess();
            --inFlight;
        }
        const std::size_t step = std::min<std::uint64_t>(kStep, size - sent);
        stream.send(AfcOperation::FileWrite, AfcParameters{}.word(handle),
                    wire::ByteView{buffer}.first(step));
        sent += step;
    }
    for (; inFlight > 0; --inFlight) {
        stream.expectSuccess();
    }
    return size;
}

/// One small question after the other: the round trips of the link.
std::uint64_t askOften(Stream& stream, std::uint64_t count) {
    std::array<std::byte, 4096> answer{};
    for (std::uint64_t i = 0; i < count; ++i) {
        stream.send(AfcOperation::FileInfo, AfcParameters{}.path("/"));
        stream.receive(answer, AfcOperation::Data);
    }
    return count;
}

int run(std::span<char*> words) {
    const std::string_view usage =
        "usage: quillbox-raw-stream DEVICE read PATH | DEVICE write PATH BYTES | DEVICE ask "
        "COUNT\n";
    const std::string_view way = words.size() > 2 ? words[2] : "";
    const bool takesOne = (way == "read" || way == "ask") && words.size() == 4;
    if (!takesOne && !(way == "write" && words.size() == 5)) {
        std::fprintf(stderr, "%s", usage.data());
        return 2;
    }
    NoLoop loop;
    Silence log;
    device::Device device{words[1], std::make_shared<device::PlatformLink>(loop, log), {}};
    std::unique_ptr<device::ServiceConnection> connection;
    if (const auto failure = device.lockdown().openService(
            "com.apple.afc", device.options().noProgress, connection)) {
        std::fprintf(stderr, "%s\n", failure.text.c_str());
        return 1;
    }
    Stream stream{connection->stream()};
    const auto begin = std::chrono::steady_clock::now();
    const std::uint64_t done =
        way == "read"  ? readAll(stream, words[3])
        : way == "ask" ? askOften(stream, std::strtoull(words[3], nullptr, 10))
                       : writeAll(stream, words[3], std::strtoull(words[4], nullptr, 10));
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    std::printf("%llu %.6f\n", static_cast<unsigned long long>(done), took.count());
    return 0;
}

}  // namespace

int main(int count, char** words) {
    try {
        return run({words, static_cast<std::size_t>(count)});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
