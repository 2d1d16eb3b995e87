#pragma once

#include <fl/ustring.hpp>
#include <resource_core/BaseMsgID.hpp>

#include <string>

namespace foundation::storage::provider {

// What a storage operation was doing when it failed: the operation, the location it
// worked on, and the message a user should see for the failure. The message is held as a
// component and name with its arguments, so whoever reports the failure can build the
// message-identifier exception from it without knowing the error types of the layers
// above the storage system. The reason is what the storage said beside the code (a
// server's status, a network library's text): the code alone cannot tell a refused
// connection from a server error, and the message's arguments are fixed by its catalog text.
class ExceptionContext {
public:
    ExceptionContext(std::string operation, fl::ustring location, resource_core::BaseMsgID message,
                     std::string reason = {})
        : operation_(std::move(operation)), location_(std::move(location)),
          message_(std::move(message)), reason_(std::move(reason)) {}

    const std::string& operation() const noexcept { return operation_; }
    const fl::ustring& location() const noexcept { return location_; }
    const resource_core::BaseMsgID& message() const noexcept { return message_; }
    // Empty when the storage said no more than the code.
    const std::string& reason() const noexcept { return reason_; }

private:
    std::string operation_;
    fl::ustring location_;
    resource_core::BaseMsgID message_;
    std::string reason_;
};

} // namespace foundation::storage::provider
