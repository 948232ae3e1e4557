// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/Options.h"

#include "Linux/Control/Verbs.h"
#include "Linux/Host/SystemLog.h"

#include <cstddef>
#include <utility>

namespace quillbox::app {

namespace {

/// Goes through the arguments one after the other.
class Parser {
public:
    explicit Parser(const std::vector<std::string>& arguments) : arguments_(arguments) {}

    ParsedOptions parse() {
        while (next_ < arguments_.size() && !result_.error) {
            const std::size_t first = next_;
            const std::string& argument = arguments_[next_++];
            if (onlyWords_ || !argument.starts_with('-')) {
                result_.options.verb.push_back(argument);
            } else if (argument == "--") {
                onlyWords_ = true;
            } else {
                take(argument);
                noteGiven(first);
            }
        }
        checkVerb();
        return result_;
    }

private:
    /// The preference file tells which program is meant: it is the same for a second start.
    void noteGiven(std::size_t first) {
        if (arguments_[first].starts_with("--preferences")) {
            return;
        }
        auto& given = result_.options.given;
        given.insert(given.end(), arguments_.begin() + static_cast<std::ptrdiff_t>(first),
                     arguments_.begin() + static_cast<std::ptrdiff_t>(next_));
    }

    /// A verb goes with those options only that tell which program is meant, and how it answers.
    void checkVerb() {
        const auto& options = result_.options;
        if (result_.error || options.help || options.version) {
            return;
        }
        if (options.verb.empty()) {
            if (options.json) {
                fail("the option --json needs a command, as in quillbox list --json");
            }
            return;
        }
        if (const auto complaint = control::complaintAbout(options.verb)) {
            fail(*complaint);
            return;
        }
        const bool isDoctor = options.verb.front() == "doctor";
        for (const auto& [wasGiven, name] :
             {std::pair(options.headless, "--headless"),
              std::pair(options.volumes.has_value() && !isDoctor, "--volumes"),
              std::pair(!options.simulatedMedia.empty(), "--simulate=FOLDER"),
              std::pair(logLevelGiven_, "--log-level")}) {
            if (wasGiven) {
                fail(std::string("the option ") + name + " is for starting Quillbox, not for " +
                     options.verb.front());
            }
        }
    }

    void take(const std::string& argument) {
        const auto equals = argument.find('=');
        const bool isLong = argument.starts_with("--");
        const std::string name = isLong ? argument.substr(0, equals) : argument;
        std::optional<std::string> attached;
        if (isLong && equals != std::string::npos) {
            attached = argument.substr(equals + 1);
        }
        auto& options = result_.options;
        if (name == "--simulate") {
            takeSimulate(attached);
        } else if (name == "--volumes") {
            options.volumes = value(name, attached);
        } else if (name == "--preferences") {
            options.preferences = value(name, attached);
        } else if (name == "--log-level") {
            logLevelGiven_ = true;
            takeLogLevel(value(name, attached));
        } else if (bool* flag = flagNamed(name)) {
            *flag = true;
            if (attached) {
                fail("the option " + name + " takes no value");
            }
        } else {
            fail("unknown option " + argument);
        }
    }

    bool* flagNamed(const std::string& name) {
        auto& options = result_.options;
        if (name == "--headless") {
            return &options.headless;
        }
        if (name == "--json") {
            return &options.json;
        }
        if (name == "--version") {
            return &options.version;
        }
        return name == "--help" || name == "-h" ? &options.help : nullptr;
    }

    void takeSimulate(const std::optional<std::string>& attached) {
        if (attached && attached->empty()) {
            fail("the option --simulate= needs a folder behind the equals sign");
        }
        result_.options.simulate = true;
        result_.options.simulatedMedia = attached.value_or("");
    }

    void takeLogLevel(const std::string& word) {
        if (const auto level = host::logLevelNamed(word)) {
            result_.options.logLevel = *level;
        } else {
            fail("unknown log level \"" + word + "\": error, warning, info or debug");
        }
    }

    std::string value(const std::string& name, const std::optional<std::string>& attached) {
        std::string text = attached.value_or("");
        if (!attached && next_ < arguments_.size()) {
            text = arguments_[next_++];
        }
        if (text.empty()) {
            fail("the option " + name + " needs a value");
        }
        return text;
    }

    void fail(const std::string& what) {
        if (!result_.error) {
            result_.error = what;
        }
    }

    const std::vector<std::string>& arguments_;
    std::size_t next_ = 0;
    bool onlyWords_ = false;
    bool logLevelGiven_ = false;
    ParsedOptions result_;
};

}  // namespace

ParsedOptions parseOptions(const std::vector<std::string>& arguments) {
    return Parser(arguments).parse();
}

std::string usageText() {
    std::string text =
        "Usage: quillbox [OPTION]...\n"
        "       quillbox COMMAND [ARGUMENT]... [--json] [--preferences FILE]\n"
        "Shows attached iPhones and iPads as volumes. With a command, says to the Quillbox that\n"
        "runs what its menu says too.\n"
        "\n"
        "  --headless            run without a display: mount, log, and end on SIGINT or\n"
        "                        SIGTERM with every volume unmounted\n"
        "  --simulate[=FOLDER]   attach one simulated phone, with sample content or with\n"
        "                        FOLDER as its media area; with a command: the Quillbox that\n"
        "                        was started so\n"
        "  --volumes DIR         let volumes appear in DIR (else /Volumes, else ~/Volumes)\n"
        "  --preferences FILE    keep the settings in FILE (else in the configuration folder);\n"
        "                        with a command: the Quillbox that was started so\n"
        "  --log-level LEVEL     error, warning, info (the default) or debug\n"
        "  --json                let a command print JSON\n"
        "  --version             print the version and end\n"
        "  --help                print this text and end\n"
        "\n"
        "Commands:\n";
    constexpr std::size_t kColumn = 24;
    for (const auto& each : control::verbs()) {
        std::string line = "  " + std::string(each.name) + " " + std::string(each.arguments);
        line += line.size() < kColumn ? std::string(kColumn - line.size(), ' ')
                                      : "\n" + std::string(kColumn, ' ');
        text += line + std::string(each.purpose) + "\n";
    }
    return text +
           "\n"
           "DEVICE is a device's identifier, its serial number or its name; APPLICATION a bundle\n"
           "identifier or a name.\n"
           "\n"
           "Exit status: 0 done; 1 it could not be done; 2 the command line is wrong; 3 no "
           "Quillbox\n"
           "runs that could carry out the command.\n";
}

}  // namespace quillbox::app
