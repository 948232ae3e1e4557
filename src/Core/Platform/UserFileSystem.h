// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Error.h"
#include "Core/Platform/PropertyList.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillbox {

/// Notices of a volume's life, posted on the main thread with the `GMUserFileSystem` as object.
inline constexpr std::string_view kGMUserFileSystemDidMount = "kGMUserFileSystemDidMount";
inline constexpr std::string_view kGMUserFileSystemDidUnmount = "kGMUserFileSystemDidUnmount";
inline constexpr std::string_view kGMUserFileSystemMountFailed = "kGMUserFileSystemMountFailed";
/// Key of the error in the user information of a mount failure.
inline constexpr std::string_view kGMUserFileSystemErrorKey = "kGMUserFileSystemErrorKey";

/// Keys of attribute dictionaries (`attributesOfItemAtPath`, `setAttributes`).
inline constexpr std::string_view NSFileType = "NSFileType";                          ///< string
inline constexpr std::string_view NSFileSize = "NSFileSize";                          ///< unsigned
inline constexpr std::string_view NSFileCreationDate = "NSFileCreationDate";          ///< date
inline constexpr std::string_view NSFileModificationDate = "NSFileModificationDate";  ///< date
inline constexpr std::string_view NSFilePosixPermissions = "NSFilePosixPermissions";  ///< mode word
inline constexpr std::string_view NSFileReferenceCount = "NSFileReferenceCount";  ///< link count
/// Further keys that `setAttributes` may carry; a delegate is free to ignore them.
inline constexpr std::string_view NSFileOwnerAccountID = "NSFileOwnerAccountID";
inline constexpr std::string_view NSFileGroupOwnerAccountID = "NSFileGroupOwnerAccountID";

/// Values of `NSFileType`.
inline constexpr std::string_view NSFileTypeDirectory = "NSFileTypeDirectory";
inline constexpr std::string_view NSFileTypeRegular = "NSFileTypeRegular";
inline constexpr std::string_view NSFileTypeSymbolicLink = "NSFileTypeSymbolicLink";
inline constexpr std::string_view NSFileTypeSocket = "NSFileTypeSocket";
inline constexpr std::string_view NSFileTypeCharacterSpecial = "NSFileTypeCharacterSpecial";
inline constexpr std::string_view NSFileTypeBlockSpecial = "NSFileTypeBlockSpecial";
inline constexpr std::string_view NSFileTypeUnknown = "NSFileTypeUnknown";

/// Keys of the volume attribute dictionary.
inline constexpr std::string_view NSFileSystemSize = "NSFileSystemSize";          ///< bytes
inline constexpr std::string_view NSFileSystemFreeSize = "NSFileSystemFreeSize";  ///< bytes
inline constexpr std::string_view NSFileSystemNodes = "NSFileSystemNodes";
inline constexpr std::string_view NSFileSystemFreeNodes = "NSFileSystemFreeNodes";
inline constexpr std::string_view NSFileDeviceIdentifier = "NSFileDeviceIdentifier";
inline constexpr std::string_view kGMUserFileSystemVolumeSupportsExtendedDatesKey =
    "kGMUserFileSystemVolumeSupportsExtendedDatesKey";

/// What open and create hand back and every later call of that open gets: a mutable dictionary that
/// belongs to the open file. Only the callbacks of that open touch it.
using GMUserData = std::shared_ptr<PropertyDictionary>;
using GMErrorOut = std::optional<NSError>*;  ///< an error out-parameter; may be null

/// What a volume asks. Paths are UTF-8 and begin with "/", the volume's top.
///
/// Threads: the volume's own; with `isThreadSafe` false one call at a time and per volume.
/// `willMount` and `willUnmount` come on the main thread.
/// Failure: false, none or a negative count, with an error in the POSIX domain where the operation
/// sets one; success is decided by the result, never by the error. No callback may throw.
class GMUserFileSystemDelegate {
public:
    virtual ~GMUserFileSystemDelegate() = default;

    virtual void willMount() = 0;
    virtual void willUnmount() = 0;

    virtual std::optional<std::vector<std::string>>
    contentsOfDirectoryAtPath(const std::string& path, GMErrorOut error) = 0;
    virtual std::optional<PropertyDictionary> attributesOfItemAtPath(const std::string& path,
                                                                     const GMUserData& userData,
                                                                     GMErrorOut error) = 0;
    virtual std::optional<PropertyDictionary> attributesOfFileSystemForPath(const std::string& path,
                                                                            GMErrorOut error) = 0;
    virtual bool setAttributes(const PropertyDictionary& attributes,
                               const std::string& ofItemAtPath, const GMUserData& userData,
                               GMErrorOut error) = 0;

    virtual bool openFileAtPath(const std::string& path, std::int32_t mode, GMUserData* userData,
                                GMErrorOut error) = 0;
    virtual bool createFileAtPath(const std::string& path, const PropertyDictionary& attributes,
                                  GMUserData* userData, GMErrorOut error) = 0;
    virtual void releaseFileAtPath(const std::string& path, const GMUserData& userData) = 0;
    virtual std::int32_t readFileAtPath(const std::string& path, const GMUserData& userData,
                                        char* buffer, std::uint64_t size, std::int64_t offset,
                                        GMErrorOut error) = 0;
    virtual std::int32_t writeFileAtPath(const std::string& path, const GMUserData& userData,
                                         const char* buffer, std::uint64_t size,
                                         std::int64_t offset, GMErrorOut error) = 0;

    virtual bool createDirectoryAtPath(const std::string& path,
                                       const PropertyDictionary& attributes, GMErrorOut error) = 0;
    virtual bool moveItemAtPath(const std::string& path, const std::string& toPath,
                                GMErrorOut error) = 0;
    virtual bool removeDirectoryAtPath(const std::string& path, GMErrorOut error) = 0;
    virtual bool removeItemAtPath(const std::string& path, GMErrorOut error) = 0;
    virtual bool linkItemAtPath(const std::string& path, const std::string& toPath,
                                GMErrorOut error) = 0;
    virtual bool createSymbolicLinkAtPath(const std::string& path,
                                          const std::string& withDestinationPath,
                                          GMErrorOut error) = 0;
    virtual std::optional<std::string> destinationOfSymbolicLinkAtPath(const std::string& path,
                                                                       GMErrorOut error) = 0;
    virtual bool exchangeDataOfItemAtPath(const std::string& path,
                                          const std::string& withItemAtPath, GMErrorOut error) = 0;

    virtual std::optional<PropertyData> valueOfExtendedAttribute(const std::string& name,
                                                                 const std::string& ofItemAtPath,
                                                                 std::int64_t position,
                                                                 GMErrorOut error) = 0;
    virtual bool setExtendedAttribute(const std::string& name, const std::string& ofItemAtPath,
                                      const PropertyData& value, std::int64_t position,
                                      std::int32_t options, GMErrorOut error) = 0;
    virtual std::optional<std::vector<std::string>>
    extendedAttributesOfItemAtPath(const std::string& path, GMErrorOut error) = 0;
    virtual std::optional<PropertyDictionary> finderAttributesAtPath(const std::string& path,
                                                                     GMErrorOut error) = 0;
    virtual std::optional<PropertyDictionary> resourceAttributesAtPath(const std::string& path,
                                                                       GMErrorOut error) = 0;
};

/// One volume over a delegate. Main thread only. Destroying it does not unmount: what is mounted
/// lives on, with the delegate, until it is unmounted.
class GMUserFileSystem {
public:
    virtual ~GMUserFileSystem() = default;

    /// Asks for a mount at a path that does not exist yet or is an empty folder. Never blocks; one
    /// of `kGMUserFileSystemDidMount` and `kGMUserFileSystemMountFailed` follows. Options:
    /// "volicon=PATH", "volname=NAME", "direct_io", "allow_other", "local"; an unknown one is
    /// logged and left out.
    virtual void mountAtPath(const std::string& path,
                             const std::vector<std::string>& withOptions) = 0;

    /// Ends the volume: the delegate's `willUnmount`, what is gathered, the mount (lazily where it
    /// is busy), its folder, then `kGMUserFileSystemDidUnmount`, all before it returns. Harmless
    /// when nothing is mounted. Bounded; never waits for a program that holds a file open.
    virtual void unmount() = 0;
};

/// Makes volumes.
class UserFileSystems {
public:
    virtual ~UserFileSystems() = default;

    /// The delegate is held while a volume of it is mounted or still has a call in it, and not
    /// before. `isThreadSafe` false: never two calls of it at once from this volume.
    virtual std::unique_ptr<GMUserFileSystem>
    initWithDelegate(std::weak_ptr<GMUserFileSystemDelegate> delegate, bool isThreadSafe) = 0;
};

}  // namespace quillbox
