// SPDX-License-Identifier: GPL-3.0-or-later
#include "ControlClient.h"
#include "ControlServer.h"
#include "Options.h"
#include "Simulation.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <exception>
#include <iostream>

namespace {

using namespace quillbox::simulator;

constexpr int kUsageError = 2;

/// Blocks the signals that end the program, in this thread and all that it starts, and gives a
/// descriptor that tells of them.
UniqueFd catchEnd() {
    std::signal(SIGPIPE, SIG_IGN);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return UniqueFd{::signalfd(-1, &signals, SFD_CLOEXEC)};
}

int simulate(const Options& options) {
    const UniqueFd end = catchEnd();
    if (options.exitWithParent) {
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (::getppid() != options.parent) {
            return 0;  // the parent has gone before it could be watched
        }
    }
    // The link's timers are what tests measure: no slack of the usual 50 microseconds.
    ::prctl(PR_SET_TIMERSLACK, 1);
    Simulation simulation{options.socket, options.state, options.key};
    for (unsigned i = 0; i < options.devices; ++i) {
        NewDevice device = options.device;
        const DeviceDescription numbered = numberedDevice(i);
        device.description.udid = numbered.udid;
        device.description.serial = numbered.serial;
        if (!options.sameName) {
            device.description.name = numbered.name;
        }
        simulation.add(std::move(device));
    }
    ControlServer control{simulation, options.control};
    simulation.multiplexer().start(std::chrono::milliseconds{0});
    std::cout << "ready" << std::endl;

    std::array<pollfd, 2> events{pollfd{end.get(), POLLIN, 0},
                                 pollfd{control.quitEvent(), POLLIN, 0}};
    while (::poll(events.data(), events.size(), -1) < 0 && errno == EINTR) {
    }
    control.stop();
    simulation.shutDown();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const std::vector<std::string> arguments{argv + 1, argv + argc};
        if (!arguments.empty() && arguments.front() == "ctl") {
            return runControlClient({arguments.begin() + 1, arguments.end()});
        }
        const ParsedOptions parsed = parseOptions(arguments);
        if (!parsed.error.empty()) {
            std::cerr << "quillbox-simulator: " << parsed.error << '\n';
            return kUsageError;
        }
        if (parsed.help) {
            std::cout << optionsHelp();
            return 0;
        }
        return simulate(parsed.options);
    } catch (const std::exception& error) {
        std::cerr << "quillbox-simulator: " << error.what() << '\n';
        return 1;
    }
}
