// SPDX-License-Identifier: GPL-3.0-or-later
#include "CommandTable.h"
#include "DeviceOptions.h"

#include <array>

namespace quillbox::simulator {
namespace {

Transport transportOf(const Arguments& arguments) {
    return arguments.has("--network") ? Transport::Network : Transport::Usb;
}

const char* nameOf(Transport transport) {
    return transport == Transport::Usb ? "usb" : "network";
}

std::string answerName(Trust::Answer answer) {
    switch (answer) {
    case Trust::Answer::NotAsked:
        return "not-asked";
    case Trust::Answer::Pending:
        return "pending";
    case Trust::Answer::Refused:
        return "refused";
    case Trust::Answer::Accepted:
        return "trusted";
    }
    return "unknown";
}

std::string lockName(Trust::Lock lock) {
    switch (lock) {
    case Trust::Lock::Unlocked:
        return "unlocked";
    case Trust::Lock::Locked:
        return "locked";
    case Trust::Lock::LockedSinceStart:
        return "locked-since-start";
    }
    return "unknown";
}

/// Does the same with each device that the first word names; one line for each.
template <typename Work>
std::string forEach(Simulation& simulation, const Arguments& arguments, Work&& work) {
    std::string text;
    for (const auto& device : devicesNamed(simulation, arguments.words().front())) {
        text += text.empty() ? "" : "\n";
        text += device->udid() + " " + work(device);
    }
    return text;
}

std::string attach(Simulation& simulation, const Arguments& arguments) {
    Multiplexer::AttachOptions options;
    options.transport = transportOf(arguments);
    constexpr std::uint64_t kLongestDelay = 600'000;
    options.delay =
        std::chrono::milliseconds{arguments.number("--delay", kLongestDelay).value_or(0)};
    options.pairedFirst = arguments.has("--paired-first");
    return forEach(simulation, arguments, [&](const std::shared_ptr<Device>& device) {
        if (options.pairedFirst) {
            simulation.multiplexer().pairByItself(*device);
        } else if (device->trust.answer() != Trust::Answer::Accepted &&
                   device->trust.lock() == Trust::Lock::Unlocked) {
            // The computer's own service asks by itself: the question stands on the screen.
            device->trust.setAnswer(Trust::Answer::Pending);
        }
        if (!simulation.multiplexer().attach(device, options)) {
            throw CannotDo{device->udid() + " is attached by " + nameOf(options.transport) +
                           " already"};
        }
        return std::string{"attached"};
    });
}

std::string detach(Simulation& simulation, const Arguments& arguments) {
    return forEach(simulation, arguments, [&](const std::shared_ptr<Device>& device) {
        const Transport transport = transportOf(arguments);
        if (!simulation.multiplexer().detach(*device, transport)) {
            throw CannotDo{device->udid() + " is not attached by " + nameOf(transport)};
        }
        return std::string{"detached"};
    });
}

std::string trust(Simulation& simulation, const Arguments& arguments) {
    return forEach(simulation, arguments, [&](const std::shared_ptr<Device>& device) {
        device->trust.setAnswer(Trust::Answer::Accepted);
        if (arguments.has("--silent")) {
            return std::string{"trusts the next computer that asks"};
        }
        simulation.multiplexer().pairByItself(*device);
        simulation.multiplexer().announcePaired(*device, arguments.has("--twice") ? 2 : 1);
        return std::string{"trusted"};
    });
}

std::string distrust(Simulation& simulation, const Arguments& arguments) {
    return forEach(simulation, arguments, [&](const std::shared_ptr<Device>& device) {
        device->trust.reset();
        if (arguments.has("--forget-record")) {
            simulation.multiplexer().forgetRecord(device->udid());
        }
        return std::string{"has forgotten all computers"};
    });
}

std::string refuse(Simulation& simulation, const Arguments& arguments) {
    return forEach(simulation, arguments, [](const std::shared_ptr<Device>& device) {
        device->trust.setAnswer(Trust::Answer::Refused);
        return std::string{"refuses to pair"};
    });
}

std::string pending(Simulation& simulation, const Arguments& arguments) {
    return forEach(simulation, arguments, [](const std::shared_ptr<Device>& device) {
        device->trust.setAnswer(Trust::Answer::Pending);
        return std::string{"shows the question"};
    });
}

std::string lock(Simulation& simulation, const Arguments& arguments) {
    return forEach(simulation, arguments, [&](const std::shared_ptr<Device>& device) {
        device->trust.setLock(arguments.has("--since-start") ? Trust::Lock::LockedSinceStart
                                                             : Trust::Lock::Locked);
        return std::string{"locked"};
    });
}

std::string unlock(Simulation& simulation, const Arguments& arguments) {
    return forEach(simulation, arguments, [](const std::shared_ptr<Device>& device) {
        device->trust.setLock(Trust::Lock::Unlocked);
        return std::string{"unlocked"};
    });
}

std::string dropConnections(Simulation& simulation, const Arguments& arguments) {
    const std::string service = arguments.words().size() > 1 ? arguments.words()[1] : "";
    if (!service.empty() && !isServiceName(service)) {
        throw UsageError{"there is no service \"" + service + "\""};
    }
    return forEach(simulation, arguments, [&](const std::shared_ptr<Device>& device) {
        return "dropped " + std::to_string(device->endLinks(std::nullopt, service)) +
               " connections";
    });
}

std::string rename(Simulation& simulation, const Arguments& arguments) {
    const auto device = deviceNamed(simulation, arguments.words()[0]);
    device->setName(arguments.words()[1]);
    return device->udid() + " is called " + arguments.words()[1];
}

std::string space(Simulation& simulation, const Arguments& arguments) {
    const auto device = deviceNamed(simulation, arguments.words()[0]);
    device->setFreeBytes(parseNumber(arguments.words()[1], "the number of bytes"));
    return device->udid() + " reports " + arguments.words()[1] + " bytes free";
}

std::string list(Simulation& simulation, const Arguments& /*arguments*/) {
    std::string text;
    for (const auto& device : simulation.devices()) {
        text += (text.empty() ? "" : "\n") + device->udid() + " \"" + device->name() + "\" " +
                device->description().serial + " " + answerName(device->trust.answer()) + " " +
                lockName(device->trust.lock());
        const auto plugs = simulation.multiplexer().plugs(device->udid());
        for (const auto& plug : plugs) {
            text += std::string{" "} + nameOf(plug.transport) + ":" + std::to_string(plug.number);
        }
        text += plugs.empty() ? " detached" : "";
        for (const auto& [service, count] : device->openServices()) {
            text += " " + service + "=" + std::to_string(count);
        }
    }
    return text.empty() ? "no device" : text;
}

std::string addDevice(Simulation& simulation, const Arguments& arguments) {
    NewDevice device;
    device.description.udid = arguments.words().front();
    device.description.serial =
        "QS" + device.description.udid.substr(
                   0, std::min<std::size_t>(10, device.description.udid.size()));
    applyDeviceOptions(arguments, device);
    return simulation.add(std::move(device))->udid() + " added";
}

std::string removeDevice(Simulation& simulation, const Arguments& arguments) {
    const std::string& udid = arguments.words().front();
    if (!simulation.remove(udid)) {
        throw CannotDo{"there is no device " + udid};
    }
    return udid + " removed";
}

std::string installApplication(Simulation& simulation, const Arguments& arguments) {
    const auto device = deviceNamed(simulation, arguments.words()[0]);
    Application application;
    application.identifier = arguments.words()[1];
    if (!isApplicationIdentifier(application.identifier)) {
        throw UsageError{"\"" + application.identifier +
                         "\" cannot be an application's identifier"};
    }
    application.displayName = arguments.value("--name");
    application.iconFile = arguments.value("--icon");
    if (arguments.has("--sharing")) {
        application.fileSharing = true;
    }
    application.type = arguments.has("--system") ? "System" : "User";
    application.developerSigned = arguments.has("--developer");
    application.homeScreenPicture = !arguments.has("--no-picture");
    device->applications.install(application);
    return device->udid() + " has " + application.identifier;
}

std::string uninstallApplication(Simulation& simulation, const Arguments& arguments) {
    const auto device = deviceNamed(simulation, arguments.words()[0]);
    if (!device->applications.uninstall(arguments.words()[1])) {
        throw CannotDo{"there is no application " + arguments.words()[1]};
    }
    return device->udid() + " has no " + arguments.words()[1] + " any more";
}

}  // namespace

std::span<const Command> deviceCommands() {
    static const std::array kCommands{
        Command{
            "list",
            "\n      one line a device: identifier, name, serial number, trust, lock, plugs "
            "(usb or\n      network with the multiplexer's number), open connections by service",
            0,
            0,
            {},
            {},
            list},
        Command{"add-device",
                "UDID [OPTION ...]\n      a further device; options as at the "
                "program's start (--name, --sample ...)",
                1, 1, deviceValueOptions(), deviceSwitches(), addDevice},
        Command{"remove-device",
                "UDID\n      detaches a device and forgets it; its files stay",
                1,
                1,
                {},
                {},
                removeDevice},
        Command{
            "attach",
            "UDID [--network] [--delay MS] [--paired-first]\n      plugs it in; clients are told "
            "after the delay, of the pairing first when no\n      question is needed",
            1,
            1,
            {"--delay"},
            {"--network", "--paired-first"},
            attach},
        Command{"detach",
                "UDID [--network]\n      pulls it out: its connections end, then clients are "
                "told",
                1,
                1,
                {},
                {"--network"},
                detach},
        Command{"trust",
                "UDID [--twice] [--silent]\n      the question is accepted; clients are told "
                "once, twice, or not at all (the\n      computer's own try had failed: a "
                "client must ask to pair)",
                1,
                1,
                {},
                {"--twice", "--silent"},
                trust},
        Command{"distrust",
                "UDID [--forget-record]\n      it forgets all computers; the computer "
                "keeps its record, or forgets it too",
                1,
                1,
                {},
                {"--forget-record"},
                distrust},
        Command{"refuse",
                "UDID\n      the question is refused, until the next plugging in",
                1,
                1,
                {},
                {},
                refuse},
        Command{"pending", "UDID\n      the question stands on the screen", 1, 1, {}, {}, pending},
        Command{"lock",
                "UDID [--since-start]\n      locks it; with the option as if not unlocked since "
                "its start",
                1,
                1,
                {},
                {"--since-start"},
                lock},
        Command{"unlock", "UDID\n      unlocks it", 1, 1, {}, {}, unlock},
        Command{"drop-connections",
                "UDID [SERVICE]\n      ends its connections while it stays attached",
                1,
                2,
                {},
                {},
                dropConnections},
        Command{"rename", "UDID NAME\n      gives it another name", 2, 2, {}, {}, rename},
        Command{"space", "UDID BYTES\n      free bytes that it reports", 2, 2, {}, {}, space},
        Command{"install",
                "UDID IDENTIFIER [--name TEXT] [--icon FILE] [--sharing] [--system] [--developer] "
                "[--no-picture]\n      installs an application",
                2,
                2,
                {"--name", "--icon"},
                {"--sharing", "--system", "--developer", "--no-picture"},
                installApplication},
        Command{"uninstall",
                "UDID IDENTIFIER\n      removes an application from the list",
                2,
                2,
                {},
                {},
                uninstallApplication}};
    return kCommands;
}

}  // namespace quillbox::simulator
