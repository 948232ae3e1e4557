// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <utility>
#include <variant>

namespace quillbox::volume {

/// An errno number, to be told apart from a value.
struct Failure {
    int number;
};

/// What an operation answers: a value, or the errno number that the asking program gets.
template <typename Value>
class [[nodiscard]] Result {
public:
    Result(Value value) : content_(std::in_place_index<0>, std::move(value)) {}

    Result(Failure failure) : content_(std::in_place_index<1>, failure) {}

    explicit operator bool() const { return content_.index() == 0; }

    Value& operator*() { return *std::get_if<0>(&content_); }

    const Value& operator*() const { return *std::get_if<0>(&content_); }

    Value* operator->() { return std::get_if<0>(&content_); }

    const Value* operator->() const { return std::get_if<0>(&content_); }

    /// The errno number; 0 for a value.
    int error() const {
        const Failure* failure = std::get_if<1>(&content_);
        return failure == nullptr ? 0 : failure->number;
    }

    Failure failure() const { return Failure{error()}; }

private:
    std::variant<Value, Failure> content_;
};

/// The value of an operation that has nothing to tell but that it was done.
struct Done {};

}  // namespace quillbox::volume
