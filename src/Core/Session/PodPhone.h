// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Platform.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillbox {

/// Connection roots by number. An application's area is `kRootTagApplication` plus its index in the
/// catalogue. 0 is no root: it makes the next switch open a connection anew.
enum RootTag : std::int32_t {
    kRootTagNone = 0,
    kRootTagRoot = 10,
    kRootTagMedia = 11,
    kRootTagApplication = 100,
};

/// One application of the catalogue: "name", "ID" and, where it declares one, "icon", all strings.
using AppRecord = PropertyDictionary;
using AppCatalogue = std::vector<AppRecord>;
/// The figures of the served file system, by the device's own keys.
using DeviceInfo = std::map<std::string, std::int64_t, std::less<>>;
/// What the device tells of one path: "st_ifmt", "st_size", ... as texts.
using FileInfo = std::map<std::string, std::string, std::less<>>;

/// The largest device file, in bytes, that is gathered in memory.
inline constexpr std::int64_t kLargestFileInMemory = 268'435'456;

/// The session of one attached device: its lockdown session, one AFC connection at a time, and the
/// file-system operations of its volume over that connection.
///
/// Threads: opening, switching and saving roots, the catalogue and the properties belong to the
/// main thread. The file-system operations may be called on any thread, also while the main thread
/// switches roots; they take no lock that is held during a device call. An operation asks for the
/// connection once, at its start: when the connection is replaced meanwhile, its number is no
/// longer known and the operation ends with a failure, never on the new root.
///
/// Nothing is retried. What a destroyed session held open ends with the device or with the next
/// session on it.
class PodPhone {
public:
    explicit PodPhone(const Platform& platform);
    PodPhone(const PodPhone&) = delete;
    PodPhone& operator=(const PodPhone&) = delete;
    virtual ~PodPhone();

    const Platform& platform() const { return platform_; }

    // Connection and roots -----------------------------------------------------------------------

    /// Connects to a device, checks its pairing, starts a session and opens the first connection:
    /// Root where it is allowed and the device offers it, else Media; then the root that was last
    /// mounted, where that is wanted. False at the first failure, of which nothing is undone.
    bool initializePodPhone(AMDeviceRef device, bool allowAFC2);
    /// Closes the connection, starts the session anew and opens another root. True at once for the
    /// current root. After a failure the tag is the new one and no connection works. When the
    /// session cannot be started anew the lock stays held, and a later switch never gets it.
    bool setupConnectionForRoot(std::int32_t tag);
    /// Writes the current root into the store, under the device's identifier. None, and nothing
    /// written, for a device without one. Throws `std::out_of_range` when the current root is an
    /// application that the catalogue does not hold.
    std::optional<PropertyDictionary> saveConnectionPoint();
    /// Switches to the root that the store holds for this device, where it can be had.
    void restoreLastMountConnection();
    /// Opens an application's area without closing anything first. True once the service has
    /// started, even when the connection over it could not be opened.
    bool connectToApp(AMDeviceRef device, const std::string& appBundleIdentifier);
    /// Tears the session down and opens it again.
    void ReConnect(bool allowAFC2);

    AMDeviceRef myDevice() const { return myDevice_; }

    void setMyDevice(AMDeviceRef device) { myDevice_ = device; }

    /// The open connection, or 0. Between the start of a service and the opening of the connection
    /// it is the service's number, which no AFC call serves. Any thread.
    AFCConnectionRef myConnection() const { return myConnection_; }

    void setMyConnection(AFCConnectionRef connection) {
        mappedRootTag_ = currentRootTag_.load();
        myConnection_ = connection;
    }

    /// The root that the connection serves, or should serve. Any thread.
    std::int32_t currentRootTag() const { return currentRootTag_; }

    std::int32_t lastMountTag() const { return lastMountTag_; }

    void setLastMountTag(std::int32_t tag) { lastMountTag_ = tag; }

    /// Whether the device gave its unrestricted file service when the session was opened.
    bool isJailbreaked() const { return isJailbreaked_; }

    void setIsJailbreaked(bool isJailbreaked) { isJailbreaked_ = isJailbreaked; }

    bool isUsingAFC2() const { return isUsingAFC2_; }

    void setIsUsingAFC2(bool isUsingAFC2) { isUsingAFC2_ = isUsingAFC2; }

    /// The folder that was listed last, as a volume path. Any thread.
    std::string currentDirectory() const;
    void setCurrentDirectory(std::string path);

    std::optional<std::string> serialNumber() const;
    void setSerialNumber(std::optional<std::string> serialNumber);

    std::optional<std::string> deviceUniqueDeviceID() const;
    void setDeviceUniqueDeviceID(std::optional<std::string> identifier);

    // Applications -------------------------------------------------------------------------------

    /// The device's installed applications, bundle identifier to attributes; none on failure.
    std::optional<PropertyDictionary> getAppBundles(AMDeviceRef device);
    /// The user's applications in the order that fixes their root tags. Asked of the device once;
    /// the filter of that first call holds for the life of the session.
    AppCatalogue getUserAppBundlesArray(bool onlyFileSharing);

    /// The artwork of the application at an index of the catalogue, read from its area; none when
    /// it has none. Closes the connection to open that area: the next switch reconnects, whatever
    /// comes out. Without an application at that index nothing is closed, and a lock that nobody
    /// took is given back.
    std::optional<Image> getImageBy(std::int64_t index);

    /// The catalogue as it is kept, none before it was asked for.
    std::optional<AppCatalogue> fileShareAppBundlesArray() const;
    void setFileShareAppBundlesArray(std::optional<AppCatalogue> catalogue);

    // Properties ---------------------------------------------------------------------------------

    /// The figures of the file system that the connection serves; none on failure. A value that is
    /// no number counts as 0.
    std::optional<DeviceInfo> getDeviceInfo();
    /// Bytes, asked of the device at each call; 0 when it does not tell.
    std::uint64_t getDeviceCapacity();
    std::uint64_t getDeviceFreeSpace();
    std::uint64_t getDeviceBlockSize();

    /// Lockdown values of the global domain, asked at each call; none when the device has none.
    std::optional<PropertyValue> deviceName();
    std::optional<PropertyValue> activationState();
    std::optional<PropertyValue> activationStateAcknowledged();
    std::optional<PropertyValue> basebandBootloaderVersion();
    std::optional<PropertyValue> basebandVersion();
    std::optional<PropertyValue> bluetoothAddress();
    std::optional<PropertyValue> buildVersion();
    std::optional<PropertyValue> deviceCertificate();
    std::optional<PropertyValue> deviceClass();
    std::optional<PropertyValue> devicePublicKey();
    std::optional<PropertyValue> firmwareVersion();
    std::optional<PropertyValue> fostAttached();
    std::optional<PropertyValue> integratedCircuitCardIdentity();
    std::optional<PropertyValue> internationalMobileEquipmentIdentity();
    std::optional<PropertyValue> internationalMobileSubscriberIdentity();
    std::optional<PropertyValue> modelNumber();
    std::optional<PropertyValue> phoneNumber();
    std::optional<PropertyValue> productType();
    std::optional<PropertyValue> productVersion();
    std::optional<PropertyValue> protocolVersion();
    std::optional<PropertyValue> regionInfo();
    std::optional<PropertyValue> sBLockdownEverRegisteredKey();
    std::optional<PropertyValue> sIMStatus();
    std::optional<PropertyValue> somebodySetTimeZone();
    std::optional<PropertyValue> timeIntervalSince1970();
    std::optional<PropertyValue> timeZone();
    std::optional<PropertyValue> timeZoneOffsetFromUTC();
    std::optional<PropertyValue> trustedHostAttached();
    std::optional<PropertyValue> uses24HourClock();
    std::optional<PropertyValue> wiFiAddress();
    std::optional<PropertyValue> iTunesHasConnected();
    /// The device's identifier, asked once for each session.
    std::optional<std::string> uniqueDeviceID();

    // Listing and attributes ---------------------------------------------------------------------

    /// Where a path of the volume lies on the connection: below "/Documents" when the volume shows
    /// an application's documents only, else unchanged. Any thread.
    std::string devicePathForVolumePath(const std::string& path) const;

    std::optional<std::vector<std::string>> contentsOfDirectoryAtPath(const std::string& path,
                                                                      GMErrorOut error);
    std::optional<PropertyDictionary>
    attributesOfItemAtPath(const std::string& path, const GMUserData& userData, GMErrorOut error);
    /// The error is always set, on success too, from the thread's `errno`.
    std::optional<PropertyDictionary> attributesOfFileSystemForPath(const std::string& path,
                                                                    GMErrorOut error);
    /// Rescales binary units into the same figure of decimal ones: 16 GiB become 16 GB.
    static std::uint64_t convertFileSystemSize(std::uint64_t bytes);

    /// The questions below take device paths, report failure by their result alone and log nothing.
    std::optional<FileInfo> GetFileInfo(const std::string& path);
    /// A symbolic link counts as a directory.
    bool isDirectory(const std::string& path);
    std::int64_t getFileSize(const std::string& path);
    PropertyDate getDateModified(const std::string& path);
    /// True for directories too.
    bool fileExistsOnDevice(const std::string& path);
    bool directoryExistsOnDevice(const std::string& path);
    bool existsOnDevice(const std::string& path, bool* isDirectory);

    // File handles -------------------------------------------------------------------------------

    /// Opens with AFC mode 1 for exactly O_RDONLY and mode 2 for all else; never creates.
    bool openFileAtPath(const std::string& path, std::int32_t mode, GMUserData* userData,
                        GMErrorOut error);
    /// Opens with AFC mode 2, which makes the file where there is none and keeps one that is there.
    bool createFileAtPath(const std::string& path, const PropertyDictionary& attributes,
                          GMUserData* userData, GMErrorOut error);
    /// One seek and one read; the number of bytes read, 0 at the end, or -2.
    std::int32_t readFileAtPath(const std::string& path, const GMUserData& userData, char* buffer,
                                std::uint64_t size, std::int64_t offset, GMErrorOut error);
    /// One seek and one write; the size asked, or -2.
    std::int32_t writeFileAtPath(const std::string& path, const GMUserData& userData,
                                 const char* buffer, std::uint64_t size, std::int64_t offset,
                                 GMErrorOut error);
    void releaseFileAtPath(const std::string& path, const GMUserData& userData);
    /// Accepts every change of an existing item and applies none. The error is always set.
    bool setAttributes(const PropertyDictionary& attributes, const std::string& ofItemAtPath,
                       const GMUserData& userData, GMErrorOut error);

    /// Whether a device path waits for camera-roll processing at its next release. Any thread.
    bool isAwaitingCameraRoll(const std::string& path) const;

    // Name space ---------------------------------------------------------------------------------

    bool moveItemAtPath(const std::string& path, const std::string& toPath, GMErrorOut error);
    bool createDirectoryAtPath(const std::string& path, const PropertyDictionary& attributes,
                               GMErrorOut error);
    /// Both removals are the same: what is not there counts as removed.
    bool removeDirectoryAtPath(const std::string& path, GMErrorOut error);
    bool removeItemAtPath(const std::string& path, GMErrorOut error);
    /// Links are made relative to the connection's top, never below "/Documents". The error is
    /// always set. Without one of the paths nothing is asked of the device.
    bool linkItemAtPath(const std::optional<std::string>& path,
                        const std::optional<std::string>& toPath, GMErrorOut error);
    bool createSymbolicLinkAtPath(const std::optional<std::string>& path,
                                  const std::optional<std::string>& withDestinationPath,
                                  GMErrorOut error);
    std::optional<std::string> destinationOfSymbolicLinkAtPath(const std::string& path,
                                                               GMErrorOut error);
    std::optional<PropertyData> valueOfExtendedAttribute(const std::string& name,
                                                         const std::string& ofItemAtPath,
                                                         std::int64_t position, GMErrorOut error);
    /// True at position 0, where the value is dropped.
    bool setExtendedAttribute(const std::string& name, const std::string& ofItemAtPath,
                              const PropertyData& value, std::int64_t position,
                              std::int32_t options, GMErrorOut error);
    std::optional<std::vector<std::string>> extendedAttributesOfItemAtPath(const std::string& path,
                                                                           GMErrorOut error);
    std::optional<PropertyDictionary> finderAttributesAtPath(const std::string& path,
                                                             GMErrorOut error);
    std::optional<PropertyDictionary> resourceAttributesAtPath(const std::string& path,
                                                               GMErrorOut error);
    /// Device paths: gives the item at a path another last component.
    bool renameFolder(const std::string& path, const std::string& newFolderName);
    bool removePath(const std::string& path);

    // Transfer -----------------------------------------------------------------------------------

    // Whole files, by device paths as they are and absolute paths of this computer. Failure is the
    // result alone: nothing is logged, and what was opened before a failure stays open. May be
    // called on any thread; blocks for the device. What is gathered in memory is bounded: beyond
    // `kLargestFileInMemory` the answer is a failure.

    /// Part of a device file, in reads of 64 KiB; shorter where the file is. A missing file is made
    /// and gives empty data.
    std::optional<PropertyData> readFileData(const std::string& path, std::int64_t withOffset,
                                             std::int64_t lengthInBytes);
    std::optional<PropertyData> readDataOfFile(const std::string& path);
    /// True when the file could be read and is not empty. Once it is open, `fileData` holds what
    /// was read so far.
    bool attemptFileRead(const std::string& path, std::optional<PropertyData>* fileData);
    /// Copies a file of this computer onto the device, in writes of 256 KiB; one of 4 GiB or more
    /// is refused. A file at the target goes first, whatever happens then.
    bool copyFileToIPhone(const std::string& sourcePath, const std::string& targetPath);
    /// Copies a device file to this computer. A missing source is made and gives an empty copy; one
    /// of 4 GiB or more fails.
    bool copyFile(const std::string& sourcePath, const std::string& destinationPath);
    /// Removes what stands at a path of this computer and makes its folder.
    bool prepareTargetPathOnLocalMachine(const std::string& path);
    /// The files of a device directory as records of "name" and "size", its directories as records
    /// of "name"; none on failure. Whether a name is a directory, and its size, are asked for the
    /// bare name, as if it stood at the top of the connection.
    std::optional<std::vector<PropertyDictionary>> getFiles(const std::string& path);
    std::optional<std::vector<PropertyDictionary>> getDirectories(const std::string& path);

    // Camera roll --------------------------------------------------------------------------------

    /// Whether a path ends in one of the picture suffixes "jpg", "jpeg", "gif", "thm", "bmp",
    /// "tiff", "png", in any case and with or without a dot.
    static bool isPictureType(const std::string& path);
    /// The first free name of a camera-roll folder, "IMG_0001.JPG" and so on to 99 behind the
    /// folder's base number, for a picture at `path`; none when all are taken. A number is free
    /// when neither a JPEG nor a PNG has it.
    std::optional<std::string> pathToChange(const std::string& path, std::int32_t folderNum);
    /// Gives a picture that was copied into the camera roll the device's own name and a thumbnail.
    /// True when it was renamed, whatever became of the thumbnail; else nothing on the device is
    /// changed. Called by the release of a marked file, with its device
    /// path, no lock held.
    virtual bool createThumbnailForDCIM(const std::string& path);

private:
    /// Everything from the end of the old session to the start of a new one on the same device.
    bool restartSession();
    /// Starts the service of a root; false for a number that is no root, and when the device
    /// refuses.
    bool startServiceForRoot(std::int32_t tag);
    std::optional<PropertyValue> lockdownValue(std::string_view key);
    std::uint64_t deviceInfoFigure(std::string_view key);
    bool fileExists(AFCConnectionRef connection, const std::string& path);
    std::optional<FileInfo> fileInfo(AFCConnectionRef connection, const std::string& path);
    bool removeItem(std::string_view selector, const std::string& path, GMErrorOut error);
    bool makeLink(AFCLinkType type, const std::optional<std::string>& first,
                  const std::optional<std::string>& second, GMErrorOut error);
    bool appendFileData(AFCConnectionRef connection, AFCFileRef file, std::int64_t length,
                        PropertyData& data);
    std::optional<PropertyData> readDataOfFile(AFCConnectionRef connection,
                                               const std::string& path);
    std::optional<PropertyData> readFileData(AFCConnectionRef connection, const std::string& path,
                                             std::int64_t offset, std::int64_t length);
    bool copyFileToIPhone(AFCConnectionRef connection, const std::string& sourcePath,
                          const std::string& targetPath);
    std::int64_t fileSize(AFCConnectionRef connection, const std::string& path);
    std::optional<std::vector<PropertyDictionary>> entries(const std::string& path,
                                                           bool wantsDirectories);
    std::optional<std::string> pathToChange(AFCConnectionRef connection, const std::string& path,
                                            std::int32_t folderNum);
    /// The folder number of a picture that may be renamed.
    std::optional<std::int32_t> cameraRollFolder(AFCConnectionRef connection,
                                                 const std::string& path);
    void makeCameraRollThumbnail(AFCConnectionRef connection, const std::string& path);
    bool consumeCameraRollMark(const std::string& path);

    template <typename... Pieces>
    void logCallback(const Pieces&... pieces) const;

    const Platform& platform_;
    std::atomic<AMDeviceRef> myDevice_{nullptr};
    std::atomic<AFCConnectionRef> myConnection_{0};
    std::atomic<std::int32_t> currentRootTag_{kRootTagNone};
    /// The root that paths are mapped for: the current one, but while a switch is on its way and
    /// the old connection still open, the old one. Written after the old connection has closed and
    /// before the new one is known, so that no operation takes a path of one root to another.
    std::atomic<std::int32_t> mappedRootTag_{kRootTagNone};
    std::atomic<std::int32_t> lastMountTag_{kRootTagNone};
    std::atomic<bool> isJailbreaked_{false};
    std::atomic<bool> isUsingAFC2_{false};
    /// Keeps root switches apart; no file-system operation takes it.
    std::unique_ptr<NSLock> connectionLock_;

    /// Guards what follows; never held during a device call.
    mutable std::mutex stateMutex_;
    std::string currentDirectory_;
    std::optional<std::string> serialNumber_;
    std::optional<std::string> deviceUniqueDeviceID_;
    std::map<std::string, bool> isChangeNameDictionary_;
    std::optional<AppCatalogue> fileShareAppBundlesArray_;
};

}  // namespace quillbox
