// SPDX-License-Identifier: GPL-3.0-or-later
#include "Faults.h"

#include <algorithm>
#include <array>

namespace quillbox::simulator {
namespace {

using VariantName = std::pair<Malformed, std::string_view>;

constexpr std::array kVariants{VariantName{Malformed::WrongMagic, "wrong-magic"},
                               VariantName{Malformed::Short, "short"},
                               VariantName{Malformed::Oversized, "oversized"},
                               VariantName{Malformed::TruncatedSilent, "truncated-silent"},
                               VariantName{Malformed::TruncatedClose, "truncated-close"},
                               VariantName{Malformed::OtherNumber, "other-number"},
                               VariantName{Malformed::WrongOperation, "wrong-operation"},
                               VariantName{Malformed::DataForStatus, "data-for-status"},
                               VariantName{Malformed::EndlessList, "endless-list"},
                               VariantName{Malformed::OddList, "odd-list"},
                               VariantName{Malformed::UnterminatedList, "unterminated-list"},
                               VariantName{Malformed::NamesSlash, "names-slash"},
                               VariantName{Malformed::NamesNul, "names-nul"},
                               VariantName{Malformed::NamesEmpty, "names-empty"},
                               VariantName{Malformed::NamesDotDot, "names-dotdot"},
                               VariantName{Malformed::DataInHead, "data-in-head"},
                               VariantName{Malformed::Entries100000, "entries-100000"}};

// How often a waiting request looks whether its client has gone.
constexpr std::chrono::milliseconds kGlance{20};

}  // namespace

std::optional<Malformed> malformedFromName(std::string_view name) {
    for (const auto& [variant, known] : kVariants) {
        if (known == name) {
            return variant;
        }
    }
    return std::nullopt;
}

std::string malformedNames() {
    std::string names;
    for (const auto& [variant, name] : kVariants) {
        names += names.empty() ? "" : " ";
        names += name;
    }
    return names;
}

void Faults::order(std::string device, std::string kind, std::uint64_t first, std::uint64_t count,
                   Verdict verdict) {
    const std::scoped_lock lock{mutex_};
    orders_.push_back({std::move(device), std::move(kind), first - 1, count, std::move(verdict)});
}

std::size_t Faults::clear() {
    const std::scoped_lock lock{mutex_};
    const std::size_t count = orders_.size();
    orders_.clear();
    return count;
}

void Faults::stall(std::string device, std::string what) {
    const std::scoped_lock lock{mutex_};
    stalls_.emplace(std::move(device), std::move(what));
}

void Faults::resume(const std::string& device, const std::string& what) {
    {
        const std::scoped_lock lock{mutex_};
        std::erase_if(stalls_, [&](const auto& stall) {
            return (device.empty() || stall.first == device) &&
                   (what.empty() || stall.second == what);
        });
    }
    changed_.notify_all();
}

bool Faults::stalled(const Request& request) const {
    if (shutDown_) {
        return false;
    }
    return std::ranges::any_of(stalls_, [&](const auto& stall) {
        const auto& [device, what] = stall;
        return (device.empty() || device == request.device) &&
               (what.empty() || what == request.kind || namesService(what, request.service) ||
                (what == kAnyAfcRequest && request.group == RequestGroup::Afc));
    });
}

bool Faults::pass(const Request& request, Channel& channel) {
    std::unique_lock lock{mutex_};
    while (stalled(request)) {
        if (channel.closed()) {
            return false;
        }
        changed_.wait_for(lock, kGlance);
    }
    return true;
}

Verdict Faults::judge(const Request& request) {
    const std::scoped_lock lock{mutex_};
    Verdict verdict;
    for (auto order = orders_.begin(); order != orders_.end();) {
        const auto next = std::next(order);
        const bool kindFits = order->kind == request.kind ||
                              (order->kind == kAnyAfcRequest && request.group == RequestGroup::Afc);
        if (kindFits && (order->device.empty() || order->device == request.device)) {
            if (order->skip > 0) {
                --order->skip;
            } else {
                // Each order counts for itself; the first one given decides.
                if (verdict.kind == Verdict::Kind::Pass) {
                    verdict = order->verdict;
                }
                if (--order->count == 0) {
                    orders_.erase(order);
                }
            }
        }
        order = next;
    }
    return verdict;
}

void Faults::shutDown() {
    {
        const std::scoped_lock lock{mutex_};
        shutDown_ = true;
    }
    changed_.notify_all();
}

}  // namespace quillbox::simulator
