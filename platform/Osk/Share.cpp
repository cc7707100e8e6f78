#include "platform/Osk/Share.h"

namespace Osk {

void TimeShare::runBegins() noexcept {
    begin_ = std::chrono::steady_clock::now();
    tests_ = 0;
    used_ = false;
}

bool TimeShare::isUsed() noexcept {
    if (!used_ && tests_++ % testsPerClockRead == 0) {
        used_ = std::chrono::steady_clock::now() - begin_ >= limit_;
    }
    return used_;
}

} // namespace Osk
