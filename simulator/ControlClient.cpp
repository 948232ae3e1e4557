// SPDX-License-Identifier: GPL-3.0-or-later
#include "ControlClient.h"

#include "Commands.h"
#include "UnixSocket.h"
#include "Wire/AfcLists.h"
#include "Wire/AfcProtocol.h"
#include "Wire/PropertyListFrame.h"

#include <algorithm>
#include <iostream>

namespace quillbox::simulator {
namespace {

int complain(int status, const std::string& text) {
    std::cerr << "quillbox-simulator ctl: " << text << '\n';
    return status;
}

std::string help() {
    std::string text = "Usage: quillbox-simulator ctl --control PATH COMMAND ...\n"
                       "\n"
                       "Commands a running simulator. UDID is a device's identifier, or \"all\".\n"
                       "Exit status: 0 done, 1 cannot be done, 2 wrong usage.\n\n" +
                       commandsHelp() + "\nKinds of requests:\n ";
    for (const wire::AfcOperation operation : wire::afcRequests()) {
        text += " " + std::string{wire::afcRequestName(operation)};
    }
    text += " any (every one of these)\n";
    for (const RequestGroup group :
         {RequestGroup::Multiplexer, RequestGroup::Lockdown, RequestGroup::HouseArrest,
          RequestGroup::Applications, RequestGroup::HomeScreen}) {
        text += " ";
        for (const std::string_view name : requestNames(group)) {
            text += " " + std::string{name};
        }
        text += "\n";
    }
    return text +
           "A status is a number or name (permission-denied) for the first line, a number for the\n"
           "second (the multiplexer), a word (PasswordProtected) for the others.\n"
           "\nVariants of spoiled answers:\n  " +
           malformedNames() + "\n";
}

/// A folder is meant as the client sees it, not as the simulator does.
void makeFoldersAbsolute(std::vector<std::string>& command) {
    constexpr std::string_view kOption = "--media";
    for (std::size_t i = 0; i < command.size(); ++i) {
        if (command[i] == kOption && i + 1 < command.size()) {
            command[i + 1] = std::filesystem::absolute(command[i + 1]).string();
        } else if (command[i].starts_with(std::string{kOption} + "=")) {
            const std::string folder = command[i].substr(kOption.size() + 1);
            command[i] = std::string{kOption} + "=" + std::filesystem::absolute(folder).string();
        }
    }
}

}  // namespace

int runControlClient(const std::vector<std::string>& arguments) {
    if (std::ranges::find(arguments, "--help") != arguments.end()) {
        std::cout << help();
        return 0;
    }
    constexpr std::string_view kOption = "--control";
    std::string path;
    auto rest = arguments.begin();
    if (!arguments.empty() && arguments[0].starts_with(std::string{kOption} + "=")) {
        path = arguments[0].substr(kOption.size() + 1);
        rest += 1;
    } else if (arguments.size() > 1 && arguments[0] == kOption) {
        path = arguments[1];
        rest += 2;
    }
    if (path.empty()) {
        return complain(2, "--control PATH is needed before the command; --help tells more");
    }
    std::vector<std::string> command{rest, arguments.end()};
    if (command.empty()) {
        return complain(2, "a command is needed; --help lists them");
    }
    makeFoldersAbsolute(command);
    const UniqueFd socket = connectTo(path);
    if (!socket) {
        return complain(1, "no simulator answers on " + path);
    }
    constexpr std::size_t kLongestAnswer = 64U << 20U;
    std::optional<wire::Bytes> answer;
    if (sendAll(socket.get(), wire::encodeFrame(wire::joinNames(command)))) {
        answer = readBlock(socket.get(), kLongestAnswer);
    }
    if (!answer) {
        return complain(1, "the simulator on " + path + " has ended");
    }
    const std::string_view text = wire::asText(*answer);
    const int status = text.front() - '0';
    if (status != 0) {
        return complain(status, std::string{text.substr(1)});
    }
    if (text.size() > 1) {
        std::cout << text.substr(1) << '\n';
    }
    return 0;
}

}  // namespace quillbox::simulator
