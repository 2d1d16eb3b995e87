#pragma once

// The host's arrays as a host built-in hands them back: a logical scalar or a character
// array. Arrays are reference counted; whoever holds a raw HostArray* owns one reference
// and gives it back with matrix::destroyArray.

#include <fl/ustring.hpp>

#include <atomic>
#include <cstddef>
#include <string>
#include <variant>

class HostArray;
namespace matrix {
class ArrayRef;
void destroyArray(HostArray* array) noexcept;
} // namespace matrix

class HostArray {
public:
    enum class Kind { Logical, Char };

    Kind kind() const noexcept { return value_.index() == 0 ? Kind::Logical : Kind::Char; }
    // The value of a logical scalar; throws an internal exception for a character array.
    bool logicalValue() const;
    // The text of a character array; throws an internal exception for a logical scalar.
    const fl::ustring& text() const;
    // Elements: 1 for a scalar, the UTF-16 code units of a text.
    std::size_t numberOfElements() const noexcept;
    long references() const noexcept { return references_.load(std::memory_order_relaxed); }

    explicit HostArray(bool value) : value_(value) {}
    explicit HostArray(fl::ustring text) : value_(std::move(text)) {}
    HostArray(const HostArray&) = delete;
    HostArray& operator=(const HostArray&) = delete;

private:
    friend class matrix::ArrayRef;
    friend void matrix::destroyArray(HostArray* array) noexcept;
    std::variant<bool, fl::ustring> value_;
    std::atomic<long> references_{1};
};

// A new logical scalar; the caller owns its one reference.
HostArray* createLogicalScalar(bool value);

namespace matrix {

// A counted reference to a host array; copying shares the array, and the array is freed
// when the last reference goes.
class ArrayRef {
public:
    ArrayRef() noexcept = default;
    ArrayRef(const ArrayRef& other) noexcept;
    ArrayRef(ArrayRef&& other) noexcept : array_(other.array_) { other.array_ = nullptr; }
    ArrayRef& operator=(ArrayRef other) noexcept;
    ~ArrayRef();

    HostArray* get() const noexcept { return array_; }
    const HostArray* operator->() const noexcept { return array_; }
    explicit operator bool() const noexcept { return array_ != nullptr; }

    // Hands this reference to the caller; the holder is empty afterwards.
    HostArray* release() noexcept;

private:
    friend ArrayRef adopt(HostArray* array) noexcept;
    HostArray* array_ = nullptr;
};

// Takes over one reference that the caller owns.
ArrayRef adopt(HostArray* array) noexcept;

// A character array holding `text`.
ArrayRef create(const fl::ustring& text);
// The same for narrow text, read as UTF-8 (bytes that are not UTF-8 are kept, escaped).
ArrayRef create(const std::string& text);

// Gives back one reference; the array is freed when it was the last. Null is ignored.
void destroyArray(HostArray* array) noexcept;

} // namespace matrix

// Releases the holder's reference to the caller as a raw pointer.
HostArray* to_vexa(matrix::ArrayRef holder) noexcept;
