// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace quillbox::test {

/// A running `quillbox-simulator` with its phones in a folder of its own, and this process's way to
/// it (USBMUXD_SOCKET_ADDRESS). Ends, and takes its folder along, when destroyed.
class SimulatedPhones {
public:
    explicit SimulatedPhones(const std::vector<std::string>& options);
    ~SimulatedPhones();
    SimulatedPhones(const SimulatedPhones&) = delete;
    SimulatedPhones& operator=(const SimulatedPhones&) = delete;

    /// Runs one control command; throws `std::runtime_error` when it could not be carried out.
    std::string control(const std::vector<std::string>& words) const;

    const std::vector<std::string>& identifiers() const { return identifiers_; }

    /// A folder for the test's own use, removed with everything else.
    const std::string& folder() const { return folder_; }

private:
    std::string folder_;
    pid_t process_ = -1;
    std::vector<std::string> identifiers_;
};

}  // namespace quillbox::test
