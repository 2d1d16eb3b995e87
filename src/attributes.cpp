#include <vexa/io/filesystem/core/attributes.hpp>

#include "answered_failures.hpp"

#include <foundation/storage/vfs/IODevice.hpp>

#include <boost/date_time/c_local_time_adjustor.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/uuid/entropy_error.hpp>
#include <boost/uuid/uuid.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <span>

#include <pthread.h>
#include <sys/random.h>

namespace vexa::io::filesystem::core {
namespace {

namespace vfs = foundation::storage::vfs;
namespace pt = boost::posix_time;

pt::ptime toLocal(const pt::ptime& utc) {
    return boost::date_time::c_local_adjustor<pt::ptime>::utc_to_local(utc);
}

// Bytes for names that must not repeat, drawn from the system a batch at a time: one
// getrandom in sixteen probes rather than one in each.
struct RandomBatch {
    std::array<unsigned char, 256> bytes; // at most 256 bytes come whole, signal or not
    std::size_t used = bytes.size();
};
thread_local RandomBatch randomBatch;

void takeRandomBytes(std::span<unsigned char> out) {
    // A forked child drops what its parent drew, or both would make the same names next.
    static const int forgetInChild =
        ::pthread_atfork(nullptr, nullptr, [] { randomBatch.used = randomBatch.bytes.size(); });
    (void)forgetInChild;
    RandomBatch& batch = randomBatch;
    if (batch.bytes.size() - batch.used < out.size()) {
        if (::getrandom(batch.bytes.data(), batch.bytes.size(), 0) !=
            static_cast<ssize_t>(batch.bytes.size()))
            throw boost::uuids::entropy_error(errno, "getrandom");
        batch.used = 0;
    }
    std::copy_n(batch.bytes.begin() + static_cast<std::ptrdiff_t>(batch.used), out.size(),
                out.begin());
    batch.used += out.size();
}

// A fresh version-4 UUID in its usual text.
fl::ustring randomUuidName() {
    boost::uuids::uuid id;
    takeRandomBytes(id.data);
    id.data[6] = static_cast<std::uint8_t>((id.data[6] & 0x0F) | 0x40); // version 4
    id.data[8] = static_cast<std::uint8_t>((id.data[8] & 0x3F) | 0x80); // RFC 4122 variant
    std::array<char, 36> text;
    boost::uuids::to_chars(id, text.data());
    return fl::ustring(text.begin(), text.end());
}

// Making a file proves the folder writable; removing it again is only tidying up. Random
// names keep concurrent probes of one folder apart.
bool canMakeFileIn(const vfs::Folder& folder) {
    const std::optional<vfs::File> probe = answerOr(std::optional<vfs::File>(), [&] {
        const vfs::File file(folder, randomUuidName());
        file.createFile();
        return std::optional<vfs::File>(file);
    });
    if (!probe)
        return false;
    answerOr(false, [&] {
        probe->removeFile();
        return true;
    });
    return true;
}

PathAttributes folderAttributes(const vfs::Folder& folder) {
    PathAttributes attributes;
    attributes.readable = answerOr(false, [&] {
        // Every page is read, as a listing reads them; the names themselves are not needed.
        const auto cursor = folder.listPages(u"");
        while (!cursor->next().empty()) {
        }
        return true;
    });
    attributes.writable = canMakeFileIn(folder);
    attributes.lastModified = toLocal(folder.getAttributes().getLastModified());
    return attributes;
}

// Each fact is queried on its own, so that one failing query spoils only its own fact.
PathAttributes fileAttributes(const vfs::File& file) {
    PathAttributes attributes;
    attributes.readable = answerOr(false, [&] {
        const vfs::IODevice opened{vfs::File(file)};
        return true;
    });
    attributes.writable = file.getAttributes().isWritable();
    const auto lastModified = answerOr(std::optional<pt::ptime>(), [&] {
        return std::optional(toLocal(file.getAttributes().getLastModified()));
    });
    // The current time is local already; converting it once more is deliberate.
    attributes.lastModified =
        lastModified ? *lastModified
                     : toLocal(boost::date_time::second_clock<pt::ptime>::local_time());
    attributes.size = answerOr(std::uint64_t{0}, [&] { return file.getAttributes().getSize(); });
    return attributes;
}

struct AttributesOf : boost::static_visitor<PathAttributes> {
    PathAttributes operator()(const vfs::File& file) const { return fileAttributes(file); }
    PathAttributes operator()(const vfs::Folder& folder) const { return folderAttributes(folder); }
};

} // namespace

PathAttributes getAttributes(const boost::variant<vfs::File, vfs::Folder>& item,
                             const fl::ustring&) {
    return boost::apply_visitor(AttributesOf(), item);
}

} // namespace vexa::io::filesystem::core
