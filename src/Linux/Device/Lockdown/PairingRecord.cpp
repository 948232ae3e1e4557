// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Lockdown/PairingRecord.h"

#include "Linux/Device/Lockdown/LibraryStart.h"
#include "Linux/Device/Streams/PropertyLists.h"

#include <usbmuxd.h>

#include <cstdlib>
#include <memory>

namespace quillbox::device {

namespace {

struct FreeRecord {
    void operator()(char* memory) const { std::free(memory); }
};

std::string dataOf(const PropertyDictionary& dictionary, std::string_view key) {
    const PropertyValue* value = find(dictionary, key);
    const auto* data = value == nullptr ? nullptr : value->get<PropertyData>();
    return data == nullptr ? std::string{} : std::string(data->begin(), data->end());
}

}  // namespace

Failure readPairingRecord(const std::string& udid, PairingRecord& record) {
    char* bytes = nullptr;
    std::uint32_t size = 0;
    startLibrary();
    const int result = usbmuxd_read_pair_record(udid.c_str(), &bytes, &size);
    const std::unique_ptr<char, FreeRecord> owner{bytes};
    if (result != 0 || bytes == nullptr) {
        return {FailureKind::NoPairingRecord, "this computer holds no pairing record"};
    }
    const auto values = parseDictionary(wire::asBytes({bytes, size}));
    if (!values) {
        return {FailureKind::NoPairingRecord, "the pairing record is damaged"};
    }
    record.hostId = textOf(*values, "HostID").value_or("");
    record.systemBuid = textOf(*values, "SystemBUID").value_or("");
    record.identity = {dataOf(*values, "RootCertificate"), dataOf(*values, "RootPrivateKey")};
    record.escrowBag.reset();
    if (const PropertyValue* bag = find(*values, "EscrowBag")) {
        if (const auto* data = bag->get<PropertyData>()) {
            record.escrowBag = *data;
        }
    }
    if (record.hostId.empty()) {
        return {FailureKind::NoPairingRecord, "the pairing record names no host"};
    }
    return {};
}

}  // namespace quillbox::device
