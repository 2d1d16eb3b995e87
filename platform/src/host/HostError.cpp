#include <host/HostError.hpp>

#include <foundation/core/except/Exception.hpp>
#include <resource_core/MessageCatalog.hpp>

#include <fl/i18n.hpp>

namespace host {

HostError::HostError(std::string identifier, fl::ustring message)
    : IUserException(fl::i18n::to_string(message)), identifier_(std::move(identifier)),
      message_(std::move(message)) {}

HostError::~HostError() noexcept = default;

const boost::exception_detail::clone_base* HostError::clone() const {
    return foundation::core::except::cloneWithErrorInfo(*this);
}

void HostError::rethrow() const {
    throw *this;
}

} // namespace host

void reThrowException(const boost::exception_ptr& error) {
    using namespace foundation::core::except;
    if (!error) {
        const resource_core::BaseMsgID unknown("VEXA:FileManip", "UnknownError");
        const std::string identifier = IMsgIDException::get_error_id(unknown);
        throw host::HostError(
            identifier, resource_core::MessageCatalog::instance().format(identifier, unknown));
    }
    try {
        boost::rethrow_exception(error);
    } catch (const IUserException& user) {
        throw host::HostError(user.GetID(), user.GetUnicodeMessageTxt());
    } catch (const IInternalException& internal) {
        throw host::HostError({}, internal.ToUstringImpl());
    } catch (const std::exception& other) {
        throw host::HostError({}, fl::i18n::to_ustring(other.what()));
    } catch (...) {
        throw host::HostError({}, u"Unknown error");
    }
}
