#include "platform/Nuvio/String.h"

#include <cstring>
#include <limits>
#include <new>
#include <ostream>

namespace Nuvio {

Impl::StrB *Impl::StrB::make(std::string_view text) {
    if (text.empty()) {
        return nullptr;
    }
    NUVIO_ASSERT(text.size() < std::numeric_limits<std::uint32_t>::max(), "size={}", text.size());
    void *memory = ::operator new(sizeof(StrB) + text.size() + 1);
    auto *buffer = new (memory) StrB(static_cast<std::uint32_t>(text.size()));
    auto *characters = reinterpret_cast<char *>(buffer + 1);
    std::memcpy(characters, text.data(), text.size());
    characters[text.size()] = '\0';
    return buffer;
}

void Impl::StrB::handleZeroRef() const noexcept {
    ::operator delete(const_cast<StrB *>(this));
}

std::ostream &operator<<(std::ostream &out, String const &text) {
    return out << text.view();
}

} // namespace Nuvio
