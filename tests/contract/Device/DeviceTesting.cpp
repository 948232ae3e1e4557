// SPDX-License-Identifier: GPL-3.0-or-later
#include "DeviceTesting.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>

namespace quillbox::testing {

namespace {

/// Starts a program; its output can be read from `output`.
pid_t spawn(const std::vector<std::string>& words, int& output) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    std::vector<char*> arguments;
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    const pid_t child = vfork();
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    close(ends[1]);
    output = ends[0];
    return child;
}

std::string readUntil(int descriptor, const std::string& end) {
    std::string text;
    std::array<char, 4096> buffer{};
    while (end.empty() || text.find(end) == std::string::npos) {
        const ssize_t count = read(descriptor, buffer.data(), buffer.size());
        if (count <= 0) {
            break;
        }
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return text;
}

}  // namespace

std::string udidOf(unsigned number) {
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%032x%08x", 0x51B0U, number);
    return text.data();
}

std::string serialOf(unsigned number) {
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "QB%010u", number);
    return text.data();
}

Simulator::Simulator(const std::vector<std::string>& options) {
    std::string name = "/tmp/device_test_XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no folder for the simulator");
    }
    folder_ = name;
    const std::string socket = (folder_ / "mux").string();
    std::vector<std::string> words{
        SIMULATOR,           "--socket", socket, "--state", (folder_ / "state").string(),
        "--exit-with-parent"};
    words.insert(words.end(), options.begin(), options.end());
    int output = -1;
    process_ = spawn(words, output);
    const std::string text = readUntil(output, "ready");
    close(output);
    if (text.find("ready") == std::string::npos) {
        throw std::runtime_error("the simulator does not start");
    }
    setenv("USBMUXD_SOCKET_ADDRESS", ("UNIX:" + socket).c_str(), 1);
}

Simulator::~Simulator() {
    kill(process_, SIGTERM);
    waitpid(process_, nullptr, 0);
    std::error_code error;
    std::filesystem::remove_all(folder_, error);
}

std::string Simulator::control(const std::vector<std::string>& words) const {
    std::vector<std::string> all{SIMULATOR, "ctl", "--control", (folder_ / "mux.control").string()};
    all.insert(all.end(), words.begin(), words.end());
    int output = -1;
    const pid_t child = spawn(all, output);
    std::string text = readUntil(output, "");
    close(output);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0) << words.front() << ": " << text;
    return text;
}

long Simulator::count(const std::string& kind, unsigned device) const {
    const std::string text = "\n" + control({"counters"});
    const std::string wanted = "\n" + udidOf(device) + " " + kind + " ";
    const std::size_t at = text.find(wanted);
    return at == std::string::npos ? 0 : std::atol(text.c_str() + at + wanted.size());
}

std::filesystem::path Simulator::media(unsigned device) const {
    return folder_ / "state" / udidOf(device) / "Media";
}

std::filesystem::path Simulator::application(const std::string& identifier, unsigned device) const {
    return folder_ / "state" / udidOf(device) / "Apps" / identifier;
}

void MemoryLog::write(LogLevel, std::string_view text) {
    const std::lock_guard lock{mutex_};
    lines_.emplace_back(text);
}

std::size_t MemoryLog::count(const std::string& part) const {
    const std::lock_guard lock{mutex_};
    std::size_t found = 0;
    for (const std::string& line : lines_) {
        found += line.find(part) != std::string::npos ? 1 : 0;
    }
    return found;
}

std::string MemoryLog::all() const {
    const std::lock_guard lock{mutex_};
    std::string text;
    for (const std::string& line : lines_) {
        text += line + "\n";
    }
    return text;
}

void TestLoop::post(std::function<void()> task) {
    const std::lock_guard lock{mutex_};
    tasks_.push_back(std::move(task));
    changed_.notify_all();
}

bool TestLoop::wait(const std::shared_ptr<Completion>& completion, const void* subject,
                    const std::string& what) {
    ++waits;
    lastWait = what;
    std::unique_lock lock{mutex_};
    waiting_.insert(subject);
    bool finished = false;
    while (!(finished = completion->isFinished()) && !quitting_ && !ended_.contains(subject)) {
        changed_.wait_for(lock, 5ms);
        lock.unlock();
        ++ticks;
        if (onTick) {
            onTick();
        }
        lock.lock();
    }
    waiting_.erase(waiting_.find(subject));
    if (!waiting_.contains(subject)) {
        ended_.erase(subject);
    }
    earlyEnds += finished ? 0 : 1;
    return finished;
}

void TestLoop::endWaits(const void* subject) {
    const std::lock_guard lock{mutex_};
    if (waiting_.contains(subject)) {
        ended_.insert(subject);
    }
    changed_.notify_all();
}

void TestLoop::quit() {
    const std::lock_guard lock{mutex_};
    quitting_ = true;
    changed_.notify_all();
}

void TestLoop::wake() {
    const std::lock_guard lock{mutex_};
    changed_.notify_all();
}

bool TestLoop::runUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        std::function<void()> task;
        {
            std::unique_lock lock{mutex_};
            if (tasks_.empty()) {
                changed_.wait_for(lock, 5ms);
            }
            if (!tasks_.empty()) {
                task = std::move(tasks_.front());
                tasks_.pop_front();
            }
        }
        if (task) {
            task();
        }
        if (std::chrono::steady_clock::now() > end) {
            return condition();
        }
    }
    return true;
}

void TestLoop::runFor(std::chrono::milliseconds time) {
    runUntil([] { return false; }, time);
}

DeviceTest::DeviceTest() {
    signal(SIGPIPE, SIG_IGN);
    onArrival = [this](AMDeviceRef device) { arrivalConnection = openService(device); };
}

DeviceTest::~DeviceTest() {
    library.reset();
    if (HasFailure()) {
        std::fprintf(stderr, "--- the log:\n%s", log.all().c_str());
    }
}

DeviceOptions DeviceTest::quick() {
    DeviceOptions options;
    options.noProgress = 1500ms;
    options.reopenNoProgress = 700ms;
    options.reopenPause = 300ms;
    options.askAgain = 400ms;
    options.multiplexerAnswer = 700ms;
    options.multiplexerCheck = 300ms;
    options.multiplexerGrace = 1000ms;
    return options;
}

void DeviceTest::start(std::vector<std::string> simulatorOptions, const DeviceOptions& options) {
    simulator = std::make_unique<Simulator>(simulatorOptions);
    startLibrary(options);
}

void DeviceTest::startLibrary(const DeviceOptions& options) {
    library = std::make_unique<DeviceLibrary>(loop, log, options);
    std::uint64_t subscription = 0;
    ASSERT_EQ(am().AMDeviceNotificationSubscribe(&DeviceTest::notice, 0, 0, this, &subscription),
              0);
    ASSERT_NE(subscription, 0U);
}

void DeviceTest::notice(AMDeviceNotificationInfo* info, void* userData) {
    auto& test = *static_cast<DeviceTest*>(userData);
    EXPECT_TRUE(test.loop.isMainThread());
    if (info->message == kAMDeviceConnected) {
        test.arrivals.push_back(info->device);
        test.onArrival(info->device);
    } else {
        test.departures.push_back(info->device);
    }
}

AMDeviceRef DeviceTest::connected(std::size_t count) {
    EXPECT_TRUE(loop.runUntil([&] { return arrivals.size() >= count; }));
    return arrivals.size() >= count ? arrivals[count - 1] : nullptr;
}

bool DeviceTest::disconnected(std::size_t count) {
    return loop.runUntil([&] { return departures.size() >= count; });
}

bool DeviceTest::logged(const std::string& part, std::chrono::milliseconds limit) {
    return loop.runUntil([&] { return log.has(part); }, limit);
}

AFCConnectionRef DeviceTest::openService(AMDeviceRef device, const std::string& service) {
    AFCConnectionRef handle = 0;
    AFCConnectionRef connection = 0;
    if (am().AMDeviceConnect(device) != 0 || am().AMDeviceIsPaired(device) != 1 ||
        am().AMDeviceValidatePairing(device) != 0 || am().AMDeviceStartSession(device) != 0 ||
        am().AMDeviceStartService(device, service, &handle, nullptr) != 0 ||
        afc().AFCConnectionOpen(handle, 0, &connection) != kAFCSuccess) {
        return 0;
    }
    EXPECT_NE(handle, 0U);
    EXPECT_NE(connection, handle);
    return connection;
}

AFCConnectionRef DeviceTest::openApplication(AMDeviceRef device, const std::string& identifier) {
    AFCConnectionRef handle = 0;
    AFCConnectionRef connection = 0;
    if (am().AMDeviceStartHouseArrestService(device, identifier, nullptr, &handle, nullptr) != 0 ||
        afc().AFCConnectionOpen(handle, 0, &connection) != kAFCSuccess) {
        return 0;
    }
    return connection;
}

void DeviceTest::aside(const std::function<void()>& work) {
    std::atomic<bool> done{false};
    std::thread thread{[&] {
        work();
        done = true;
    }};
    EXPECT_TRUE(loop.runUntil([&] { return done.load(); }, 60s));
    thread.join();
}

AFCError DeviceTest::writeAll(AFCConnectionRef connection, const std::string& path,
                              const std::string& content) {
    AFCFileRef file = 0;
    if (const AFCError error = afc().AFCFileRefOpen(connection, path, 3, &file); error != 0) {
        return error;
    }
    const AFCError written =
        afc().AFCFileRefWrite(connection, file, content.data(), content.size());
    const AFCError closed = afc().AFCFileRefClose(connection, file);
    return written != 0 ? written : closed;
}

AFCError DeviceTest::readAll(AFCConnectionRef connection, const std::string& path,
                             std::string& content) {
    AFCFileRef file = 0;
    if (const AFCError error = afc().AFCFileRefOpen(connection, path, 1, &file); error != 0) {
        return error;
    }
    content.clear();
    std::vector<char> buffer(1U << 20U);
    while (true) {
        std::uint64_t length = buffer.size();
        if (const AFCError error = afc().AFCFileRefRead(connection, file, buffer.data(), &length);
            error != 0) {
            return error;
        }
        if (length == 0) {
            return afc().AFCFileRefClose(connection, file);
        }
        content.append(buffer.data(), length);
    }
}

AFCError DeviceTest::list(AFCConnectionRef connection, const std::string& path,
                          std::vector<std::string>& names) {
    AFCDirectoryRef directory = 0;
    if (const AFCError error = afc().AFCDirectoryOpen(connection, path, &directory); error != 0) {
        return error;
    }
    const char* name = nullptr;
    AFCError error = kAFCSuccess;
    while ((error = afc().AFCDirectoryRead(connection, directory, &name)) == 0 && name != nullptr) {
        names.emplace_back(name);
    }
    const AFCError closed = afc().AFCDirectoryClose(connection, directory);
    return error != 0 ? error : closed;
}

AFCError DeviceTest::info(AFCConnectionRef connection, const std::string& path,
                          std::map<std::string, std::string>& values) {
    AFCKeyValueRef answer = 0;
    if (const AFCError error = afc().AFCFileInfoOpen(connection, path, &answer); error != 0) {
        return error;
    }
    const char* key = nullptr;
    const char* value = nullptr;
    AFCError error = kAFCSuccess;
    while ((error = afc().AFCKeyValueRead(answer, &key, &value)) == 0 && key != nullptr) {
        values[key] = value;
    }
    const AFCError closed = afc().AFCKeyValueClose(answer);
    return error != 0 ? error : closed;
}

void PlainDeviceTest::begin(const std::vector<std::string>& options) {
    std::vector<std::string> all{"--devices", "1", "--no-tls"};
    all.insert(all.end(), options.begin(), options.end());
    start(all);
    ASSERT_NE(connected(), nullptr);
    ASSERT_NE(connection = arrivalConnection, 0U);
}

void PlainDeviceTest::makeFile(const std::string& name, std::size_t size, char fill) const {
    std::filesystem::create_directories((simulator->media() / name).parent_path());
    std::ofstream{simulator->media() / name} << std::string(size, fill);
}

std::string PlainDeviceTest::read(AFCFileRef file, std::int64_t offset, std::size_t size) {
    std::string text(size, '\0');
    std::uint64_t length = size;
    EXPECT_EQ(afc().AFCFileRefSeek(connection, file, offset, 0), kAFCSuccess);
    EXPECT_EQ(afc().AFCFileRefRead(connection, file, text.data(), &length), kAFCSuccess);
    text.resize(length);
    return text;
}

AFCFileRef PlainDeviceTest::open(const std::string& path, std::uint64_t mode) {
    AFCFileRef file = 0;
    EXPECT_EQ(afc().AFCFileRefOpen(connection, path, mode, &file), kAFCSuccess);
    return file;
}

void PlainDeviceTest::close(AFCFileRef file) {
    EXPECT_EQ(afc().AFCFileRefClose(connection, file), kAFCSuccess);
}

}  // namespace quillbox::testing
