// The machine's histories as bytes, each played against the model.
//
//     <manner> <hash seed> <steps before> <old entries>
//     then so many steps of filling (4 bytes each), so many old entries (5), and steps to the end
//     (4)
//
// The manner's bits: 0-1 how the scheduler cuts work, 2 synchronous, 3-4 priority, 5 the large
// world. A step is kind, place, item, value; an old entry has its members behind that. A kind is
// taken modulo their number, so every string of bytes is a history.
#include "fuzz/Fuzzer.h"
#include "tests/world/Frame.h"
#include "tests/world/World.h"

#include <array>

namespace {

using namespace Histories;

constexpr std::array fillings = {Kind::portIs, Kind::memberIs, Kind::portIs,     Kind::memberIs,
                                 Kind::lagAdd, Kind::vlanAdd,  Kind::vlanFilled, Kind::lagFilled};
constexpr std::array oldKinds = {Kind::portIs, Kind::portIs, Kind::portIs, Kind::vlanAdd};
constexpr unsigned kinds = static_cast<unsigned>(Kind::withdraw) + 1;
/// More is a matter of `scripts/soak`: an input is to take a moment.
constexpr std::size_t mostSteps = 400;

Step stepOf(Kind kind, Fuzz::Bytes &bytes) {
    Step step;
    step.kind = kind;
    step.place = bytes.next();
    step.item = bytes.next();
    step.value = bytes.next();
    return step;
}

Manner mannerOf(std::uint8_t bits, std::uint8_t seed) {
    Manner manner;
    manner.cut = static_cast<Cut>(bits % 4);
    manner.synchronous = bit(bits, 2);
    manner.priority = static_cast<Osk::TaskPriority>(bits / 8 % 4);
    manner.seed = seed;
    return manner;
}

History historyOf(Fuzz::Bytes bytes) {
    History history;
    auto const manner = bytes.next();
    history.manner = mannerOf(manner, bytes.next());
    history.scale = bit(manner, 5) ? Scale::large : Scale::small;
    auto const fillingCount = bytes.next();
    auto const oldCount = bytes.next();
    for (unsigned i = 0; i < fillingCount && !bytes.empty(); ++i) {
        auto const kind = fillings[bytes.next() % fillings.size()];
        history.before.push_back(stepOf(kind, bytes));
    }
    std::vector<OldEntry> oldEntries;
    for (unsigned i = 0; i < oldCount && !bytes.empty(); ++i) {
        auto const kind = oldKinds[bytes.next() % oldKinds.size()];
        oldEntries.push_back({stepOf(kind, bytes), bytes.next()});
    }
    history.leftBehind = outputOf(oldEntries, history.pools());
    while (!bytes.empty() && history.steps.size() < mostSteps) {
        auto const kind = static_cast<Kind>(bytes.next() % kinds);
        history.steps.push_back(stepOf(kind, bytes));
    }
    return history;
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size) {
    History const history = historyOf(Fuzz::Bytes(data, size));
    try {
        playInFrame(history);
    } catch (Mismatch const &mismatch) {
        Fuzz::expect(false, "the machine does what the model says", mismatch.what());
    }
    return 0;
}
