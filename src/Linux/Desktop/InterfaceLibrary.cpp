// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/InterfaceLibrary.h"

#include "Linux/Desktop/WidgetInterfaceFile.h"

#include <QAbstractButton>
#include <QLabel>

#include <stdexcept>

namespace quillbox::desktop {

std::unique_ptr<InterfaceFile> InterfaceLibrary::loadNibNamed(std::string_view name) {
    Form form = buildForm(name);
    if (!form.window) {
        throw std::runtime_error("there is no interface file named " + std::string(name));
    }
    QWidget& window = *form.window;
    auto file = std::make_unique<WidgetInterfaceFile>(std::string(name), std::move(form), choices_,
                                                      alerts_, icons_);
    // What no controller fills.
    if (window.findChild<QWidget*>(QStringLiteral("pt_MountPath")) != nullptr) {
        file->pathControl("pt_MountPath").setPath(volumesFolder_);
    }
    if (auto* open = window.findChild<QAbstractButton*>(QStringLiteral("openVolumesFolder"))) {
        QObject::connect(open, &QAbstractButton::clicked, open, [this] {
            choices_.post([this] { workspace_.openFile(volumesFolder_); });
        });
    }
    if (window.findChild<QLabel*>(QStringLiteral("programIcon")) != nullptr) {
        file->imageView("programIcon").setImage(Image{"QuillboxIcon", {}});
    }
    return file;
}

}  // namespace quillbox::desktop
