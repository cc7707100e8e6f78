// Immutable string, cheap to copy: names of interfaces, tasks, handles and attributes.
//
// A String is one pointer to a counted buffer (Impl::StrB); a copy takes a reference and allocates
// nothing, the empty string has no buffer at all. To build text piece by piece use std::string and
// make a String of the result. The count is atomic when ThreadControl::tsp_ is set.
#pragma once

#include "platform/Nuvio/Export.h"
#include "platform/Nuvio/Ptr.h"

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string_view>

namespace Nuvio {

namespace Impl {

/// The counted buffer of a String; its characters and a closing zero follow it in memory.
class NUVIO_EXPORT StrB {
  public:
    /// A buffer with a copy of `text`, holding one reference; null for the empty text.
    static StrB *make(std::string_view text);

    void refAdd() const noexcept { countAdd(count_, 1U, ThreadControl::tsp_); }
    [[nodiscard]] bool refDel() const noexcept {
        return countAdd(count_, ~0U, ThreadControl::tsp_) == 0;
    }
    void handleZeroRef() const noexcept;

    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    [[nodiscard]] char const *data() const noexcept {
        return reinterpret_cast<char const *>(this + 1);
    }

  private:
    explicit StrB(std::uint32_t length) noexcept : size_(length) {}

    mutable std::uint32_t count_ = 1;
    std::uint32_t size_;
};

} // namespace Impl

class NUVIO_EXPORT String {
  public:
    String() noexcept = default;
    /// Requires: `text` is not null.
    String(char const *text) : String(std::string_view(text)) {}
    String(std::string_view text) : buffer_(Ptr<Impl::StrB>::adopt(Impl::StrB::make(text))) {}

    /// The characters, closed by a zero. Valid as long as any copy of this string lives.
    [[nodiscard]] char const *data() const noexcept { return buffer_ ? buffer_->data() : ""; }
    [[nodiscard]] std::size_t size() const noexcept { return buffer_ ? buffer_->size() : 0; }
    [[nodiscard]] bool empty() const noexcept { return !buffer_; }
    [[nodiscard]] std::string_view view() const noexcept { return {data(), size()}; }

    friend bool operator==(String const &a, String const &b) noexcept {
        return a.buffer_ == b.buffer_ || a.view() == b.view();
    }

  private:
    Ptr<Impl::StrB> buffer_;
};

NUVIO_EXPORT std::ostream &operator<<(std::ostream &out, String const &text);

} // namespace Nuvio
