#pragma once

// What a call raised as the user sees it: the identifier and the message arguments.

#include <foundation/core/except/IException.hpp>
#include <resource_core/MessageCatalog.hpp>

#include <fl/i18n.hpp>

#include <ostream>

#include <optional>
#include <string>
#include <vector>

namespace vexa::testing {

struct Raised {
    std::string id;
    std::vector<resource_core::MsgArgument> arguments;
    bool operator==(const Raised&) const = default;
};

inline void PrintTo(const Raised& raised, std::ostream* out) {
    *out << raised.id << " (";
    for (const auto& argument : raised.arguments)
        *out << "'" << fl::i18n::to_string(resource_core::toMessageText(argument)) << "' ";
    *out << ")";
}

// nullopt when the call returned.
template <class Call> std::optional<Raised> raisedBy(Call call) {
    try {
        call();
    } catch (const foundation::core::except::IMsgIDException& error) {
        return Raised{error.GetID(), error.GetBaseMsgIDObj().arguments()};
    }
    return std::nullopt;
}

} // namespace vexa::testing
