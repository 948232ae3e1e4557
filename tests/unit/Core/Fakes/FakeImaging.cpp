// SPDX-License-Identifier: GPL-3.0-or-later
#include "FakeImaging.h"

#include <cstdio>
#include <sstream>

namespace quillbox::fakes {

namespace {

struct Content final : ImageContent {
    Size size;
    std::string story;
};

const Content* contentOf(const Image& image) {
    return dynamic_cast<const Content*>(image.content.get());
}

std::string text(const Rect& rect) {
    std::ostringstream out;
    out << "(" << rect.origin.x << ", " << rect.origin.y << ", " << rect.size.width << ", "
        << rect.size.height << ")";
    return out.str();
}

std::string firstLine(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

PropertyData bytes(const std::string& text) {
    return {text.begin(), text.end()};
}

class Drawing final : public FocusedImage {
public:
    Drawing(const Size& size, bool canGrab, std::vector<std::string>& clips)
        : size_(size), canGrab_(canGrab), clips_(clips) {
        steps_ << "image " << size.width << "x" << size.height;
    }

    void setImageInterpolation(NSImageInterpolation level) override {
        steps_ << "\ninterpolation " << level;
    }

    void addClip(const Rect& rect, double xRadius, double yRadius) override {
        std::ostringstream clip;
        clip << text(rect) << " " << xRadius << " " << yRadius;
        clips_.push_back(clip.str());
        steps_ << "\nclip " << clip.str();
    }

    void drawImage(const Image& image, const Rect& inRect, const Rect& fromRect,
                   NSCompositingOperation operation, double fraction) override {
        steps_ << "\ndraw " << firstLine(FakeImaging::story(image)) << " in " << text(inRect)
               << " from " << text(fromRect) << " operation " << operation << " fraction "
               << fraction;
    }

    std::optional<Image> bitmapWithFocusedViewRect(const Rect& rect) override {
        if (!canGrab_) {
            return std::nullopt;
        }
        return FakeImaging::image(rect.size.width, rect.size.height,
                                  "grabbed " + text(rect) + " of " + steps_.str());
    }

    Image unlockFocus() override {
        return FakeImaging::image(size_.width, size_.height, steps_.str());
    }

private:
    Size size_;
    bool canGrab_;
    std::vector<std::string>& clips_;
    std::ostringstream steps_;
};

}  // namespace

Image FakeImaging::image(double width, double height, std::string story) {
    auto content = std::make_shared<Content>();
    content->size = {width, height};
    if (story.empty()) {
        std::ostringstream out;
        out << "picture " << width << "x" << height;
        story = out.str();
    }
    content->story = std::move(story);
    return Image{{}, std::move(content)};
}

std::string FakeImaging::story(const Image& image) {
    const auto* content = contentOf(image);
    return content != nullptr ? content->story : "resource " + image.resourceName;
}

std::optional<Image> FakeImaging::imageWithData(const PropertyData& data) const {
    const std::string encoded(data.begin(), data.end());
    double width = 0;
    double height = 0;
    if (std::sscanf(encoded.c_str(), "picture %lfx%lf", &width, &height) != 2) {
        return std::nullopt;
    }
    return image(width, height);
}

std::optional<Image> FakeImaging::imageWithContentsOfFile(const std::string& path) const {
    const auto found = files_.contents.find(path);
    return found != files_.contents.end() ? imageWithData(bytes(found->second)) : std::nullopt;
}

std::optional<Image> FakeImaging::imageNamed(const std::string& name) const {
    return resources.contains(name) ? std::optional(Image{name, {}}) : std::nullopt;
}

bool FakeImaging::isValid(const Image& image) const {
    return contentOf(image) != nullptr || resources.contains(image.resourceName);
}

Size FakeImaging::size(const Image& image) const {
    if (const auto* content = contentOf(image)) {
        return content->size;
    }
    const auto found = resources.find(image.resourceName);
    return found != resources.end() ? found->second : Size{};
}

std::unique_ptr<FocusedImage> FakeImaging::lockFocus(const Size& size) const {
    return canLockFocus ? std::make_unique<Drawing>(size, canGrab, clips) : nullptr;
}

std::optional<PropertyData> FakeImaging::JPEGRepresentation(const Image& image,
                                                            float compressionFactor) const {
    std::ostringstream out;
    out << "JPEG " << compressionFactor << " of " << story(image);
    return canEncode && isValid(image) ? std::optional(bytes(out.str())) : std::nullopt;
}

std::optional<PropertyData> FakeImaging::PNGRepresentation(const Image& image) const {
    return canEncode && isValid(image) ? std::optional(bytes("PNG of " + story(image)))
                                       : std::nullopt;
}

}  // namespace quillbox::fakes
