// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Volume/InodeSeed.h"

#include "Linux/Volume/TextHash.h"

#include <fstream>
#include <random>

namespace quillbox::volume {
namespace {

std::uint64_t randomSeed() {
    std::random_device device;
    return (std::uint64_t{device()} << 32U) | device();
}

// During a computer's first start the file holds a word instead.
bool isIdentity(const std::string& text) {
    constexpr std::size_t kDigits = 32;
    return text.size() == kDigits &&
           text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
}

}  // namespace

std::uint64_t inodeSeed(const std::string& path, uid_t user, const std::string& machineIdFile) {
    std::string identity;
    std::getline(std::ifstream(machineIdFile), identity);
    if (!isIdentity(identity)) {
        return randomSeed();
    }
    return textHash(textHash(0, "inodes of " + identity), std::to_string(user) + ' ' + path);
}

}  // namespace quillbox::volume
