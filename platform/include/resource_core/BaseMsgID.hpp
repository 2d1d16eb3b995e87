#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace resource_core {

// One argument of a message: a number, narrow text or UTF-16 text.
using MsgArgument = std::variant<long, std::string, std::u16string>;

// The identity of a message (component and name) and the arguments that fill its text.
// Each error tag derives from this and passes exactly its own arguments.
class BaseMsgID {
public:
    template <class... Args>
    BaseMsgID(const char* component, const char* name, Args&&... args)
        : arguments_(sizeof...(Args)), component_(component), name_(name) {
        std::size_t slot = 0;
        ((arguments_[slot++] = std::forward<Args>(args)), ...);
    }

    const std::vector<MsgArgument>& arguments() const noexcept { return arguments_; }
    const std::string& component() const noexcept { return component_; }
    const std::string& name() const noexcept { return name_; }

private:
    std::vector<MsgArgument> arguments_;
    std::string component_;
    std::string name_;
};

} // namespace resource_core
