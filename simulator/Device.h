// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "AfcFiles.h"
#include "Applications.h"
#include "Link.h"
#include "Trust.h"

#include <filesystem>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace quillbox::simulator {

/// What a device is. It does not change while the device exists.
struct DeviceDescription {
    std::string udid;
    std::string name = "Blue Phone";
    std::string serial = "QB0000000001";
    std::string deviceClass = "iPhone";
    std::string productType = "iPhone14,5";
    std::string hardwareModel = "D17AP";
    std::string modelNumber = "MLPK3";
    std::string productVersion = "17.5.1";
    std::string buildVersion = "21F90";
    std::uint64_t productId = 0x12A8;
    std::uint64_t totalBytes = 128'000'000'000;
    bool tls = true;                ///< sessions and services go over to TLS
    bool wholeFileSystem = true;    ///< offers the service for the whole file system
    bool refuseContainers = false;  ///< vends containers only of applications signed by a developer
    std::uint64_t longestRead = 64U << 20U;  ///< bytes of one answer to a read; a longer one is cut
    std::filesystem::path folder;            ///< the device's folder below the state folder
    std::filesystem::path media;             ///< the media area
};

/// A service that was started and waits for its connection.
struct StartedService {
    std::string name;
    bool tls = false;
    Pairing pairing;
};

/// A simulated device: description, trust, link, and what is open on it. Thread-safe.
class Device {
public:
    explicit Device(DeviceDescription description);

    [[nodiscard]] const DeviceDescription& description() const { return description_; }

    [[nodiscard]] const std::string& udid() const { return description_.udid; }

    [[nodiscard]] std::filesystem::path rootFolder() const { return description_.folder / "Root"; }

    Trust trust;
    Applications applications;
    const std::shared_ptr<LinkConditions> link = std::make_shared<LinkConditions>();

    /// The name as it is now.
    [[nodiscard]] std::string name() const;
    void setName(std::string name);

    /// Free bytes as the file service reports them: what was set, else half of the whole.
    [[nodiscard]] std::uint64_t freeBytes() const;
    void setFreeBytes(std::uint64_t bytes);

    /// Gives a started service a port; nothing when as many instances of it are open or waiting as
    /// a device allows (five of house arrest).
    [[nodiscard]] std::optional<std::uint16_t> reservePort(StartedService service);
    /// Takes the service that waits behind the port; each port serves one connection.
    [[nodiscard]] std::optional<StartedService> takePort(std::uint16_t port);

    /// Connections through the plug of that number. A link that was opened is closed by its owner.
    void addLink(std::uint64_t plug, const std::shared_ptr<Link>& opened);
    void removeLink(const std::shared_ptr<Link>& closed);
    /// Ends the connections of a plug (all without one) and waits, briefly, until their clients
    /// have seen the end. With a service's name only those of that service. How many there were.
    std::size_t endLinks(std::optional<std::uint64_t> plug, std::string_view service = {});
    /// Has all links look at the conditions anew.
    void wakeLinks();
    /// Open connections by service.
    [[nodiscard]] std::map<std::string, std::size_t> openServices() const;

private:
    struct OpenLink {
        std::uint64_t plug;
        std::shared_ptr<Link> link;
    };

    [[nodiscard]] std::size_t instances(const std::string& service) const;

    const DeviceDescription description_;
    mutable std::mutex mutex_;
    std::string name_;
    std::optional<std::uint64_t> freeBytes_;
    std::uint16_t nextPort_ = 49152;
    std::map<std::uint16_t, StartedService> ports_;
    std::list<OpenLink> links_;
};

}  // namespace quillbox::simulator
