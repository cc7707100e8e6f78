// What every fuzzer shares. A fuzzer is one source that defines LLVMFuzzerTestOneInput(): it makes
// an input of the bytes it is given, plays it, and ends the process where a rule does not hold.
// Whatever bytes come, nothing else may end the process, and nothing may be left behind.
//
// The preset `fuzz` links the fuzzers with libFuzzer; every other build links ReplayMain.cpp, which
// plays the files of the corpus.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size);

namespace Fuzz {

/// End the process, naming the rule and the case, unless the rule holds.
inline void expect(bool holds, std::string_view rule, std::string_view where = "") {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %.*s\n%.*s\n", static_cast<int>(rule.size()),
                     rule.data(), static_cast<int>(where.size()), where.data());
        std::abort();
    }
}

/// The bytes of an input, taken from the front. Behind the last one come zeros.
class Bytes {
  public:
    Bytes(std::uint8_t const *data, std::size_t size)
        : Bytes({reinterpret_cast<char const *>(data), size}) {}
    explicit Bytes(std::string_view text) : rest_(text) {}

    [[nodiscard]] bool empty() const noexcept { return rest_.empty(); }
    [[nodiscard]] std::uint8_t next() noexcept {
        if (empty()) {
            return 0;
        }
        auto const byte = static_cast<std::uint8_t>(rest_.front());
        rest_.remove_prefix(1);
        return byte;
    }
    /// A number of two bytes.
    [[nodiscard]] std::uint16_t nextWord() noexcept {
        unsigned const high = next();
        return static_cast<std::uint16_t>(high << 8 | next());
    }
    /// Everything up to the next `separator`, which is taken away too, or to the end.
    [[nodiscard]] std::string_view nextUntil(char separator) noexcept {
        auto const part = rest_.substr(0, rest_.find(separator));
        rest_.remove_prefix(part.size() == rest_.size() ? part.size() : part.size() + 1);
        return part;
    }
    [[nodiscard]] std::string_view rest() const noexcept { return rest_; }

  private:
    std::string_view rest_;
};

} // namespace Fuzz
