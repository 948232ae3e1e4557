// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Bundle.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace quillbox::host {

/// The running program and its resources: in `share/quillbox` beside the folder of the program (as
/// installed, and laid out alike in a build folder), else where it was meant to be installed.
class ProgramBundle final : public Bundle {
public:
    /// Texts that the program was built with, by their keys.
    using Information = std::map<std::string, std::string, std::less<>>;

    explicit ProgramBundle(Information information = {});
    ProgramBundle(std::string program, std::vector<std::string> resourceFolders,
                  std::vector<std::string> releaseFiles);

    std::string bundlePath() const override { return program_; }

    std::optional<std::string> pathForResource(const std::string& name,
                                               const std::string& type) const override;
    std::optional<std::string> objectForInfoDictionaryKey(std::string_view key) const override;
    std::string operatingSystemVersionString() const override;

    /// A program that lies beside this one.
    std::string siblingProgram(const std::string& name) const;
    /// The address of a file of the documentation that is installed with the program.
    std::string documentAddress(const std::string& name) const;

private:
    Information information_;
    std::string program_;
    std::vector<std::string> resourceFolders_;
    std::vector<std::string> releaseFiles_;
};

}  // namespace quillbox::host
