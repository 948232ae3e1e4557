// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/Options.h"

#include "Linux/Host/SystemLog.h"

#include <cstddef>

namespace quillbox::app {

namespace {

/// Goes through the arguments one after the other.
class Parser {
public:
    explicit Parser(const std::vector<std::string>& arguments) : arguments_(arguments) {}

    ParsedOptions parse() {
        while (next_ < arguments_.size() && !result_.error) {
            take(arguments_[next_++]);
        }
        return result_;
    }

private:
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
            takeLogLevel(value(name, attached));
        } else if (bool* flag = flagNamed(name)) {
            *flag = true;
            if (attached) {
                fail("the option " + name + " takes no value");
            }
        } else {
            fail((isLong ? "unknown option " : "unexpected argument ") + argument);
        }
    }

    bool* flagNamed(const std::string& name) {
        auto& options = result_.options;
        if (name == "--headless") {
            return &options.headless;
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
    ParsedOptions result_;
};

}  // namespace

ParsedOptions parseOptions(const std::vector<std::string>& arguments) {
    return Parser(arguments).parse();
}

std::string_view usageText() {
    return "Usage: quillbox [OPTION]...\n"
           "Shows attached iPhones and iPads as volumes.\n"
           "\n"
           "  --headless            run without a display: mount, log, and end on SIGINT or\n"
           "                        SIGTERM with every volume unmounted\n"
           "  --simulate[=FOLDER]   attach one simulated phone, with sample content or with\n"
           "                        FOLDER as its media area\n"
           "  --volumes DIR         let volumes appear in DIR (else /Volumes, else ~/Volumes)\n"
           "  --preferences FILE    keep the settings in FILE (else in the configuration folder)\n"
           "  --log-level LEVEL     error, warning, info (the default) or debug\n"
           "  --version             print the version and end\n"
           "  --help                print this text and end\n"
           "\n"
           "Exit status: 0 ended as asked; 1 could not start, or another Quillbox runs for the\n"
           "same devices and settings; 2 the command line is wrong.\n";
}

}  // namespace quillbox::app
