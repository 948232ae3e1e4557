// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Image.h"

#include <cstdint>
#include <optional>
#include <string>

namespace quillbox {

// What a controller sees of the controls of a window. Each belongs to the interface file that it
// was found in (`InterfaceFile.h`) and lives as long as that. Main thread only. Nothing here
// blocks, fails or calls an action: actions follow what the user does, never what a controller
// sets. Texts are shown as they stand: no character in them is a mnemonic or markup.

/// What every control can do.
class Control {
public:
    virtual ~Control() = default;

    virtual void setEnabled(bool isEnabled) = 0;
    virtual bool isEnabled() const = 0;
};

/// A box with two states.
class CheckBox : public Control {
public:
    virtual void setState(bool isOn) = 0;
    virtual bool state() const = 0;
};

/// A line of text: a field to type in, or one that only shows.
class TextField : public Control {
public:
    virtual void setStringValue(const std::string& text) = 0;
    /// What the field holds, an edit in progress included.
    virtual std::string stringValue() const = 0;
};

class Button : public Control {
public:
    virtual void setTitle(const std::string& title) = 0;
};

/// A choice of one from a list.
class PopUpButton : public Control {
public:
    /// From 0; an index without an item selects none.
    virtual void selectItemAtIndex(std::int64_t index) = 0;
    /// -1 when none is selected.
    virtual std::int64_t indexOfSelectedItem() const = 0;
};

/// A choice of one from a few that stand side by side.
class SegmentedControl : public Control {
public:
    /// From 0; a number without a segment selects none.
    virtual void setSelectedSegment(std::int64_t segment) = 0;
    /// -1 when none is selected.
    virtual std::int64_t selectedSegment() const = 0;
};

/// A bar from 0 to 1.
class LevelBar : public Control {
public:
    /// Below 0 and what is not a number show as empty, above 1 as full.
    virtual void setDoubleValue(double value) = 0;
};

class ImageView : public Control {
public:
    /// None shows nothing.
    virtual void setImage(const std::optional<Image>& image) = 0;
};

/// A place in the file system, shown by its path.
class PathControl : public Control {
public:
    virtual void setPath(const std::string& path) = 0;
};

}  // namespace quillbox
