// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillbox::control {

/// Writes one JSON document, a member a line. Calls must nest as the document does.
class JsonWriter {
public:
    void beginObject() { begin('{'); }

    void endObject() { end('}'); }

    void beginArray() { begin('['); }

    void endArray() { end(']'); }

    /// The next value is this member of the object.
    void key(std::string_view name);
    /// Bytes that are not UTF-8 become U+FFFD.
    void value(std::string_view text);

    void value(const std::string& text) { value(std::string_view(text)); }

    void value(const char* text) { value(std::string_view(text)); }

    void value(bool truth) { put(truth ? "true" : "false"); }

    void value(std::int64_t number) { put(std::to_string(number)); }

    /// None is null.
    void value(const std::optional<std::string>& text);

    template <typename Value>
    void member(std::string_view name, const Value& content) {
        key(name);
        value(content);
    }

    /// The document, with a line feed at its end.
    std::string text() const { return text_ + "\n"; }

private:
    void begin(char bracket);
    void end(char bracket);
    void put(std::string_view token);
    void newLine();
    void separate();

    std::string text_;
    int depth_ = 0;
    bool isFirst_ = true;
    bool followsKey_ = false;
};

/// Valid UTF-8 of any bytes: what is none becomes U+FFFD.
std::string validUtf8(std::string_view text);
/// A device's text for a terminal: valid UTF-8 without control characters, which become "?".
std::string printable(std::string_view text);

}  // namespace quillbox::control
