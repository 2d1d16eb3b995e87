#include <foundation/core/except/Exception.hpp>
#include <resource_core/MessageCatalog.hpp>

namespace foundation::core::except {

IException::~IException() noexcept = default;

const char* IException::what() const noexcept {
    return whatText_.c_str();
}

fl::ustring IUserException::convert_str(const fl::ustring& text) const {
    return text;
}

fl::ustring IUserException::convert_str(const std::string& text) const {
    return fl::i18n::to_ustring(text);
}

fl::ustring IUserException::ToUstringImpl() const {
    return GetUnicodeMessageTxt();
}

std::string IMsgIDException::get_error_id(const resource_core::BaseMsgID& message) {
    std::string id;
    id.reserve(message.component().size() + 1 + message.name().size());
    id.append(message.component()).append(1, ':').append(message.name());
    return id;
}

fl::ustring messageTextOf(const resource_core::BaseMsgID& message) {
    return resource_core::MessageCatalog::instance().format(IMsgIDException::get_error_id(message),
                                                            message);
}

fl::ustring IMsgIDException::GetUnicodeMessageTxt() const {
    return messageTextOf(GetBaseMsgIDObj());
}

fl::ustring IInternalException::convert_str(const std::string& text) const {
    return fl::i18n::to_ustring(text);
}

fl::ustring IInternalException::ToUstringImpl() const {
    return convert_str(std::string(what()));
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
