// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "PropertyList.h"
#include "Service.h"

#include <optional>
#include <string>

namespace quillbox::simulator {

/// Reads the next property list of a service's client; nothing when the connection has ended or
/// what came is no property list of bearable length.
[[nodiscard]] std::optional<PropertyList> readPropertyList(Stream& stream);

/// A request that the faults have been asked about.
struct AdmittedRequest {
    PropertyList content;
    std::string command;
    Verdict verdict;
};

/// Reads the next request of a service and asks the faults about the command that it holds under
/// `key`. Nothing when the connection is to end.
[[nodiscard]] std::optional<AdmittedRequest> readRequest(ServiceContext& context,
                                                         const std::string& key = "Command");

/// Sends a property list with its length in front.
[[nodiscard]] bool writePropertyList(Stream& stream, const PropertyList& list);

/// Sends an answer the way the verdict on its request says: spoiled, or as it is. False when the
/// connection is to end.
[[nodiscard]] bool writeAnswer(Stream& stream, const PropertyList& answer, const Verdict& verdict);

/// The bytes of `payload`, a property list, spoiled in the given way, before its length is put in
/// front.
[[nodiscard]] wire::Bytes spoilPayload(wire::Bytes payload, Malformed variant);

}  // namespace quillbox::simulator
