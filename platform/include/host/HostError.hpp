#pragma once

// How a failure reaches the user of the host: an error with the message identifier and
// the message text, as a host built-in raises it.

#include <foundation/core/except/IException.hpp>

#include <boost/exception_ptr.hpp>

#include <string>

namespace host {

class HostError : public foundation::core::except::IUserException {
public:
    HostError(std::string identifier, fl::ustring message);
    HostError(const HostError&) = default;
    ~HostError() noexcept override;

    const boost::exception_detail::clone_base* clone() const override;
    [[noreturn]] void rethrow() const override;

    std::string GetID() const override { return identifier_; }
    fl::ustring GetUnicodeMessageTxt() const override { return message_; }

private:
    std::string identifier_;
    fl::ustring message_;
};

} // namespace host

// Raises the exception held by `error` as a host error with its identifier and text. A
// user error keeps both; any other exception gives its own text and no identifier; an
// empty pointer still raises, as an error of unknown cause.
[[noreturn]] void reThrowException(const boost::exception_ptr& error);
