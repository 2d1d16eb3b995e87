#include <foundation/storage/vfs/Look.hpp>

#include "boundary.hpp"

#include <virtualfileio/ExceptionContextHandler.hpp>

#include <map>
#include <optional>
#include <utility>

namespace foundation::storage::vfs {
namespace {

using Key = std::pair<const provider::StorageProvider*, fl::ustring>;

// The looks kept on this thread, while a scope is open.
thread_local std::optional<std::map<Key, provider::ItemStatus>> kept;

} // namespace

SharedLooks::SharedLooks() : outermost_(!kept) {
    if (outermost_)
        kept.emplace();
}

SharedLooks::~SharedLooks() {
    if (outermost_)
        kept.reset();
}

void forgetLooks() noexcept {
    if (kept)
        kept->clear();
}

void recordFailure(Exception& failure, std::string operation, const fl::ustring& path) {
    if (failure.getContexts().empty())
        failure.addContext(makeContext(std::move(operation),
                                       failure.getPath().empty() ? path : failure.getPath(),
                                       failure.getErrorCode()));
    virtualfileio::ExceptionContextHandler::SetPendingContext(failure.getContexts().front());
}

provider::ItemStatus look(const provider::StorageProvider& provider, const AbsoluteIRI& location,
                          provider::Facts wanted, std::string operation) {
    const auto ask = [&] {
        return atBoundary(provider, location, std::move(operation),
                          [&] { return provider.look(location, wanted); });
    };
    if (!kept)
        return ask();
    Key key(&provider, location.toString());
    if (const auto found = kept->find(key);
        found != kept->end() && provider::holds(found->second.facts, wanted))
        return found->second;
    provider::ItemStatus status = ask();
    // What the provider gave beyond what was wanted is kept too: one HEAD tells everything.
    kept->insert_or_assign(std::move(key), status);
    return status;
}

provider::ItemStatus reached(const provider::StorageProvider& provider, const AbsoluteIRI& location,
                             provider::Facts wanted, const char* operation) {
    provider::ItemStatus status = look(provider, location, wanted, operation);
    if (const auto code = provider::unreachableBecause(status))
        raise(*code, operation, provider.describe(location));
    return status;
}

} // namespace foundation::storage::vfs
