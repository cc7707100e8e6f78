// A process as good as fresh for one input, so that a finding repeats from its bytes alone: hashes,
// serials of creation and names of interfaces start as in any other. At the end as much is alive of
// each type as before.
//
//     Fuzz::Fresh const fresh;
#pragma once

#include "fuzz/Fuzzer.h"
#include "platform/Iftel.h"
#include "platform/Qor.h"
#include "tests/support/Census.h"

#include <cstdint>

namespace Fuzz {

class Fresh {
  public:
    static constexpr std::uint32_t defaultHashSeed = 20261;

    explicit Fresh(std::uint32_t hashSeed = defaultHashSeed) : before_(TestSupport::liveCounts()) {
        Iftel::NameTable::instance().resetForTest();
        Qor::HashHelper::hashSeed32IsForTest(hashSeed);
        Qor::VFPtrInterface::creationSerialResetForTest();
    }
    ~Fresh() {
        Iftel::NameTable::instance().resetForTest();
        expect(TestSupport::liveCounts() == before_, "nothing is left alive");
    }
    Fresh(Fresh const &) = delete;
    Fresh &operator=(Fresh const &) = delete;

  private:
    std::map<std::string, TestSupport::LiveCount> const before_;
};

} // namespace Fuzz
