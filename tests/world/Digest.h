// Fingerprint of a state: two states with one digest are taken to be the same.
//
// Two lanes of 64 bits, each a multiply and xor-shift of the words added, in order. Not against
// somebody who wants two states to agree; by chance, millions of them do not.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>

namespace Histories {

class Digest {
  public:
    void add(std::uint64_t word) noexcept {
        first_ = (first_ ^ word) * 0x9E3779B97F4A7C15U;
        first_ ^= first_ >> 29U;
        second_ = (second_ + word) * 0xD6E8FEB86659FD93U;
        second_ ^= second_ >> 32U;
    }
    void add(std::string_view text) noexcept {
        add(text.size());
        for (char const c : text) {
            add(static_cast<unsigned char>(c));
        }
    }

    friend bool operator==(Digest const &, Digest const &) = default;
    [[nodiscard]] std::size_t hash() const noexcept { return first_; }

  private:
    std::uint64_t first_ = 0;
    std::uint64_t second_ = 0;
};

} // namespace Histories

template <> struct std::hash<Histories::Digest> {
    std::size_t operator()(Histories::Digest const &digest) const noexcept { return digest.hash(); }
};
