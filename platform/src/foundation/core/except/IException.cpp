#include <foundation/core/except/IException.hpp>

#include <foundation/core/except/Exception.hpp>

#include <fl/i18n.hpp>

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

fl::ustring IMsgIDException::GetUnicodeMessageTxt() const {
    return messageTextOf(GetBaseMsgIDObj());
}

fl::ustring IInternalException::convert_str(const std::string& text) const {
    return fl::i18n::to_ustring(text);
}

fl::ustring IInternalException::ToUstringImpl() const {
    return convert_str(std::string(what()));
}

} // namespace foundation::core::except
