// SPDX-License-Identifier: GPL-3.0-or-later
#include "CommandTable.h"
#include "Wire/AfcProtocol.h"

#include <algorithm>
#include <array>

namespace quillbox::simulator {
namespace {

/// The devices that --device names, all without it.
std::vector<std::shared_ptr<Device>> chosenDevices(const Simulation& simulation,
                                                   const Arguments& arguments) {
    return devicesNamed(simulation, arguments.value("--device").value_or("all"));
}

/// The device that a fault is limited to; empty for all.
std::string limitedTo(const Simulation& simulation, const Arguments& arguments) {
    const std::string word = arguments.value("--device").value_or("all");
    return word == "all" ? "" : deviceNamed(simulation, word)->udid();
}

RequestGroup groupOf(const std::string& kind) {
    const RequestGroup group = kind == kAnyAfcRequest ? RequestGroup::Afc : requestGroup(kind);
    if (group == RequestGroup::None) {
        throw UsageError{"there is no request \"" + kind + "\"; ctl --help lists them"};
    }
    return group;
}

/// The file service and the multiplexer answer with numbers, all others with words.
std::string statusFor(RequestGroup group, const std::string& text) {
    if (group == RequestGroup::Afc) {
        if (const auto status = wire::afcStatusFromName(text)) {
            return std::to_string(static_cast<std::uint64_t>(*status));
        }
    }
    if (group == RequestGroup::Afc || group == RequestGroup::Multiplexer) {
        return std::to_string(parseNumber(text, "the status"));
    }
    if (text.empty() || (text.front() >= '0' && text.front() <= '9')) {
        throw UsageError{"such requests fail with a word, like PasswordProtected"};
    }
    return text;
}

std::uint64_t countOf(const std::string& text, const char* what) {
    const std::uint64_t count = parseNumber(text, what);
    if (count == 0) {
        throw UsageError{std::string{what} + " cannot be 0"};
    }
    return count;
}

std::string order(Simulation& simulation, const Arguments& arguments, std::uint64_t first,
                  std::uint64_t count, Verdict verdict) {
    simulation.environment().faults.order(limitedTo(simulation, arguments), arguments.words()[0],
                                          first, count, std::move(verdict));
    return "ordered";
}

Verdict failure(const Arguments& arguments) {
    return {Verdict::Kind::Fail, statusFor(groupOf(arguments.words()[0]), arguments.words()[2]),
            Malformed::WrongMagic};
}

std::string fail(Simulation& simulation, const Arguments& arguments) {
    return order(simulation, arguments, 1, countOf(arguments.words()[1], "the count"),
                 failure(arguments));
}

std::string failNth(Simulation& simulation, const Arguments& arguments) {
    return order(simulation, arguments, countOf(arguments.words()[1], "the number"), 1,
                 failure(arguments));
}

std::string malformed(Simulation& simulation, const Arguments& arguments) {
    (void)groupOf(arguments.words()[0]);
    const auto variant = malformedFromName(arguments.words()[2]);
    if (!variant) {
        throw UsageError{"the variants are " + malformedNames()};
    }
    return order(simulation, arguments, countOf(arguments.words()[1], "the number"), 1,
                 {Verdict::Kind::Spoil, {}, *variant});
}

std::string clearFaults(Simulation& simulation, const Arguments& /*arguments*/) {
    return "cleared " + std::to_string(simulation.environment().faults.clear());
}

/// Words of stall and resume: a device, what is stalled, or both.
struct StallWords {
    std::string device;
    std::string what;
};

StallWords stallWords(const Simulation& simulation, const Arguments& arguments) {
    StallWords words;
    for (const std::string& word : arguments.words()) {
        if (word == "all") {
            continue;
        }
        if (word == kAnyAfcRequest || requestGroup(word) != RequestGroup::None ||
            isServiceName(word)) {
            words.what = word;
        } else {
            words.device = deviceNamed(simulation, word)->udid();
        }
    }
    return words;
}

void holdLinks(Simulation& simulation, const std::string& device, bool on) {
    for (const auto& each : simulation.devices()) {
        if (device.empty() || each->udid() == device) {
            each->link->hold(LinkConditions::HeldByDevice, on);
            each->wakeLinks();
        }
    }
}

std::string stall(Simulation& simulation, const Arguments& arguments) {
    const StallWords words = stallWords(simulation, arguments);
    simulation.environment().faults.stall(words.device, words.what);
    if (words.what.empty()) {
        holdLinks(simulation, words.device, true);
    }
    return "stalled";
}

std::string resume(Simulation& simulation, const Arguments& arguments) {
    const StallWords words = stallWords(simulation, arguments);
    simulation.environment().faults.resume(words.device, words.what);
    if (words.what.empty()) {
        holdLinks(simulation, words.device, false);
    }
    return "resumed";
}

std::string latency(Simulation& simulation, const Arguments& arguments) {
    const double milliseconds = parseFraction(arguments.words()[0], "the latency");
    for (const auto& device : chosenDevices(simulation, arguments)) {
        device->link->delayNanoseconds = static_cast<std::int64_t>(milliseconds * 1e6 / 2);
        device->wakeLinks();
    }
    return "a round trip takes " + arguments.words()[0] + " ms";
}

std::string bandwidth(Simulation& simulation, const Arguments& arguments) {
    const std::uint64_t bytes = parseNumber(arguments.words()[0], "the bandwidth");
    for (const auto& device : chosenDevices(simulation, arguments)) {
        device->link->bandwidth = bytes;
        device->wakeLinks();
    }
    return bytes == 0 ? "no limit"
                      : "the link carries " + arguments.words()[0] + " bytes a second each way";
}

std::string counters(Simulation& simulation, const Arguments& arguments) {
    if (!arguments.words().empty()) {
        if (arguments.words()[0] != "reset") {
            throw UsageError{"usage: counters [reset]"};
        }
        simulation.environment().counters.reset();
        return "reset";
    }
    const std::string wanted = limitedTo(simulation, arguments);
    std::string text;
    for (const auto& [device, counts] : simulation.environment().counters.snapshot()) {
        if (!wanted.empty() && device != wanted) {
            continue;
        }
        for (const auto& [kind, count] : counts) {
            text += text.empty() ? "" : "\n";
            text += device;
            text += ' ';
            text += kind;
            text += ' ';
            text += std::to_string(count);
        }
    }
    return text;
}

std::string multiplexer(Simulation& simulation, const Arguments& arguments) {
    const std::string& word = arguments.words()[0];
    Multiplexer& mux = simulation.multiplexer();
    const Multiplexer::State state = mux.state();
    if (word == "start") {
        if (state != Multiplexer::State::Stopped) {
            throw CannotDo{"the multiplexer runs already"};
        }
        constexpr std::uint64_t kUsualPause = 300;
        constexpr std::uint64_t kLongestPause = 600'000;
        const auto pause = arguments.number("--empty", kLongestPause).value_or(kUsualPause);
        mux.start(std::chrono::milliseconds{pause});
        return "started";
    }
    if (word == "stop" || word == "kill") {
        if (state == Multiplexer::State::Stopped) {
            throw CannotDo{"the multiplexer does not run"};
        }
        mux.stop(word == "kill");
        return "stopped";
    }
    if (word == "hang" || word == "unhang") {
        const bool on = word == "hang";
        if (state != (on ? Multiplexer::State::Running : Multiplexer::State::Hung)) {
            throw CannotDo{on ? "the multiplexer does not run" : "the multiplexer does not hang"};
        }
        mux.hang(on);
        return on ? "hangs" : "runs again";
    }
    throw UsageError{"usage: mux start|stop|kill|hang|unhang"};
}

}  // namespace

std::span<const Command> faultCommands() {
    static const std::set<std::string> kDevice{"--device"};
    static const std::array kCommands{
        Command{"fail",
                "KIND COUNT STATUS [--device UDID]\n      the next COUNT requests of the kind "
                "fail with that status",
                3,
                3,
                kDevice,
                {},
                fail},
        Command{"fail-nth",
                "KIND N STATUS [--device UDID]\n      exactly the N-th from now fails",
                3,
                3,
                kDevice,
                {},
                failNth},
        Command{"malformed",
                "KIND N VARIANT [--device UDID]\n      the N-th from now gets a spoiled "
                "answer",
                3,
                3,
                kDevice,
                {},
                malformed},
        Command{"clear-faults",
                "\n      forgets all of fail, fail-nth and malformed",
                0,
                0,
                {},
                {},
                clearFaults},
        Command{"stall",
                "[UDID] [SERVICE|KIND]\n      requests wait; without the second word nothing "
                "moves to or from the device",
                0,
                2,
                {},
                {},
                stall},
        Command{"resume", "[UDID] [SERVICE|KIND]\n      ends stalls", 0, 2, {}, {}, resume},
        Command{"latency",
                "MS [--device UDID]\n      time that a round trip takes, half each way",
                1,
                1,
                kDevice,
                {},
                latency},
        Command{"bandwidth",
                "BYTES_PER_S [--device UDID]\n      what the link carries in each "
                "direction, 0 without limit",
                1,
                1,
                kDevice,
                {},
                bandwidth},
        Command{"counters",
                "[reset] [--device UDID]\n      one line a kind: device (- for none), "
                "kind, number of requests",
                0,
                1,
                kDevice,
                {},
                counters},
        Command{"mux",
                "start|stop|kill|hang|unhang [--empty MS]\n      the multiplexer: started with "
                "its list empty for a while (300 ms), ended,\n      ended with its socket's "
                "file left behind, accepting without answering",
                1,
                1,
                {"--empty"},
                {},
                multiplexer}};
    return kCommands;
}

}  // namespace quillbox::simulator
