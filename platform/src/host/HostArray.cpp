#include <host/HostArray.hpp>

#include <foundation/core/except/Exception.hpp>

#include <fl/i18n.hpp>

#include <memory>
#include <utility>

using InternalError =
    foundation::core::except::Exception<foundation::core::except::IInternalException>;

bool HostArray::logicalValue() const {
    if (const bool* value = std::get_if<bool>(&value_))
        return *value;
    throw InternalError("HostArray: a character array has no logical value");
}

const fl::ustring& HostArray::text() const {
    if (const fl::ustring* text = std::get_if<fl::ustring>(&value_))
        return *text;
    throw InternalError("HostArray: a logical scalar has no text");
}

std::size_t HostArray::numberOfElements() const noexcept {
    const fl::ustring* text = std::get_if<fl::ustring>(&value_);
    return text ? text->size() : 1;
}

HostArray* createLogicalScalar(bool value) {
    return std::make_unique<HostArray>(value).release();
}

namespace matrix {

ArrayRef::ArrayRef(const ArrayRef& other) noexcept : array_(other.array_) {
    if (array_)
        array_->references_.fetch_add(1, std::memory_order_relaxed);
}

ArrayRef& ArrayRef::operator=(ArrayRef other) noexcept {
    std::swap(array_, other.array_);
    return *this;
}

ArrayRef::~ArrayRef() {
    destroyArray(array_);
}

HostArray* ArrayRef::release() noexcept {
    return std::exchange(array_, nullptr);
}

ArrayRef adopt(HostArray* array) noexcept {
    ArrayRef holder;
    holder.array_ = array;
    return holder;
}

ArrayRef create(const fl::ustring& text) {
    return adopt(std::make_unique<HostArray>(text).release());
}

ArrayRef create(const std::string& text) {
    return create(fl::i18n::to_ustring(text));
}

void destroyArray(HostArray* array) noexcept {
    // The last reference frees the array; acquire-release so that the freeing thread sees
    // every use made through the other references.
    if (array && array->references_.fetch_sub(1, std::memory_order_acq_rel) == 1)
        std::unique_ptr<HostArray> last(array);
}

} // namespace matrix

HostArray* to_vexa(matrix::ArrayRef holder) noexcept {
    return holder.release();
}
