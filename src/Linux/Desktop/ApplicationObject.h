// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Bundle.h"

#include <QApplication>
#include <QTranslator>

#include <array>
#include <string>

namespace quillbox::desktop {

/// The library's application object, with the program's name, icon and translation in place. Once
/// in a process; main thread.
class ApplicationObject {
public:
    ApplicationObject(const std::string& applicationId, const Bundle& bundle);

private:
    void translate(const Bundle& bundle);

    std::array<char, 9> name_{"quillbox"};
    std::array<char*, 2> arguments_{name_.data(), nullptr};
    int count_ = 1;
    QApplication application_{count_, arguments_.data()};
    QTranslator own_;
    QTranslator library_;
};

}  // namespace quillbox::desktop
