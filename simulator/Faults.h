// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Channel.h"
#include "RequestKinds.h"

#include <condition_variable>
#include <list>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>

namespace quillbox::simulator {

/// Ways in which an answer can be wrong.
enum class Malformed {
    WrongMagic,        ///< does not begin with its signature; no property list
    Short,             ///< a length smaller than the fixed part
    Oversized,         ///< a length beyond all bounds
    TruncatedSilent,   ///< the first half, then nothing
    TruncatedClose,    ///< the first half, then the end of the connection
    OtherNumber,       ///< the number or tag of another request
    WrongOperation,    ///< an answer of another kind
    DataForStatus,     ///< bulk data where a status is expected
    EndlessList,       ///< a key/value list of more than a million pairs
    OddList,           ///< a key without a value
    UnterminatedList,  ///< a list without its last NUL
    NamesSlash,        ///< directory entries with slashes
    NamesNul,          ///< directory entries with a NUL inside
    NamesEmpty,        ///< empty directory entries
    NamesDotDot,       ///< directory entries ".." and "../..", where none belong
    DataInHead,        ///< well-formed: bulk data counted among the parameters
    Entries100000      ///< one hundred thousand directory entries
};

[[nodiscard]] std::optional<Malformed> malformedFromName(std::string_view name);
/// The names of all variants, separated by blanks, for the help.
[[nodiscard]] std::string malformedNames();

/// What becomes of a request.
struct Verdict {
    enum class Kind { Pass, Fail, Spoil };
    Kind kind = Kind::Pass;
    std::string
        status;  ///< for Fail: a number for the file service and the multiplexer, else a name
    Malformed variant = Malformed::WrongMagic;  ///< for Spoil
};

/// Failures that have been ordered, and requests that wait until they may go on. Thread-safe.
class Faults {
public:
    /// A request that has come in.
    struct Request {
        std::string_view device;   ///< its unique identifier
        std::string_view service;  ///< the service's full name, empty for the multiplexer
        std::string_view kind;
        RequestGroup group = RequestGroup::None;
    };

    /// Orders `verdict` for `count` requests of the kind, the first of them the `first`-th from now
    /// (1 is the next). An empty device stands for all devices, kAnyAfcRequest for all file
    /// requests.
    void order(std::string device, std::string kind, std::uint64_t first, std::uint64_t count,
               Verdict verdict);

    /// Forgets all orders; how many there were.
    std::size_t clear();

    /// From now on requests wait that match: a device (empty: all) and a service or request kind
    /// (empty: every request).
    void stall(std::string device, std::string what);

    /// Lets requests go on; an empty device or `what` ends all stalls that fit the other.
    void resume(const std::string& device, const std::string& what);

    /// Waits while the request is stalled; false when the connection was closed meanwhile.
    [[nodiscard]] bool pass(const Request& request, Channel& channel);

    /// Counts the request against the orders and says what becomes of it.
    [[nodiscard]] Verdict judge(const Request& request);

    /// Ends all waiting for good: the program ends.
    void shutDown();

private:
    struct Order {
        std::string device;
        std::string kind;
        std::uint64_t skip;
        std::uint64_t count;
        Verdict verdict;
    };

    [[nodiscard]] bool stalled(const Request& request) const;

    std::mutex mutex_;
    std::condition_variable changed_;
    std::list<Order> orders_;
    std::set<std::pair<std::string, std::string>> stalls_;
    bool shutDown_ = false;
};

}  // namespace quillbox::simulator
