// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/HeadlessWindows.h"

#include "Core/Platform/LogLine.h"

#include <map>
#include <stdexcept>
#include <string>
#include <utility>

namespace quillbox::host {

namespace {

template <typename Interface>
class KeptControl : public Interface {
public:
    void setEnabled(bool isEnabled) override { isEnabled_ = isEnabled; }

    bool isEnabled() const override { return isEnabled_; }

private:
    bool isEnabled_ = true;
};

class KeptCheckBox final : public KeptControl<CheckBox> {
public:
    void setState(bool isOn) override { isOn_ = isOn; }

    bool state() const override { return isOn_; }

private:
    bool isOn_ = false;
};

class KeptTextField final : public KeptControl<TextField> {
public:
    void setStringValue(const std::string& text) override { text_ = text; }

    std::string stringValue() const override { return text_; }

private:
    std::string text_;
};

class KeptPopUpButton final : public KeptControl<PopUpButton> {
public:
    void selectItemAtIndex(std::int64_t index) override { index_ = index; }

    std::int64_t indexOfSelectedItem() const override { return index_; }

private:
    std::int64_t index_ = -1;
};

class KeptSegmentedControl final : public KeptControl<SegmentedControl> {
public:
    void setSelectedSegment(std::int64_t segment) override { segment_ = segment; }

    std::int64_t selectedSegment() const override { return segment_; }

private:
    std::int64_t segment_ = -1;
};

// Nobody can ask what these show.

class UnseenButton final : public KeptControl<Button> {
public:
    void setTitle(const std::string& /*title*/) override {}
};

class UnseenLevelBar final : public KeptControl<LevelBar> {
public:
    void setDoubleValue(double /*value*/) override {}
};

class UnseenImageView final : public KeptControl<ImageView> {
public:
    void setImage(const std::optional<Image>& /*image*/) override {}
};

class UnseenPathControl final : public KeptControl<PathControl> {
public:
    void setPath(const std::string& /*path*/) override {}
};

class UnseenWindow final : public Window {
public:
    UnseenWindow(std::string name, Log& log) : name_(std::move(name)), log_(log) {}

    void showWindow(const void* /*sender*/) override {
        logLine(log_, LogLevel::Debug, "No display is available to show the window ", name_, ".");
    }

    bool isVisible() const override { return false; }

    void performClose(const void* /*sender*/) override {}

    void orderOut(const void* /*sender*/) override {}

    void makeFirstResponder() override {}

    void setWillCloseHandler(std::function<void()> /*handler*/) override {}

    void beginSheet(Window& /*sheet*/) override {}

    void endSheet(Window& /*sheet*/) override {}

    void beginAlertSheet(const Alert& alert, AlertEnd didEnd) override {
        logLine(log_, LogLevel::Warning, alert.messageText, " ", alert.informativeText);
        if (didEnd) {
            didEnd(0);
        }
    }

private:
    const std::string name_;
    Log& log_;
};

class UnseenFile final : public InterfaceFile {
public:
    UnseenFile(std::string_view name, Log& log) : log_(log), window_(std::string(name), log) {}

    Window& window() override { return window_; }

    Window& window(std::string_view outlet) override {
        return windows_.try_emplace(std::string(outlet), std::string(outlet), log_).first->second;
    }

    CheckBox& checkBox(std::string_view outlet) override { return control<KeptCheckBox>(outlet); }

    TextField& textField(std::string_view outlet) override {
        return control<KeptTextField>(outlet);
    }

    Button& button(std::string_view outlet) override { return control<UnseenButton>(outlet); }

    PopUpButton& popUpButton(std::string_view outlet) override {
        return control<KeptPopUpButton>(outlet);
    }

    SegmentedControl& segmentedControl(std::string_view outlet) override {
        return control<KeptSegmentedControl>(outlet);
    }

    LevelBar& levelBar(std::string_view outlet) override { return control<UnseenLevelBar>(outlet); }

    ImageView& imageView(std::string_view outlet) override {
        return control<UnseenImageView>(outlet);
    }

    PathControl& pathControl(std::string_view outlet) override {
        return control<UnseenPathControl>(outlet);
    }

    /// Nobody can use a control that is not shown.
    void setAction(std::string_view /*selector*/, Action /*action*/) override {}

private:
    template <typename Kind>
    Kind& control(std::string_view outlet) {
        auto& found = controls_[std::string(outlet)];
        if (!found) {
            found = std::make_unique<Kind>();
        }
        auto* wanted = dynamic_cast<Kind*>(found.get());
        if (wanted == nullptr) {
            throw std::logic_error("The outlet " + std::string(outlet) + " is of another kind.");
        }
        return *wanted;
    }

    Log& log_;
    UnseenWindow window_;
    std::map<std::string, UnseenWindow> windows_;
    std::map<std::string, std::unique_ptr<Control>> controls_;
};

}  // namespace

std::unique_ptr<InterfaceFile> HeadlessWindows::loadNibNamed(std::string_view name) {
    return std::make_unique<UnseenFile>(name, log_);
}

}  // namespace quillbox::host
