// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "App/Surface.h"
#include "App/Wiring.h"
#include "Core/Platform/Menu.h"
#include "Core/Shell/PodController.h"
#include "Core/Volumes/iPodDevice.h"
#include "Linux/Host/Signals.h"
#include "SimulatedPhones.h"

#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace quillbox::test {

/// Keeps every line. Any thread.
class KeptLog final : public Log {
public:
    bool isEnabled(LogLevel level) const override { return level <= LogLevel::Info; }

    void write(LogLevel level, std::string_view text) override;
    /// The first line that begins with a text; "" for none.
    std::string lineThatBegins(std::string_view start) const;

private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

/// The whole program in this process, its volumes and its settings in the folder of the phones. Its
/// main thread is the one that makes it and calls `play`; what a person would do runs beside it.
class RealProgram {
public:
    explicit RealProgram(const SimulatedPhones& phones);
    ~RealProgram();
    RealProgram(const RealProgram&) = delete;
    RealProgram& operator=(const RealProgram&) = delete;

    /// Runs the program until `script`, on a thread of its own, has ended; then ends it as a user
    /// does. Once.
    void play(const std::function<void()>& script);

    // For the script -----------------------------------------------------------------------------

    /// Carries something out on the main thread and gives its result.
    template <typename Work>
    auto onMain(Work work) {
        std::packaged_task<std::invoke_result_t<Work>()> task(std::move(work));
        auto result = task.get_future();
        loop_.post([shared = std::make_shared<decltype(task)>(std::move(task))] { (*shared)(); });
        return result.get();
    }

    /// Waits until a volume of this name is mounted and its device says so; false when it takes
    /// too long.
    bool isMountedInTime(const std::string& name);
    /// Waits until no device is connected.
    bool isAloneInTime();
    /// Chooses a root by its title in the menu of a device, as a person does; false when there is
    /// none.
    bool choose(const std::string& title, const std::string& deviceName = "Blue Phone");
    /// An item of that menu; null when there is none.
    std::shared_ptr<MenuItem> root(const std::string& title,
                                   const std::string& deviceName = "Blue Phone");
    /// The names at the top of a volume, sorted; empty where it cannot be listed.
    std::vector<std::string> list(const std::string& volume) const;
    /// A value of the volume's information file.
    std::string information(const std::string& volume, const std::string& key) const;

    const std::string& volumes() const { return volumes_; }

    const KeptLog& log() const { return log_; }

    const Platform& platform() const { return wiring_.platform(); }

private:
    std::shared_ptr<iPodDevice> deviceNamed(const std::string& name) const;

    std::string volumes_;
    host::Signals signals_;
    KeptLog log_;
    host::MainLoop loop_;
    host::ProgramBundle bundle_;
    app::HeadlessSurface headless_{loop_, log_};
    app::Wiring wiring_;
    std::unique_ptr<PodController> controller_;
};

}  // namespace quillbox::test
