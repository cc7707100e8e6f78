// A file descriptor with an owner.
#pragma once

#include <unistd.h>

#include <utility>

namespace Agent {

class Descriptor {
  public:
    Descriptor() noexcept = default;
    /// Takes `number` over; a negative one is none.
    explicit Descriptor(int number) noexcept : number_(number) {}
    ~Descriptor() { reset(); }
    Descriptor(Descriptor &&other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor &operator=(Descriptor &&other) noexcept {
        reset();
        number_ = std::exchange(other.number_, -1);
        return *this;
    }

    [[nodiscard]] int number() const noexcept { return number_; }
    [[nodiscard]] explicit operator bool() const noexcept { return number_ >= 0; }

  private:
    void reset() noexcept {
        if (number_ >= 0) {
            ::close(number_);
        }
    }

    int number_ = -1;
};

} // namespace Agent
