// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Platform/PathText.h"

namespace quillbox {

namespace {

std::string_view withoutTrailingSlashes(std::string_view path) {
    while (path.size() > 1 && path.back() == '/') {
        path.remove_suffix(1);
    }
    return path;
}

}  // namespace

std::string stringByAppendingPathComponent(std::string_view path, std::string_view component) {
    std::string joined;
    joined.reserve(path.size() + component.size() + 1);
    const auto append = [&joined](std::string_view text) {
        for (const char c : text) {
            if (c != '/' || joined.empty() || joined.back() != '/') {
                joined += c;
            }
        }
    };
    append(path);
    if (!joined.empty() && !component.empty()) {
        append("/");
    }
    append(component);
    return std::string(withoutTrailingSlashes(joined));
}

std::string lastPathComponent(std::string_view path) {
    path = withoutTrailingSlashes(path);
    const auto slash = path.rfind('/');
    return std::string(
        slash == std::string_view::npos || path.size() == 1 ? path : path.substr(slash + 1));
}

std::string stringByDeletingLastPathComponent(std::string_view path) {
    path = withoutTrailingSlashes(path);
    const auto slash = path.rfind('/');
    if (slash == std::string_view::npos) {
        return {};
    }
    return std::string(withoutTrailingSlashes(path.substr(0, slash == 0 ? 1 : slash)));
}

std::string pathExtension(std::string_view path) {
    const std::string name = lastPathComponent(path);
    const auto dot = name.rfind('.');
    return dot == std::string::npos || dot == 0 ? std::string() : name.substr(dot + 1);
}

std::string stringByDeletingPathExtension(std::string_view path) {
    path = withoutTrailingSlashes(path);
    const std::string extension = pathExtension(path);
    if (!extension.empty()) {
        path.remove_suffix(extension.size() + 1);
    }
    return std::string(path);
}

}  // namespace quillbox
