#include "platform/Osk/Share.h"

namespace Osk {

void TimeShare::runBegins() noexcept {
    begin_ = std::chrono::steady_clock::now();
    freeTestsIs(0);
    used_ = false;
}

bool TimeShare::isUsed() noexcept {
    if (!used_) {
        used_ = std::chrono::steady_clock::now() - begin_ >= limit_;
        freeTestsIs(used_ ? 0 : testsPerClockRead - 1);
    }
    return used_;
}

} // namespace Osk
