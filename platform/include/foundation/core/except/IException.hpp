#pragma once

#include <fl/ustring.hpp>
#include <resource_core/BaseMsgID.hpp>

#include <boost/exception/exception.hpp>

#include <string>

namespace foundation::core::except {

// Root of the host's exceptions. clone() and rethrow() are Boost's own copy-and-throw
// operations, so boost::copy_exception stores an exact copy in a boost::exception_ptr;
// the boost::exception base carries error information.
class IException : public boost::exception_detail::clone_base, public virtual boost::exception {
public:
    ~IException() noexcept override;
    virtual const char* what() const noexcept;

protected:
    IException() = default;
    explicit IException(std::string whatText) : whatText_(std::move(whatText)) {}
    IException(const IException&) = default;
    IException& operator=(const IException&) = default;

private:
    std::string whatText_;
};

// A heap copy of `error` as its most-derived type, with its own copy of the Boost error
// information: what clone() of every host exception returns.
template <class E> const boost::exception_detail::clone_base* cloneWithErrorInfo(const E& error) {
    auto* copy = new E(error);
    boost::exception_detail::copy_boost_exception(copy, &error);
    return copy;
}

// An error the user can act on: it has a message identifier and a message text.
class IUserException : public IException {
public:
    virtual fl::ustring convert_str(const fl::ustring& text) const;
    virtual fl::ustring convert_str(const std::string& text) const;
    virtual fl::ustring ToUstringImpl() const;
    virtual std::string GetID() const = 0;
    virtual fl::ustring GetUnicodeMessageTxt() const = 0;

protected:
    using IException::IException;
};

// A user error whose text comes from the message catalog.
class IMsgIDException : public IUserException {
public:
    // "component:name" of a message.
    static std::string get_error_id(const resource_core::BaseMsgID& message);

    fl::ustring GetUnicodeMessageTxt() const override;
    virtual const resource_core::BaseMsgID& GetBaseMsgIDObj() const = 0;

protected:
    using IUserException::IUserException;
};

// A fault of the system itself rather than of the user's input; it has no identifier.
class IInternalException : public IException {
public:
    virtual fl::ustring convert_str(const std::string& text) const;
    virtual fl::ustring ToUstringImpl() const;

protected:
    using IException::IException;
};

} // namespace foundation::core::except
