// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Applications.h"

#include <filesystem>

namespace quillbox::simulator {

/// Fills a media area with pictures in a camera roll, documents, nested folders, odd names, links
/// and a file of more than 4 GiB that takes hardly any room. Throws std::exception when that cannot
/// be written.
void makeSampleMedia(const std::filesystem::path& media);

/// Installs applications of every kind: with and without file sharing, display name, icon file and
/// artwork, and some of the system's own.
void installSampleApplications(Applications& applications);

/// The folders of a device's whole file system around its media area.
void makeRootFolders(const std::filesystem::path& root);

}  // namespace quillbox::simulator
