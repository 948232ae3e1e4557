// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Streams/PropertyLists.h"

#include <algorithm>
#include <vector>

namespace quillbox::device {

namespace {

constexpr std::string_view kBinaryMagic = "bplist00";

bool isTagNamed(std::string_view tag, std::string_view name) {
    return tag.starts_with(name) &&
           (tag.size() == name.size() ||
            std::string_view{" \t\r\n/"}.find(tag[name.size()]) != std::string_view::npos);
}

bool isContainer(std::string_view tag) {
    return isTagNamed(tag, "array") || isTagNamed(tag, "dict") || isTagNamed(tag, "plist");
}

/// Counts open containers by their tags, past comments, character data and instructions.
bool isXmlBounded(std::string_view text) {
    std::size_t depth = 0;
    std::size_t at = 0;
    while ((at = text.find('<', at)) != std::string_view::npos) {
        const std::string_view rest = text.substr(at);
        std::string_view close = ">";
        if (rest.starts_with("<!--")) {
            close = "-->";
        } else if (rest.starts_with("<![CDATA[")) {
            close = "]]>";
        } else if (rest.starts_with("<?")) {
            close = "?>";
        }
        const std::size_t end = rest.find(close, 1);
        if (end == std::string_view::npos) {
            return false;
        }
        const std::string_view tag = rest.substr(1, end - 1);
        if (close == ">" && tag.starts_with("!") && tag.find('[') != std::string_view::npos) {
            return false;  // declarations of its own: no device sends them
        }
        if (close == ">" && tag.starts_with("/")) {
            if (isContainer(tag.substr(1)) && depth > 0) {
                --depth;
            }
        } else if (close == ">" && isContainer(tag) && !tag.ends_with("/")) {
            if (++depth > kMaxPropertyListDepth + 1) {
                return false;
            }
        }
        at += end + close.size();
    }
    return true;
}

/// The object table of a binary property list, only as far as containers need.
class BinaryNesting {
public:
    explicit BinaryNesting(wire::ByteView bytes) : bytes_{bytes} {}

    bool isBounded() {
        constexpr std::size_t kTrailer = 32;
        if (bytes_.size() < kBinaryMagic.size() + kTrailer) {
            return false;
        }
        const wire::ByteView trailer = bytes_.last(kTrailer);
        offsetSize_ = std::to_integer<std::size_t>(trailer[6]);
        referenceSize_ = std::to_integer<std::size_t>(trailer[7]);
        objects_ = wire::loadBig<std::uint64_t>(trailer.subspan(8));
        const auto top = wire::loadBig<std::uint64_t>(trailer.subspan(16));
        table_ = wire::loadBig<std::uint64_t>(trailer.subspan(24));
        if (offsetSize_ == 0 || offsetSize_ > 8 || referenceSize_ == 0 || referenceSize_ > 8 ||
            objects_ > bytes_.size() || table_ > bytes_.size() || top >= objects_ ||
            objects_ * offsetSize_ > bytes_.size() - table_) {
            return false;
        }
        return walk(top);
    }

private:
    struct Step {
        std::uint64_t next;  ///< offset of the next reference
        std::uint64_t left;  ///< references left
    };

    std::uint64_t number(std::uint64_t at, std::size_t size) const {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < size; ++i) {
            value = (value << 8U) | std::to_integer<std::uint64_t>(bytes_[at + i]);
        }
        return value;
    }

    /// The references of an object: none for anything but a container. False when out of bounds.
    bool references(std::uint64_t object, Step& step) const {
        step = {0, 0};
        std::uint64_t at = number(table_ + object * offsetSize_, offsetSize_);
        if (at >= bytes_.size()) {
            return false;
        }
        const auto marker = std::to_integer<unsigned>(bytes_[at]);
        const unsigned kind = marker >> 4U;
        if (kind < 0xA) {
            return true;
        }
        std::uint64_t count = marker & 0xFU;
        ++at;
        if (count == 0xF) {
            if (at >= bytes_.size()) {
                return false;
            }
            const std::size_t size = std::size_t{1}
                                     << (std::to_integer<unsigned>(bytes_[at]) & 0xFU);
            ++at;
            if (size > 8 || bytes_.size() - at < size) {
                return false;
            }
            count = number(at, size);
            at += size;
        }
        if (count > bytes_.size()) {
            return false;
        }
        count *= kind == 0xD ? 2 : 1;
        if (count > (bytes_.size() - at) / referenceSize_) {
            return false;
        }
        step = {at, count};
        return true;
    }

    /// Depth first, with a bound on the steps: a list whose containers share children could
    /// otherwise be walked for ever.
    bool walk(std::uint64_t top) const {
        std::vector<Step> path(1);
        if (!references(top, path.front())) {
            return false;
        }
        std::uint64_t steps = 4 * bytes_.size();
        while (!path.empty()) {
            Step& step = path.back();
            if (step.left == 0) {
                path.pop_back();
                continue;
            }
            if (steps-- == 0) {
                return false;
            }
            const std::uint64_t child = number(step.next, referenceSize_);
            step.next += referenceSize_;
            --step.left;
            Step below{};
            if (child >= objects_ || !references(child, below)) {
                return false;
            }
            if (below.left > 0) {
                if (path.size() >= kMaxPropertyListDepth) {
                    return false;
                }
                path.push_back(below);
            }
        }
        return true;
    }

    wire::ByteView bytes_;
    std::size_t offsetSize_ = 0;
    std::size_t referenceSize_ = 0;
    std::uint64_t objects_ = 0;
    std::uint64_t table_ = 0;
};

}  // namespace

bool isNestingBounded(wire::ByteView bytes) {
    const std::string_view text = wire::asText(bytes);
    if (text.starts_with("bplist")) {
        return text.starts_with(kBinaryMagic) && BinaryNesting{bytes}.isBounded();
    }
    return isXmlBounded(text);
}

}  // namespace quillbox::device
