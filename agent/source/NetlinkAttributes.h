// The attributes of a netlink message, or of an attribute that holds others, one after the other.
// Every length is checked against the bytes that are there; what does not fit throws a Malformed.
//
//     for (nlattr const &attribute : NetlinkAttributes(bytes)) { ... }
#pragma once

#include <libmnl/libmnl.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <stdexcept>
#include <string_view>
#include <type_traits>

namespace Agent {

class NetlinkAttributes {
  public:
    /// Why a message cannot be read.
    class Malformed : public std::runtime_error {
      public:
        using std::runtime_error::runtime_error;
    };

    class Iterator {
      public:
        explicit Iterator(std::span<std::byte const> rest) : rest_(rest) { check(); }
        nlattr const &operator*() const { return *reinterpret_cast<nlattr const *>(rest_.data()); }
        Iterator &operator++() {
            std::size_t const length = aligned((**this).nla_len);
            rest_ = rest_.subspan(length < rest_.size() ? length : rest_.size());
            check();
            return *this;
        }
        bool operator!=(Iterator const &other) const { return rest_.size() != other.rest_.size(); }

      private:
        void check() const {
            if (!rest_.empty() && (rest_.size() < sizeof(nlattr) ||
                                   !mnl_attr_ok(&**this, static_cast<int>(rest_.size())))) {
                throw Malformed("an attribute goes beyond its end");
            }
        }
        std::span<std::byte const> rest_;
    };

    /// Requires: the bytes are aligned to 4, and fewer than 2^31.
    explicit NetlinkAttributes(std::span<std::byte const> bytes) : bytes_(bytes) {}
    /// Those within an attribute.
    explicit NetlinkAttributes(nlattr const &nest) : bytes_(payloadOf(nest)) {}

    [[nodiscard]] Iterator begin() const { return Iterator(bytes_); }
    [[nodiscard]] Iterator end() const { return Iterator(bytes_.last(0)); }

    /// How far the next one is behind something of that size.
    [[nodiscard]] static constexpr std::size_t aligned(std::size_t size) {
        return (size + (MNL_ALIGNTO - 1)) & ~std::size_t{MNL_ALIGNTO - 1};
    }
    [[nodiscard]] static unsigned typeOf(nlattr const &attribute) {
        return mnl_attr_get_type(&attribute);
    }
    [[nodiscard]] static std::span<std::byte const> payloadOf(nlattr const &attribute) {
        return {static_cast<std::byte const *>(mnl_attr_get_payload(&attribute)),
                mnl_attr_get_payload_len(&attribute)};
    }
    /// The value of a number or a structure; more bytes than it has are left alone.
    template <class T> [[nodiscard]] static T valueOf(nlattr const &attribute) {
        static_assert(std::is_trivially_copyable_v<T>);
        auto const payload = payloadOf(attribute);
        if (payload.size() < sizeof(T)) {
            throw Malformed("an attribute is too short for its value");
        }
        T value;
        std::memcpy(&value, payload.data(), sizeof(T));
        return value;
    }
    /// A text, which may or may not have its NUL.
    [[nodiscard]] static std::string_view textOf(nlattr const &attribute) {
        auto const payload = payloadOf(attribute);
        std::string_view const text(reinterpret_cast<char const *>(payload.data()), payload.size());
        return text.substr(0, text.find('\0'));
    }

  private:
    std::span<std::byte const> bytes_;
};

} // namespace Agent
