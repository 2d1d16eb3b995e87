#include "transfer.hpp"

#include "arguments.hpp"

#include <Quarrow/VexaStorageSystem.hpp>
#include <fl/i18n.hpp>

#include <foundation/storage/vfs/Exception.hpp>
#include <foundation/storage/vfs/Exists.hpp>
#include <foundation/storage/vfs/Folder.hpp>
#include <foundation/storage/vfs/IODevice.hpp>
#include <virtualfileio/ExceptionContextHandler.hpp>

#include <cstdio>
#include <iostream>
#include <vector>

namespace vexafs {
namespace vfs = foundation::storage::vfs;

namespace {

std::string inUnits(double bytes) {
    const char* units[] = {"B", "kB", "MB", "GB", "TB"};
    int unit = 0;
    while (bytes >= 1000 && unit < 4) {
        bytes /= 1000;
        ++unit;
    }
    char text[32];
    std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", bytes, units[unit]);
    return text;
}

} // namespace

Progress::Progress(std::optional<std::uint64_t> total, bool shown) : total_(total), shown_(shown) {}

Progress::~Progress() {
    if (shown_ && bytes_ > 0)
        show(true);
}

double Progress::seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

void Progress::add(std::uint64_t bytes) {
    bytes_ += bytes;
    // A few lines a second are enough to read, and cost nothing next to the copy.
    if (shown_ && std::chrono::steady_clock::now() - lastShown_ > std::chrono::milliseconds(200))
        show(false);
}

void Progress::show(bool last) {
    lastShown_ = std::chrono::steady_clock::now();
    const double elapsed = seconds();
    const double rate = elapsed > 0 ? static_cast<double>(bytes_) / elapsed : 0;
    std::string line(1, '\r');
    line += inUnits(static_cast<double>(bytes_));
    line += "  ";
    line += inUnits(rate);
    line += "/s";
    if (total_ && !last && rate > 0 && *total_ > bytes_) {
        const auto left = static_cast<long>(static_cast<double>(*total_ - bytes_) / rate);
        char text[32];
        std::snprintf(text, sizeof text, "  %ld:%02ld left", left / 60, left % 60);
        line += text;
    }
    line += last ? "\n" : "\x1b[K";
    std::cerr << line << std::flush;
}

Transfer transferOf(const std::string& sourceText, const std::string& destinationText) {
    auto storage = Quarrow::VexaStorageSystem::GetStorageSystemReference();
    auto source = locationOf(fl::i18n::to_ustring(sourceText));
    auto destination = locationOf(fl::i18n::to_ustring(destinationText));
    // A destination that cannot be looked at is taken as named: writing to it tells why.
    const bool intoFolder = virtualfileio::answeringFailures(
        [&] { return vfs::exists(destination, storage) == vfs::existence::folder; },
        [] {
            try {
                throw;
            } catch (const vfs::Exception&) {
                return false;
            }
        });
    if (intoFolder)
        destination =
            vfs::CanonicalAbsoluteIRI(vfs::CanonicalAbsoluteIRI(destination), source.getName());
    return {std::move(storage), std::move(source), std::move(destination)};
}

void copyFile(const vfs::File& from, const vfs::File& to, Progress& progress,
              Interruptions& interruptions) {
    // The source is opened before the target is touched: one that cannot be read leaves it
    // as it was.
    vfs::IODevice device(from);
    vfs::WriteStream stream = to.openForWriting(vfs::WriteMode::replace);
    stream.writeFrom(device, [&](std::size_t moved) { progress.add(moved); });
    interruptions.holdingOff([&] { stream.close(); });
}

void copyFolder(const vfs::AbsoluteIRI& from, const vfs::AbsoluteIRI& to,
                const vfs::StorageSystemReference& storage, Progress& progress,
                Interruptions& interruptions) {
    const vfs::Folder source(from, storage);
    const vfs::Folder target(to, storage);
    target.createFolderRecursive();
    const vfs::CanonicalAbsoluteIRI sourceBase(from), targetBase(to);
    for (const auto& entry : source.listEntries(u"")) {
        const vfs::AbsoluteIRI item = vfs::CanonicalAbsoluteIRI(sourceBase, entry.name);
        const vfs::AbsoluteIRI copy = vfs::CanonicalAbsoluteIRI(targetBase, entry.name);
        // A link is copied as what it leads to, as its content is what a reader sees.
        if (vfs::exists(item, storage) == vfs::existence::folder)
            copyFolder(item, copy, storage, progress, interruptions);
        else
            copyFile(vfs::File(item, storage), vfs::File(copy, storage), progress, interruptions);
    }
}

} // namespace vexafs
