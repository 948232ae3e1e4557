// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/Options.h"
#include "App/Program.h"
#include "App/RunDoctor.h"
#include "App/RunVerb.h"
#include "Linux/Host/SystemLog.h"

#include <clocale>
#include <exception>
#include <iostream>
#include <malloc.h>

namespace {

constexpr int kFailure = 1;
constexpr int kBadUsage = 2;
constexpr int kLargePiece = 128 << 10;  // bytes

}  // namespace

int main(int argc, char** argv) {
    using namespace quillbox;
    std::setlocale(LC_ALL, "");
    // Logs, verbs and numbers read alike everywhere.
    std::setlocale(LC_MESSAGES, "C");
    std::setlocale(LC_NUMERIC, "C");
    // Large pieces, of which copies are made, go back to the system when they are done with: the
    // library would begin to keep them after the first.
    mallopt(M_MMAP_THRESHOLD, kLargePiece);
    try {
        const auto parsed = app::parseOptions({argv + 1, argv + argc});
        if (parsed.error) {
            std::cerr << "quillbox: " << host::escapedForLog(*parsed.error)
                      << "; see quillbox --help\n";
            return kBadUsage;
        }
        if (parsed.options.help) {
            std::cout << app::usageText();
            return 0;
        }
        if (parsed.options.version) {
            std::cout << "Quillbox " << QUILLBOX_VERSION << "\n";
            return 0;
        }
        if (!parsed.options.verb.empty()) {
            return parsed.options.verb.front() == "doctor" ? app::runDoctor(parsed.options)
                                                           : app::runVerb(parsed.options);
        }
        return app::runProgram(parsed.options);
    } catch (const std::exception& failure) {
        std::cerr << "quillbox: " << failure.what() << "\n";
        return kFailure;
    }
}
