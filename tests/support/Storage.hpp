#pragma once

// The storage layer under test control: a storage system installed as the host's for one
// test, and the one fault injector, a provider that wraps a real one and fails chosen
// operations with chosen codes (faults a real disk will not make on demand: EIO, ENOSPC,
// EROFS, EBUSY, ...) or lists names a real disk cannot hold.

#include <Quarrow/VexaStorageSystem.hpp>
#include <foundation/storage/provider/ForwardingProvider.hpp>
#include <foundation/storage/vfs/Exception.hpp>
#include <foundation/storage/vfs/File.hpp>
#include <foundation/storage/vfs/Folder.hpp>
#include <virtualfileio/ExceptionContextHandler.hpp>

#include <fl/i18n.hpp>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vexa::testing {

namespace provider = foundation::storage::provider;
namespace vfs = foundation::storage::vfs;

// The host's storage system as the library finds it, and items in it named by IRI text or
// an absolute native path, written as UTF-8.
inline vfs::StorageSystemReference hostStorage() {
    return Quarrow::VexaStorageSystem::GetStorageSystemReference();
}
inline vfs::AbsoluteIRI iriOf(const std::string& text) {
    return vfs::AbsoluteIRI(fl::i18n::to_ustring(text));
}
inline vfs::File fileAt(const std::string& text) {
    return vfs::File(iriOf(text), hostStorage());
}
inline vfs::Folder folderAt(const std::string& text) {
    return vfs::Folder(iriOf(text), hostStorage());
}

class FaultyProvider : public provider::ForwardingProvider {
public:
    enum class Operation {
        Probe,
        List,
        CreateFile,
        RemoveFile,
        CreateFolder,
        Attributes,
        ExtendedAttributes,
        Open,
        OpenForWriting,
        Write, // each write of a stream: a disk that fills up midway
        Rename,
        RemoveFolder,
        // Each page of a listing after its first, failing as a store that breaks off midway
        // may: by a bare throw, with no context of its own.
        LaterPage
    };

    // Serves `schemes` (those of `inner` when empty) and passes every call to `inner`
    // unless it is to fail.
    explicit FaultyProvider(std::shared_ptr<const provider::StorageProvider> inner,
                            std::vector<std::string> schemes = {})
        : ForwardingProvider(inner),
          schemes_(schemes.empty() ? inner->schemes() : std::move(schemes)) {}

    // From now on `operation` fails with `code`; with `onlyCall` n, only its n-th call
    // (counted from 1) fails, for a fault that strikes a later query of several. Set before
    // the provider is shared.
    FaultyProvider& failing(Operation operation, int code, int onlyCall = 0) {
        faults_[operation] = {code, onlyCall};
        return *this;
    }
    // Every folder listed also holds `name`, of a type the listing does not say: a name no
    // local file system gives (one holding U+0000), as another kind of storage might.
    FaultyProvider& listingAlso(fl::ustring name) {
        provider::FolderEntry entry;
        entry.name = std::move(name);
        extraNames_.push_back(std::move(entry));
        return *this;
    }

    std::vector<std::string> schemes() const override { return schemes_; }
    // A look fails as the query it answers: Attributes where writability is wanted,
    // ExtendedAttributes where they are, Probe for the kind alone.
    provider::ItemStatus look(const vfs::AbsoluteIRI& at, provider::Facts wanted) const override {
        check(provider::holds(wanted, provider::Facts::Extended)   ? Operation::ExtendedAttributes
              : provider::holds(wanted, provider::Facts::Writable) ? Operation::Attributes
                                                                   : Operation::Probe,
              at);
        return inner().look(at, wanted);
    }
    std::unique_ptr<provider::FolderCursor> listPages(const vfs::AbsoluteIRI& at,
                                                      const fl::ustring& filter) const override {
        check(Operation::List, at);
        std::unique_ptr<provider::FolderCursor> pages =
            std::make_unique<CheckedPages>(*this, at, inner().listPages(at, filter));
        if (extraNames_.empty())
            return pages;
        return std::make_unique<PagesThen>(std::move(pages),
                                           provider::onePage(extraNames_, filter));
    }
    void createFile(const vfs::AbsoluteIRI& at) const override {
        check(Operation::CreateFile, at);
        inner().createFile(at);
    }
    void removeFile(const vfs::AbsoluteIRI& at) const override {
        check(Operation::RemoveFile, at);
        inner().removeFile(at);
    }
    void createFolder(const vfs::AbsoluteIRI& at) const override {
        check(Operation::CreateFolder, at);
        inner().createFolder(at);
    }
    std::unique_ptr<provider::InputStream>
    openForReading(const vfs::AbsoluteIRI& at) const override {
        check(Operation::Open, at);
        return inner().openForReading(at);
    }
    std::unique_ptr<provider::OutputStream>
    openForWriting(const vfs::AbsoluteIRI& at, vfs::WriteMode mode,
                   std::optional<std::uint64_t> size) const override {
        check(Operation::OpenForWriting, at);
        return std::make_unique<FaultyStream>(*this, at, inner().openForWriting(at, mode, size));
    }
    void rename(const vfs::AbsoluteIRI& at, const vfs::AbsoluteIRI& target) const override {
        check(Operation::Rename, at);
        inner().rename(at, target);
    }
    void removeFolder(const vfs::AbsoluteIRI& at) const override {
        check(Operation::RemoveFolder, at);
        inner().removeFolder(at);
    }

private:
    // The pages of one cursor, then those of another.
    class PagesThen : public provider::FolderCursor {
    public:
        PagesThen(std::unique_ptr<provider::FolderCursor> first,
                  std::unique_ptr<provider::FolderCursor> then)
            : first_(std::move(first)), then_(std::move(then)) {}
        std::span<provider::FolderEntry> next() override {
            const auto page = first_->next();
            return page.empty() ? then_->next() : page;
        }

    private:
        std::unique_ptr<provider::FolderCursor> first_, then_;
    };

    // A cursor's pages, each after the first checked as LaterPage.
    class CheckedPages : public provider::FolderCursor {
    public:
        CheckedPages(const FaultyProvider& provider, vfs::AbsoluteIRI at,
                     std::unique_ptr<provider::FolderCursor> inner)
            : provider_(provider), at_(std::move(at)), inner_(std::move(inner)) {}
        std::span<provider::FolderEntry> next() override {
            if (++pages_ > 1)
                provider_.check(Operation::LaterPage, at_);
            return inner_->next();
        }

    private:
        const FaultyProvider& provider_;
        vfs::AbsoluteIRI at_;
        std::unique_ptr<provider::FolderCursor> inner_;
        int pages_ = 0;
    };

    class FaultyStream : public provider::OutputStream {
    public:
        FaultyStream(const FaultyProvider& provider, vfs::AbsoluteIRI at,
                     std::unique_ptr<provider::OutputStream> inner)
            : provider_(provider), at_(std::move(at)), inner_(std::move(inner)) {}
        void write(std::span<const char> data) override {
            provider_.check(Operation::Write, at_);
            inner_->write(data);
        }
        void commit() override { inner_->commit(); }
        void abort() noexcept override { inner_->abort(); }

    private:
        const FaultyProvider& provider_;
        vfs::AbsoluteIRI at_;
        std::unique_ptr<provider::OutputStream> inner_;
    };

    struct Fault {
        int code;
        int onlyCall;
    };

    void check(Operation operation, const vfs::AbsoluteIRI& at) const {
        const int call = ++calls_[static_cast<std::size_t>(operation)];
        if (const auto fault = faults_.find(operation);
            fault != faults_.end() &&
            (fault->second.onlyCall == 0 || fault->second.onlyCall == call)) {
            if (operation == Operation::LaterPage)
                throw vfs::Exception(fault->second.code, describe(at));
            vfs::raise(fault->second.code, "injected", describe(at));
        }
    }

    std::vector<std::string> schemes_;
    std::map<Operation, Fault> faults_;
    mutable std::array<std::atomic<int>, static_cast<std::size_t>(Operation::LaterPage) + 1>
        calls_{};
    std::vector<provider::FolderEntry> extraNames_;
};

using Providers = std::vector<std::shared_ptr<const provider::StorageProvider>>;

// A storage system of its own for one test: the host's providers (unless `alone`), with
// `replacements` added over them; the host's system comes back when the test ends.
class ScopedStorageSystem {
public:
    explicit ScopedStorageSystem(Providers replacements, bool alone = false)
        : previous_(hostStorage()) {
        auto system = std::make_shared<vfs::StorageSystem>();
        for (const std::string& scheme : alone ? std::vector<std::string>() : previous_->schemes())
            system->addProvider(previous_->findProvider(scheme));
        for (auto& replacement : replacements)
            system->addProvider(std::move(replacement));
        Quarrow::VexaStorageSystem::SetStorageSystemReference(vfs::StorageSystemReference(system));
    }
    ~ScopedStorageSystem() { Quarrow::VexaStorageSystem::SetStorageSystemReference(previous_); }
    ScopedStorageSystem(const ScopedStorageSystem&) = delete;
    ScopedStorageSystem& operator=(const ScopedStorageSystem&) = delete;

    // The real provider of a scheme, to wrap.
    static std::shared_ptr<const provider::StorageProvider> real(const std::string& scheme) {
        return hostStorage()->findProvider(scheme);
    }

private:
    vfs::StorageSystemReference previous_;
};

// The file provider failing `operation` with `code` (only its `onlyCall`-th call, when
// given), installed for one test.
inline std::shared_ptr<FaultyProvider> faultyFiles(FaultyProvider::Operation operation, int code,
                                                   int onlyCall = 0) {
    auto faulty = std::make_shared<FaultyProvider>(ScopedStorageSystem::real("file"));
    faulty->failing(operation, code, onlyCall);
    return faulty;
}

// Serves `schemes` with the file provider under their names, for tests of what only depends
// on a scheme being served.
inline std::shared_ptr<FaultyProvider> servedSchemes(std::vector<std::string> schemes) {
    return std::make_shared<FaultyProvider>(ScopedStorageSystem::real("file"), std::move(schemes));
}

// What a call answered, or minus the storage code it threw (so 0 is never a failure). A
// failure leaves its context pending, with its code's message and its location, for the
// caller to report; that is checked here and the context cleared.
template <class Call> int outcome(Call call) {
    try {
        return static_cast<int>(call());
    } catch (const vfs::Exception& error) {
        const auto pending = virtualfileio::ExceptionContextHandler::PendingContext();
        EXPECT_TRUE(pending && !error.getContexts().empty() &&
                    pending->location() == error.getPath() &&
                    pending->message().name() == vfs::errorMessageName(error.getErrorCode()))
            << "no pending context for " << error.what();
        virtualfileio::ExceptionContextHandler::ClearPendingContext();
        return -error.getErrorCode();
    }
}

// The context a call's failure carries: its location, message and reason.
template <class Call> std::optional<provider::ExceptionContext> contextOf(Call call) {
    try {
        call();
    } catch (const vfs::Exception& error) {
        virtualfileio::ExceptionContextHandler::ClearPendingContext();
        return error.getContexts().front();
    }
    return std::nullopt;
}

// 100 for a call that returned, or minus the storage code it threw.
template <class Call> int failure(Call call) {
    return outcome([&] {
        call();
        return 100;
    });
}

} // namespace vexa::testing
