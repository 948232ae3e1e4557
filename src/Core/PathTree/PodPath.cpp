// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/PathTree/PodPath.h"

#include "Core/Platform/LogLine.h"

#include <utility>

namespace quillbox {

namespace {

constexpr const char* kMediaDatabaseFolder = "/iTunes_Control";

}  // namespace

std::shared_ptr<PodPath> PodPath::initAsIPhoneRoot(const PathTreePlatform& platform,
                                                   std::shared_ptr<PodItem> item) {
    auto name = item->fullPath();
    return std::make_shared<PodPath>(Key{}, platform, nullptr, std::move(item), std::move(name));
}

std::shared_ptr<PodPath> PodPath::initAsIPodRoot(const PathTreePlatform& platform,
                                                 const std::string& path) {
    return std::make_shared<PodPath>(Key{}, platform, nullptr, nullptr, path);
}

std::shared_ptr<PodPath> PodPath::initAsIPhoneChild(PodPath& parent,
                                                    std::shared_ptr<PodItem> childItem) {
    auto name = childItem->relativePath();
    return std::make_shared<PodPath>(Key{}, parent.platform_, &parent, std::move(childItem),
                                     std::move(name));
}

std::shared_ptr<PodPath> PodPath::initAsIPodChild(PodPath& parent, const std::string& childName) {
    return std::make_shared<PodPath>(Key{}, parent.platform_, &parent, nullptr, childName);
}

PodPath::PodPath(Key /*key*/, const PathTreePlatform& platform, PodPath* parent,
                 std::shared_ptr<PodItem> item, std::string name)
    : platform_(platform),
      iPhoneItem_(std::move(item)),
      name_(std::move(name)),
      parentPath_(parent != nullptr && !iPhoneItem_ ? parent->fullPath() : std::string()),
      parent_(parent) {}

const std::vector<std::shared_ptr<PodPath>>& PodPath::children() {
    if (bChildrenNeedFirstLoad_) {
        refreshChildren();
    }
    return children_;
}

void PodPath::refreshChildren() {
    if (!isDirectory()) {
        return;
    }
    bChildrenNeedFirstLoad_ = false;
    children_.clear();
    if (iPhoneItem_) {
        listItemChildren();
    } else {
        listHostChildren();
    }
}

void PodPath::listItemChildren() {
    iPhoneItem_->refreshChildren();
    for (const auto& item : iPhoneItem_->children()) {
        children_.push_back(initAsIPhoneChild(*this, item));
    }
}

void PodPath::listHostChildren() {
    std::optional<NSError> error;
    const auto names = platform_.files.contentsOfDirectoryAtPath(fullPath(), &error);
    if (!names) {
        logLine(platform_.log, LogLevel::Warning,
                "ERROR getting directory info for path: ", fullPath(),
                ";  error=", error ? description(*error) : "(null)", "\n");
        return;
    }
    for (const auto& name : *names) {
        children_.push_back(initAsIPodChild(*this, name));
    }
}

bool PodPath::isDirectory() {
    if (iPhoneItem_) {
        return iPhoneItem_->isDirectory();
    }
    if (bFileInfoFirstLoad_) {
        bFileInfoFirstLoad_ = false;
        if (const auto attributes = hostAttributes()) {
            const auto* type = find(*attributes, NSFileType);
            const auto* text = type != nullptr ? type->string() : nullptr;
            isDirectory_ = text != nullptr &&
                           (*text == NSFileTypeDirectory || *text == NSFileTypeSymbolicLink);
        }
    }
    return isDirectory_;
}

std::string PodPath::fullPath() const {
    if (iPhoneItem_) {
        return iPhoneItem_->fullPath();
    }
    return parent_ != nullptr ? parentPath_ + "/" + name_ : name_;
}

std::int64_t PodPath::fileSize() const {
    if (iPhoneItem_) {
        return iPhoneItem_->getFileSize();
    }
    const auto attributes = hostAttributes();
    const auto* size = attributes ? find(*attributes, NSFileSize) : nullptr;
    return size != nullptr ? size->integerValue() : 0;
}

std::optional<PropertyDate> PodPath::modDate() const {
    if (iPhoneItem_) {
        return iPhoneItem_->nodeObjModDate();
    }
    const auto attributes = hostAttributes();
    const auto* value = attributes ? find(*attributes, NSFileModificationDate) : nullptr;
    const auto* date = value != nullptr ? value->get<PropertyDate>() : nullptr;
    return date != nullptr ? std::optional(*date) : std::nullopt;
}

std::string PodPath::root() const {
    const PodPath* node = this;
    while (node->parent_ != nullptr) {
        node = node->parent_;
    }
    return node->name_;
}

std::string PodPath::iTunesRoot() const {
    return iPhoneItem_ ? kMediaDatabaseFolder : root() + kMediaDatabaseFolder;
}

std::optional<PropertyDictionary> PodPath::hostAttributes() const {
    std::optional<NSError> error;
    auto attributes = platform_.files.attributesOfItemAtPath(fullPath(), &error);
    if (!attributes) {
        logLine(platform_.log, LogLevel::Warning, "ERROR getting info for item: ", fullPath(),
                ";  error: ", error ? description(*error) : "(null)", "\n");
    }
    return attributes;
}

}  // namespace quillbox
