// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Bundle.h"

#include <string>
#include <vector>

namespace quillbox::host {

/// The running program and its resources: in `share/quillbox` beside the folder of the program (as
/// installed, and laid out alike in a build folder), else where it was meant to be installed.
class ProgramBundle final : public Bundle {
public:
    ProgramBundle();
    ProgramBundle(std::string program, std::vector<std::string> resourceFolders,
                  std::vector<std::string> releaseFiles);

    std::string bundlePath() const override { return program_; }

    std::optional<std::string> pathForResource(const std::string& name,
                                               const std::string& type) const override;
    std::string operatingSystemVersionString() const override;

    /// A program that lies beside this one.
    std::string siblingProgram(const std::string& name) const;

private:
    std::string program_;
    std::vector<std::string> resourceFolders_;
    std::vector<std::string> releaseFiles_;
};

}  // namespace quillbox::host
