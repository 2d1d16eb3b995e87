#include <foundation/core/except/Exception.hpp>
#include <resource_core/MessageCatalog.hpp>

namespace foundation::core::except {

fl::ustring messageTextOf(const resource_core::BaseMsgID& message) {
    return resource_core::MessageCatalog::instance().format(IMsgIDException::get_error_id(message),
                                                            message);
}

using InternalError = Exception<IInternalException, std::exception, void>;

InternalError::Exception(std::string message) : IInternalException(std::move(message)) {}
InternalError::~Exception() noexcept = default;
const boost::exception_detail::clone_base* InternalError::clone() const {
    return foundation::core::except::cloneWithErrorInfo(*this);
}
void InternalError::rethrow() const {
    throw *this;
}
const char* InternalError::what() const noexcept {
    return IException::what();
}

} // namespace foundation::core::except
