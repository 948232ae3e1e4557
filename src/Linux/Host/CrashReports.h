// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Application.h"
#include "Core/Platform/Workspace.h"

#include <string>

namespace quillbox::host {

/// Reports of crashes, one text file each in a folder of the user's own. A report is new while its
/// name ends with ".crash"; once the user knows of it, with ".txt". Main thread.
class CrashReports final : public CrashReporter {
public:
    /// `folder` need not be there. The workspace must outlive this.
    CrashReports(std::string folder, Workspace& workspace);

    void checkForNewCrashes() override;

    /// From now on a crash of this process leaves a report in the folder, which is made (mode
    /// 0700), and then ends the process as it would have ended. `header` is the first line of a
    /// report. Once, before threads begin; false where the folder cannot be made.
    static bool reportCrashes(const std::string& folder, const std::string& header);

private:
    const std::string folder_;
    Workspace& workspace_;
};

}  // namespace quillbox::host
