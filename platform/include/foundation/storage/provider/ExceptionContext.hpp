#pragma once

#include <fl/ustring.hpp>
#include <resource_core/BaseMsgID.hpp>

#include <string>

namespace foundation::storage::provider {

// What a storage operation was doing when it failed: the operation, the location it
// worked on, and the message a user should see for the failure. The message is held as a
// component and name with its arguments, so whoever reports the failure can build the
// message-identifier exception from it without knowing the error types of the layers
// above the storage system.
class ExceptionContext {
public:
    ExceptionContext(std::string operation, fl::ustring location, resource_core::BaseMsgID message)
        : operation_(std::move(operation)), location_(std::move(location)),
          message_(std::move(message)) {}

    const std::string& operation() const noexcept { return operation_; }
    const fl::ustring& location() const noexcept { return location_; }
    const resource_core::BaseMsgID& message() const noexcept { return message_; }

private:
    std::string operation_;
    fl::ustring location_;
    resource_core::BaseMsgID message_;
};

} // namespace foundation::storage::provider
