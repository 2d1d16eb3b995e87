#include <vexa/io/filesystem/core/result_handler.hpp>

#include <host/HostError.hpp>

namespace vexa::io::filesystem::core {

void ResultHandler::HandleStatus(Status status, int nargout, HostArray** outputs) {
    // With no output to carry it, a failure (any code but success, including a record never
    // set) goes to the host as an error.
    if (nargout == 0 && status.code != Status::success)
        reThrowException(status.exception);
    if (nargout <= 0)
        return;
    outputs[0] = createLogicalScalar(status.code == Status::success);
    if (nargout == 1)
        return;
    const std::u16string text =
        status.exception ? detail::GetUnicodeMessageTxt(status.exception) : std::u16string();
    outputs[1] = to_vexa(matrix::create(text));
    if (nargout == 2)
        return;
    const std::string id = status.exception ? detail::GetID(status.exception) : std::string();
    outputs[2] = to_vexa(matrix::create(id));
}

namespace detail {

std::u16string GetUnicodeMessageTxt(boost::exception_ptr error) {
    if (!error) // rethrowing nothing is undefined
        return {};
    try {
        boost::rethrow_exception(error);
    } catch (const foundation::core::except::IUserException& user) {
        return user.GetUnicodeMessageTxt();
    } catch (...) {
    }
    return {};
}

std::string GetID(boost::exception_ptr error) {
    if (!error)
        return {};
    try {
        boost::rethrow_exception(error);
    } catch (const foundation::core::except::IUserException& user) {
        return user.GetID();
    } catch (...) {
    }
    return {};
}

} // namespace detail
} // namespace vexa::io::filesystem::core
