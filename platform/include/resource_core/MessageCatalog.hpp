#pragma once

#include <fl/ustring.hpp>
#include <resource_core/BaseMsgID.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace resource_core {

// The host's English message texts by identifier. A text refers to its arguments as
// {1}, {2}, ... in the order the message carries them.
class MessageCatalog {
public:
    // The process-wide catalog, read from the built-in data on first use.
    static const MessageCatalog& instance();

    // Parses catalog data: one "identifier text" pair per line; blank lines and lines
    // starting with '#' are skipped.
    explicit MessageCatalog(std::string_view data);

    std::optional<fl::ustring_view> find(std::string_view identifier) const;
    std::size_t size() const noexcept { return texts_.size(); }

    // The text for `identifier` with its placeholders filled from `message`'s arguments.
    // An identifier the catalog lacks still yields something a user can act on: the
    // identifier followed by the arguments.
    fl::ustring format(const std::string& identifier, const BaseMsgID& message) const;

private:
    std::unordered_map<std::string, fl::ustring> texts_;
};

// The text of one argument as it appears in a message.
fl::ustring toMessageText(const MsgArgument& argument);

} // namespace resource_core
