#pragma once

#include <fl/i18n.hpp>
#include <foundation/core/except/IException.hpp>

#include <exception>
#include <string>

namespace foundation::core::except {

template <class Tag, class StdBase = std::exception, class Extra = void> class Exception;

// The catalog text of a message with its arguments filled in.
fl::ustring messageTextOf(const resource_core::BaseMsgID& message);

// One exception type per error tag: the tag with its arguments, and the identifier
// computed from it when the exception is built.
template <class Tag>
class Exception<Tag, std::exception, void> : public IMsgIDException, public std::exception {
public:
    explicit Exception(const Tag& tag)
        : IMsgIDException(fl::i18n::to_string(messageTextOf(tag))), tag_(tag),
          id_(get_error_id(tag_)) {}
    Exception(const Exception&) = default;
    ~Exception() noexcept override = default;

    const boost::exception_detail::clone_base* clone() const override {
        return cloneWithErrorInfo(*this);
    }
    [[noreturn]] void rethrow() const override { throw *this; }
    const char* what() const noexcept override { return IException::what(); }
    std::string GetID() const override { return id_; }
    const resource_core::BaseMsgID& GetBaseMsgIDObj() const override { return tag_; }

private:
    Tag tag_;
    std::string id_;
};

// Internal errors carry a plain narrow text and no identifier.
template <>
class Exception<IInternalException, std::exception, void> : public IInternalException,
                                                            public std::exception {
public:
    explicit Exception(std::string message);
    Exception(const Exception&) = default;
    ~Exception() noexcept override;

    const boost::exception_detail::clone_base* clone() const override;
    [[noreturn]] void rethrow() const override;
    const char* what() const noexcept override;
};

} // namespace foundation::core::except
