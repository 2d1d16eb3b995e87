#pragma once

#include <boost/lexical_cast.hpp>
#include <boost/optional.hpp>

#include <map>
#include <string>
#include <type_traits>

namespace foundation::storage::provider {

// Name-value pairs a provider keeps beside an item's content ("http.contentType"). Values
// are bytes as stored; a caller asks for them as the type it expects.
class ExtendedAttributes {
public:
    bool hasAttribute(const std::string& name) const { return values_.count(name) != 0; }

    // The value read as T; empty when it is absent or does not read as a T.
    template <class T> boost::optional<T> getOptAttributeAs(const std::string& name) const {
        const auto found = values_.find(name);
        if (found == values_.end())
            return boost::none;
        if constexpr (std::is_same_v<T, std::string>) {
            return found->second;
        } else {
            T value;
            if (!boost::conversion::try_lexical_convert(found->second, value))
                return boost::none;
            return value;
        }
    }

    void setAttribute(std::string name, std::string value) {
        values_.insert_or_assign(std::move(name), std::move(value));
    }
    const std::map<std::string, std::string>& all() const noexcept { return values_; }

private:
    std::map<std::string, std::string> values_;
};

} // namespace foundation::storage::provider
