// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Device/DeviceLibrary.h"

#include <gtest/gtest.h>

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace quillbox::testing {

using namespace std::chrono_literals;

/// Identifier of the simulator's n-th device, from 1.
std::string udidOf(unsigned number);
/// Its serial number.
std::string serialOf(unsigned number);

/// A running simulator with a socket and a state folder of its own. It ends with this.
class Simulator {
public:
    explicit Simulator(const std::vector<std::string>& options);
    ~Simulator();
    Simulator(const Simulator&) = delete;
    Simulator& operator=(const Simulator&) = delete;

    /// Gives a command; it must succeed. Answers what it printed.
    std::string control(const std::vector<std::string>& words) const;
    /// How often a request of a kind was made of a device.
    long count(const std::string& kind, unsigned device = 1) const;

    std::filesystem::path media(unsigned device = 1) const;
    std::filesystem::path application(const std::string& identifier, unsigned device = 1) const;

private:
    std::filesystem::path folder_;
    pid_t process_ = -1;
};

/// Keeps all lines. Any thread.
class MemoryLog : public Log {
public:
    bool isEnabled(LogLevel) const override { return true; }

    void write(LogLevel level, std::string_view text) override;

    bool has(const std::string& part) const { return count(part) > 0; }

    std::size_t count(const std::string& part) const;
    std::string all() const;

private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

/// A main loop of the thread that makes it. Its one timer counts.
class TestLoop : public RunLoop {
public:
    bool isMainThread() const override { return std::this_thread::get_id() == thread_; }

    void post(std::function<void()> task) override;
    bool wait(const std::shared_ptr<Completion>& completion, const void* subject,
              const std::string& what) override;
    void endWaits(const void* subject) override;

    /// Runs posted tasks until the condition holds. False after the limit.
    bool runUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit = 10s);
    void runFor(std::chrono::milliseconds time);

    /// Ends the present and all later waits, as quitting does.
    void quit();

    int ticks = 0;      ///< of the timer, every 5 ms, within waits as well; main thread
    int waits = 0;      ///< waits that were begun; main thread
    int earlyEnds = 0;  ///< waits that were ended first; main thread
    std::string lastWait;
    /// Called with every tick of a wait; main thread.
    std::function<void()> onTick;

protected:
    void wake() override;

private:
    const std::thread::id thread_ = std::this_thread::get_id();
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> tasks_;
    std::uint64_t endings_ = 0;
    std::multiset<const void*> waiting_;
    std::multiset<const void*> ended_;
    bool quitting_ = false;
};

/// Simulator, library, loop and log together, and what the notices said.
class DeviceTest : public ::testing::Test {
protected:
    DeviceTest();
    ~DeviceTest() override;

    /// Options for quick tests: limits of a second or less.
    static DeviceOptions quick();

    void start(std::vector<std::string> simulatorOptions, const DeviceOptions& options = quick());
    void startLibrary(const DeviceOptions& options = quick());

    /// Waits for message 1 number `count` since the start and gives the last one's device.
    AMDeviceRef connected(std::size_t count = 1);
    bool disconnected(std::size_t count = 1);
    bool logged(const std::string& part, std::chrono::milliseconds limit = 10s);

    /// A session as the core opens one; 0 where it fails.
    AFCConnectionRef openService(AMDeviceRef device, const std::string& service = "com.apple.afc");
    AFCConnectionRef openApplication(AMDeviceRef device, const std::string& identifier);

    /// Runs work off the main thread to its end, while the loop runs.
    void aside(const std::function<void()>& work);

    // Shorthands over the AFC port, on any thread.
    AFCError writeAll(AFCConnectionRef connection, const std::string& path,
                      const std::string& content);
    AFCError readAll(AFCConnectionRef connection, const std::string& path, std::string& content);
    AFCError list(AFCConnectionRef connection, const std::string& path,
                  std::vector<std::string>& names);
    AFCError info(AFCConnectionRef connection, const std::string& path,
                  std::map<std::string, std::string>& values);

    MobileDevice& am() { return library->devices(); }

    AFC& afc() { return library->afc(); }

    TestLoop loop;
    MemoryLog log;
    std::unique_ptr<Simulator> simulator;
    std::unique_ptr<DeviceLibrary> library;
    std::vector<AMDeviceRef> arrivals;
    std::vector<AMDeviceRef> departures;
    /// What an arrival does, as the core's session does; by default it opens "com.apple.afc".
    std::function<void(AMDeviceRef)> onArrival;
    AFCConnectionRef arrivalConnection = 0;

private:
    static void notice(AMDeviceNotificationInfo* info, void* userData);
};

/// One device without TLS, and its connection: files are read as a volume's thread reads them.
class PlainDeviceTest : public DeviceTest {
protected:
    /// With further options of the simulator.
    void begin(const std::vector<std::string>& options = {});

    /// Makes a file in the device's media area.
    void makeFile(const std::string& name, std::size_t size, char fill) const;
    /// What is read at a place: fewer bytes at the end of the file.
    std::string read(AFCFileRef file, std::int64_t offset, std::size_t size);
    AFCFileRef open(const std::string& path, std::uint64_t mode = 1);
    void close(AFCFileRef file);

    static void onThread(const std::function<void()>& work) { std::thread{work}.join(); }

    AFCConnectionRef connection = 0;
};

}  // namespace quillbox::testing
