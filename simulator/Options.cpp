// SPDX-License-Identifier: GPL-3.0-or-later
#include "Options.h"

#include "DeviceOptions.h"

#include <unistd.h>

#include <algorithm>

namespace quillbox::simulator {
namespace {

Options parsed(const std::vector<std::string>& arguments) {
    std::set<std::string> valued{"--socket", "--control", "--state", "--key", "--devices"};
    std::set<std::string> switches{"--same-name", "--exit-with-parent"};
    valued.insert(deviceValueOptions().begin(), deviceValueOptions().end());
    switches.insert(deviceSwitches().begin(), deviceSwitches().end());
    const Arguments all{arguments, valued, switches};
    if (!all.words().empty()) {
        throw UsageError{"unexpected argument \"" + all.words().front() + "\""};
    }
    Options options;
    options.parent = ::getppid();
    options.socket = all.value("--socket").value_or("");
    options.state = all.value("--state").value_or("");
    options.key = all.value("--key").value_or("");
    if (options.socket.empty() || options.state.empty()) {
        throw UsageError{"--socket PATH and --state FOLDER are needed; --help tells more"};
    }
    options.control = all.value("--control").value_or(options.socket.string() + ".control");
    constexpr std::uint64_t kMostDevices = 200;
    options.devices = static_cast<unsigned>(all.number("--devices", kMostDevices).value_or(0));
    options.sameName = all.has("--same-name") || all.has("--name");
    options.exitWithParent = all.has("--exit-with-parent");
    applyDeviceOptions(all, options.device);
    return options;
}

}  // namespace

ParsedOptions parseOptions(const std::vector<std::string>& arguments) {
    ParsedOptions result;
    if (std::ranges::find(arguments, "--help") != arguments.end()) {
        result.help = true;
        return result;
    }
    try {
        result.options = parsed(arguments);
    } catch (const UsageError& error) {
        result.error = error.what();
    }
    return result;
}

std::string optionsHelp() {
    return std::string{
               "Usage: quillbox-simulator --socket PATH --state FOLDER [OPTION ...]\n"
               "       quillbox-simulator ctl --control PATH COMMAND ...  (see ctl --help)\n"
               "\n"
               "Simulates devices behind a multiplexer on a UNIX socket. Clients find it through\n"
               "USBMUXD_SOCKET_ADDRESS=UNIX:PATH. Prints \"ready\" when it listens.\n"
               "\n"
               "  --socket PATH        the multiplexer's socket\n"
               "  --control PATH       the socket for commands; PATH.control beside the socket\n"
               "                       without this option\n"
               "  --state FOLDER       keys and the devices' files, kept for the next time:\n"
               "                       FOLDER/<identifier>/{Root,Media,Apps/<application>}\n"
               "  --key FILE           the devices' key pair, made when it is not there; several\n"
               "                       simulators may share it, which saves making one each\n"
               "  --devices N          N devices at the start, each with a name of its own\n"
               "  --same-name          all with the same name\n"
               "  --exit-with-parent   end when the starting process ends\n"
               "  --help               this text\n"
               "\n"
               "What the devices made at the start are like:\n"} +
           deviceOptionsHelp();
}

}  // namespace quillbox::simulator
