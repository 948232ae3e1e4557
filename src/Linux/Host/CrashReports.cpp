// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/CrashReports.h"

#include "Linux/Host/AtomicFile.h"

#include <execinfo.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <string_view>
#include <vector>

namespace quillbox::host {

namespace {

constexpr std::string_view kNew = ".crash";
constexpr std::string_view kKnown = ".txt";

struct CrashSignal {
    int number;
    const char* name;
};

constexpr std::array<CrashSignal, 5> kSignals{{{SIGSEGV, "SIGSEGV"},
                                               {SIGBUS, "SIGBUS"},
                                               {SIGFPE, "SIGFPE"},
                                               {SIGILL, "SIGILL"},
                                               {SIGABRT, "SIGABRT"}}};

// What the handler needs, made before: a crashed process must not allocate.
std::string g_reportStart;   // the path of a report without its number
std::string g_reportHeader;  // ends with a line feed
std::array<std::byte, 64 * 1024> g_handlerStack;

void writeAll(int file, const char* text, std::size_t length) {
    while (length > 0) {
        const auto written = ::write(file, text, length);
        if (written <= 0) {
            return;
        }
        text += written;
        length -= static_cast<std::size_t>(written);
    }
}

void writeText(int file, const char* text) {
    writeAll(file, text, std::strlen(text));
}

/// Appends a text and ends it with a NUL, as far as there is room.
void append(std::array<char, 4096>& buffer, std::size_t& length, const char* text) {
    while (*text != '\0' && length + 1 < buffer.size()) {
        buffer[length++] = *text++;
    }
    buffer[length] = '\0';
}

void append(std::array<char, 4096>& buffer, std::size_t& length, std::uint64_t number) {
    std::array<char, 24> digits{};
    std::size_t at = digits.size() - 1;
    do {
        digits[--at] = static_cast<char>('0' + number % 10);
        number /= 10;
    } while (number != 0);
    append(buffer, length, &digits[at]);
}

void writeReport(int signal) {
    timespec now = {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    std::array<char, 4096> path{};
    std::size_t length = 0;
    append(path, length, g_reportStart.c_str());
    append(path, length, static_cast<std::uint64_t>(now.tv_sec));
    append(path, length, "-");
    append(path, length, static_cast<std::uint64_t>(::getpid()));
    append(path, length, kNew.data());
    const int file = ::open(path.data(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file < 0) {
        return;
    }
    writeText(file, g_reportHeader.c_str());
    for (const auto& each : kSignals) {
        if (each.number == signal) {
            writeText(file, each.name);
        }
    }
    writeText(file, "\n\n");
    std::array<void*, 128> frames{};
    const int depth = ::backtrace(frames.data(), static_cast<int>(frames.size()));
    ::backtrace_symbols_fd(frames.data(), depth, file);
    ::close(file);
}

extern "C" void reportAndDie(int signal) {
    // The default action was restored at entry: whatever goes wrong from here on ends the process.
    writeReport(signal);
    ::raise(signal);
}

}  // namespace

CrashReports::CrashReports(std::string folder, Workspace& workspace)
    : folder_(std::move(folder)), workspace_(workspace) {}

void CrashReports::checkForNewCrashes() {
    std::vector<std::filesystem::path> reports;
    std::error_code error;
    for (std::filesystem::directory_iterator each(folder_, error), end; !error && each != end;
         each.increment(error)) {
        if (each->path().extension() == kNew) {
            reports.push_back(each->path());
        }
    }
    bool isTold = false;
    for (const auto& report : reports) {
        auto known = report;
        known.replace_extension(kKnown);
        // One that cannot be marked would be told at every start.
        std::filesystem::rename(report, known, error);
        isTold = isTold || !error;
    }
    if (isTold) {
        workspace_.offerToShow("Quillbox ended unexpectedly.",
                               "A report about it was kept on this computer, in " + folder_ + ".",
                               folder_);
    }
}

bool CrashReports::reportCrashes(const std::string& folder, const std::string& header) {
    if (makeFolders(folder, 0700) != 0) {
        return false;
    }
    g_reportStart = folder + "/quillbox-";
    g_reportHeader = header + "\n";
    // The first call loads a library, which a crashed process could not.
    std::array<void*, 1> frame{};
    ::backtrace(frame.data(), 1);
    stack_t stack = {};
    stack.ss_sp = g_handlerStack.data();
    stack.ss_size = g_handlerStack.size();
    ::sigaltstack(&stack, nullptr);
    struct sigaction action = {};
    action.sa_handler = reportAndDie;
    action.sa_flags = static_cast<int>(SA_ONSTACK | SA_RESETHAND | SA_NODEFER);
    for (const auto& each : kSignals) {
        ::sigaction(each.number, &action, nullptr);
    }
    return true;
}

}  // namespace quillbox::host
