// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/Forms.h"

#include "Linux/Desktop/ValueList.h"

#include <ui_AboutThisApp.h>
#include <ui_AboutThisDevice.h>
#include <ui_MoreInfo.h>
#include <ui_Preferences.h>
#include <ui_Welcome.h>

#include <QApplication>
#include <QClipboard>

namespace quillbox::desktop {

namespace {

/// Headlines, in sizes of the desktop's own font.
constexpr double kHeadline = 1.5;

template <typename Ui>
std::unique_ptr<QDialog> build(Ui& ui) {
    auto window = std::make_unique<QDialog>();
    ui.setupUi(window.get());
    for (const char* name : {"headline", "tf_deviceName"}) {
        if (auto* headline = window->template findChild<QLabel*>(QLatin1String(name))) {
            QFont font = headline->font();
            font.setPointSizeF(kHeadline * font.pointSizeF());
            headline->setFont(font);
        }
    }
    // Sizes come from the font: so many average letters wide, so many lines high at least.
    const QFontMetrics metrics = window->fontMetrics();
    const QSize wanted(window->property("columns").toInt() * metrics.averageCharWidth(),
                       window->property("lines").toInt() * metrics.height());
    window->resize(wanted.expandedTo(window->sizeHint()));
    window->setWindowIcon(QApplication::windowIcon());
    return window;
}

template <typename Ui>
Form simple() {
    Ui ui;
    Form form;
    form.window = build(ui);
    return form;
}

/// The lines "label: value" of a form, as they stand on the screen.
QString fieldsAsText(const QWidget& window) {
    QString all;
    for (const auto* label : window.findChildren<QLabel*>()) {
        if (const auto* field = qobject_cast<const QLineEdit*>(label->buddy())) {
            all += QString(label->text()).remove(QLatin1Char('&')) + QLatin1Char('\t') +
                   field->text() + QLatin1Char('\n');
        }
    }
    return all;
}

Form aboutThisDevice() {
    Form form;
    Ui::AboutThisDevice ui;
    form.window = build(ui);
    QObject::connect(ui.copyButton, &QAbstractButton::clicked, ui.copyButton,
                     [name = ui.tf_deviceName, window = form.window.get()] {
                         QApplication::clipboard()->setText(name->text() + QLatin1Char('\n') +
                                                            fieldsAsText(*window));
                     });
    Ui::MoreInfo more;
    auto sheet = build(more);
    makeValueList(*more.values, *more.filter, *more.copyAll);
    form.sheets.emplace("win_moreInfo", std::move(sheet));
    return form;
}

}  // namespace

Form buildForm(std::string_view name) {
    if (name == "Preferences") {
        return simple<Ui::Preferences>();
    }
    if (name == "Welcome") {
        return simple<Ui::Welcome>();
    }
    if (name == "AboutThisApp") {
        return simple<Ui::AboutThisApp>();
    }
    return name == "AboutThisDevice" ? aboutThisDevice() : Form{};
}

}  // namespace quillbox::desktop
