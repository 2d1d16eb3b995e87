#pragma once

#include <foundation/storage/provider/ExtendedAttributes.hpp>
#include <foundation/storage/vfs/Exception.hpp>

#include <boost/date_time/posix_time/ptime.hpp>

#include <cstdint>
#include <optional>

namespace foundation::storage::provider {

enum class ItemType : std::uint8_t { Nothing, File, Other, Folder, Link };

// What a look is asked for beyond the kind, the target of a link, the size and the time,
// which every look gives. A provider may give more than asked where it costs nothing more
// (one HEAD request tells everything); the record says what it holds.
enum class Facts : std::uint8_t { Kind = 0, Writable = 1, Extended = 2, All = 3 };

constexpr Facts operator|(Facts a, Facts b) noexcept {
    return static_cast<Facts>(static_cast<std::uint8_t>(a) | static_cast<std::uint8_t>(b));
}
// Whether `held` includes every fact of `wanted`.
constexpr bool holds(Facts held, Facts wanted) noexcept {
    return (static_cast<std::uint8_t>(held) & static_cast<std::uint8_t>(wanted)) ==
           static_cast<std::uint8_t>(wanted);
}

// What one look at a location found: the item itself (a final link not followed) and, for
// a link, what it leads to. A provider fills it from as few requests as it can (the `file`
// provider: one lstat, and one stat only for a link); every existence and attribute
// question is then asked of the record, never of the storage again.
struct ItemStatus {
    ItemType type = ItemType::Nothing;
    // Why nothing is there: ResourceNotFound, or NotAFolder for a path through a file. A
    // provider that says no more than "nothing" means "not found".
    int missingCode = vfs::ResourceNotFound;
    // What a link leads to; Nothing when it leads nowhere, with the reason in targetCode:
    // ResourceNotFound for a dangling link, IOError for a loop.
    ItemType target = ItemType::Nothing;
    int targetCode = vfs::ResourceNotFound;
    // Of the item the location leads to (the target, for a link that leads somewhere).
    boost::posix_time::ptime lastModified;
    std::uint64_t size = 0;
    // Of the item the location leads to, where it can be reached, and only as `facts` says.
    bool writable = false;
    ExtendedAttributes extended;
    Facts facts = Facts::Kind;
};

// The item the location leads to once a final link is followed.
inline ItemType followed(const ItemStatus& status) noexcept {
    return status.type == ItemType::Link ? status.target : status.type;
}

inline bool isFolder(const ItemStatus& status) noexcept {
    return followed(status) == ItemType::Folder;
}

// Why the item the location leads to cannot be asked about (its time, its size): the code
// of the missing item, or IOError for a link that leads nowhere. None when there is one.
inline std::optional<int> unreachableBecause(const ItemStatus& status) noexcept {
    if (status.type == ItemType::Nothing)
        return status.missingCode;
    if (followed(status) == ItemType::Nothing)
        return vfs::IOError;
    return std::nullopt;
}

} // namespace foundation::storage::provider
