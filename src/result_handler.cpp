#include <vexa/io/filesystem/core/result_handler.hpp>

#include <host/HostError.hpp>

#include <utility>

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
    outputs[1] = to_vexa(matrix::create(detail::GetUnicodeMessageTxt(status.exception)));
    if (nargout == 2)
        return;
    outputs[2] = to_vexa(matrix::create(detail::GetID(status.exception)));
}

namespace detail {
namespace {

// What `read` gives of the user error held by `error`; empty for no error or another kind.
template <class Read> auto readUserError(const boost::exception_ptr& error, Read read) {
    using Text = decltype(read(std::declval<const foundation::core::except::IUserException&>()));
    if (!error) // rethrowing nothing is undefined
        return Text();
    try {
        boost::rethrow_exception(error);
    } catch (const foundation::core::except::IUserException& user) {
        return read(user);
    } catch (...) {
    }
    return Text();
}

} // namespace

std::u16string GetUnicodeMessageTxt(boost::exception_ptr error) {
    return readUserError(error, [](const auto& user) { return user.GetUnicodeMessageTxt(); });
}

std::string GetID(boost::exception_ptr error) {
    return readUserError(error, [](const auto& user) { return user.GetID(); });
}

} // namespace detail
} // namespace vexa::io::filesystem::core
