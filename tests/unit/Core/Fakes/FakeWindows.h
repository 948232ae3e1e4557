// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CallRecord.h"
#include "Core/Platform/InterfaceFile.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quillbox::fakes {

/// A control that keeps one value and records each time a controller sets it, as "OUTLET = VALUE".
template <typename Interface>
class FakeControl : public Interface {
public:
    FakeControl(CallRecord& record, std::string outlet)
        : record_(record), outlet_(std::move(outlet)) {}

    void setEnabled(bool isEnabled) override {
        isEnabled_ = isEnabled;
        note(isEnabled ? "enabled" : "disabled");
    }

    bool isEnabled() const override { return isEnabled_; }

protected:
    void note(const std::string& value) { record_.add(outlet_ + " = " + value); }

private:
    CallRecord& record_;
    const std::string outlet_;
    bool isEnabled_ = true;
};

/// `on` and `value` and the like are what the user sees; a test that sets them plays the user.
class FakeCheckBox final : public FakeControl<CheckBox> {
public:
    using FakeControl::FakeControl;

    void setState(bool isOn) override {
        on = isOn;
        note(isOn ? "on" : "off");
    }

    bool state() const override { return on; }

    bool on = false;
};

class FakeTextField final : public FakeControl<TextField> {
public:
    using FakeControl::FakeControl;

    void setStringValue(const std::string& text) override {
        value = text;
        editInProgress.reset();
        note(text);
    }

    std::string stringValue() const override { return editInProgress.value_or(value); }

    void commit() {
        if (editInProgress) {
            value = *editInProgress;
            editInProgress.reset();
        }
    }

    std::string value;
    std::optional<std::string> editInProgress;
};

class FakeButton final : public FakeControl<Button> {
public:
    using FakeControl::FakeControl;

    void setTitle(const std::string& text) override {
        title = text;
        note(text);
    }

    std::string title;
};

class FakePopUpButton final : public FakeControl<PopUpButton> {
public:
    using FakeControl::FakeControl;

    void selectItemAtIndex(std::int64_t wanted) override {
        index = wanted;
        note(std::to_string(wanted));
    }

    std::int64_t indexOfSelectedItem() const override { return index; }

    std::int64_t index = -1;
};

class FakeSegmentedControl final : public FakeControl<SegmentedControl> {
public:
    using FakeControl::FakeControl;

    void setSelectedSegment(std::int64_t wanted) override {
        segment = wanted;
        note(std::to_string(wanted));
    }

    std::int64_t selectedSegment() const override { return segment; }

    std::int64_t segment = -1;
};

class FakeLevelBar final : public FakeControl<LevelBar> {
public:
    using FakeControl::FakeControl;

    void setDoubleValue(double wanted) override {
        value = wanted;
        note(std::to_string(wanted));
    }

    std::optional<double> value;
};

class FakeImageView final : public FakeControl<ImageView> {
public:
    using FakeControl::FakeControl;

    void setImage(const std::optional<Image>& wanted) override {
        image = wanted;
        note(wanted ? wanted->resourceName : "none");
    }

    std::optional<Image> image;
};

class FakePathControl final : public FakeControl<PathControl> {
public:
    using FakeControl::FakeControl;

    void setPath(const std::string& wanted) override {
        path = wanted;
        note(wanted);
    }

    std::string path;
};

/// A window that is on the screen or not; alerts wait until the test ends them.
class FakeWindow final : public Window {
public:
    FakeWindow(CallRecord& record, std::string name) : record_(record), name_(std::move(name)) {}

    void showWindow(const void* sender) override {
        note("showWindow", sender);
        isShown_ = true;
    }

    bool isVisible() const override { return isShown_; }

    void performClose(const void* sender) override {
        note("performClose", sender);
        close();
    }

    void orderOut(const void* sender) override {
        note("orderOut", sender);
        isShown_ = false;
    }

    void makeFirstResponder() override {
        record_.add(name_ + " makeFirstResponder");
        if (commitEdits) {
            commitEdits();
        }
    }

    void setWillCloseHandler(std::function<void()> handler) override {
        willClose_ = std::move(handler);
    }

    void beginSheet(Window& sheet) override {
        record_.add(name_ + " beginSheet");
        sheets.push_back(&sheet);
        dynamic_cast<FakeWindow&>(sheet).isShown_ = true;
    }

    void endSheet(Window& sheet) override {
        record_.add(name_ + " endSheet");
        std::erase(sheets, &sheet);
    }

    void beginAlertSheet(const Alert& alert, AlertEnd didEnd) override {
        record_.add(name_ + " beginAlertSheet");
        alerts.emplace_back(alert, std::move(didEnd));
    }

    /// As the user does with the close button.
    void close() {
        if (isShown_) {
            if (willClose_) {
                willClose_();
            }
            isShown_ = false;
        }
    }

    std::vector<const Window*> sheets;
    std::vector<std::pair<Alert, AlertEnd>> alerts;
    std::function<void()> commitEdits;

private:
    void note(const char* what, const void* sender) {
        record_.add(name_ + " " + what +
                    (sender == nullptr ? "" : (sender == this ? " itself" : " sender")));
    }

    CallRecord& record_;
    const std::string name_;
    std::function<void()> willClose_;
    bool isShown_ = false;
};

/// Makes each control when it is first asked for, and holds a name to one kind.
class FakeInterfaceFile final : public InterfaceFile {
public:
    FakeInterfaceFile(CallRecord& record, std::string name)
        : record_(record), window_(record, std::move(name)) {
        window_.commitEdits = [this] {
            for (auto& [outlet, field] : textFields_) {
                field->commit();
            }
        };
    }

    FakeWindow& window() override { return window_; }

    FakeWindow& window(std::string_view outlet) override { return found(windows_, outlet); }

    FakeCheckBox& checkBox(std::string_view outlet) override { return found(checkBoxes_, outlet); }

    FakeTextField& textField(std::string_view outlet) override {
        return found(textFields_, outlet);
    }

    FakeButton& button(std::string_view outlet) override { return found(buttons_, outlet); }

    FakePopUpButton& popUpButton(std::string_view outlet) override {
        return found(popUpButtons_, outlet);
    }

    FakeSegmentedControl& segmentedControl(std::string_view outlet) override {
        return found(segmentedControls_, outlet);
    }

    FakeLevelBar& levelBar(std::string_view outlet) override { return found(levelBars_, outlet); }

    FakeImageView& imageView(std::string_view outlet) override {
        return found(imageViews_, outlet);
    }

    FakePathControl& pathControl(std::string_view outlet) override {
        return found(pathControls_, outlet);
    }

    void setAction(std::string_view selector, Action action) override {
        actions_.insert_or_assign(std::string(selector), std::move(action));
    }

    /// What a control of the file does when the user uses it. Throws where there is no such action.
    void perform(const std::string& selector, const void* sender = nullptr) {
        actions_.at(selector)(sender);
    }

    std::vector<std::string> selectors() const {
        std::vector<std::string> all;
        for (const auto& [selector, action] : actions_) {
            all.push_back(selector);
        }
        return all;
    }

    /// Every outlet that was asked for, with the kind that it was asked for as.
    const std::map<std::string, const void*>& outlets() const { return kinds_; }

private:
    template <typename T>
    using Controls = std::map<std::string, std::unique_ptr<T>, std::less<>>;

    template <typename T>
    T& found(Controls<T>& controls, std::string_view outlet) {
        const auto [kind, isNew] = kinds_.try_emplace(std::string(outlet), &controls);
        if (kind->second != &controls) {
            throw std::logic_error("two kinds of " + std::string(outlet));
        }
        auto& control = controls[std::string(outlet)];
        if (!control) {
            control = std::make_unique<T>(record_, std::string(outlet));
        }
        return *control;
    }

    CallRecord& record_;
    FakeWindow window_;
    std::map<std::string, const void*> kinds_;
    Controls<FakeWindow> windows_;
    Controls<FakeCheckBox> checkBoxes_;
    Controls<FakeTextField> textFields_;
    Controls<FakeButton> buttons_;
    Controls<FakePopUpButton> popUpButtons_;
    Controls<FakeSegmentedControl> segmentedControls_;
    Controls<FakeLevelBar> levelBars_;
    Controls<FakeImageView> imageViews_;
    Controls<FakePathControl> pathControls_;
    std::map<std::string, Action> actions_;
};

/// Loads any name; the file that was loaded last under a name can be asked for.
class FakeInterfaceFiles final : public InterfaceFiles {
public:
    explicit FakeInterfaceFiles(CallRecord& record) : record_(record) {}

    std::unique_ptr<InterfaceFile> loadNibNamed(std::string_view name) override {
        record_.add("loadNibNamed " + std::string(name));
        auto file = std::make_unique<FakeInterfaceFile>(record_, std::string(name));
        loaded_.insert_or_assign(std::string(name), file.get());
        return file;
    }

    /// Throws when none was loaded; the file lives as long as its controller.
    FakeInterfaceFile& file(const std::string& name) const { return *loaded_.at(name); }

    bool isLoaded(const std::string& name) const { return loaded_.contains(name); }

private:
    CallRecord& record_;
    std::map<std::string, FakeInterfaceFile*> loaded_;
};

}  // namespace quillbox::fakes
