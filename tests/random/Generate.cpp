#include "tests/random/Generate.h"

#include <algorithm>
#include <iterator>

namespace Histories {
namespace {

auto genByte() {
    return rc::gen::inRange<std::uint8_t>(0, 255);
}

rc::Gen<Step> genStep(Kinds const &kinds) {
    return rc::gen::build<Step>(
        rc::gen::set(&Step::kind, rc::gen::elementOf(kinds)), rc::gen::set(&Step::place, genByte()),
        rc::gen::set(&Step::item, genByte()), rc::gen::set(&Step::value, genByte()));
}

} // namespace

Kinds operator*(std::size_t times, Kind kind) {
    return Kinds(times, kind);
}

Kinds operator+(Kinds a, Kinds const &b) {
    std::ranges::copy(b, std::back_inserter(a));
    return a;
}

Kinds inputChanges() {
    return 2 * Kind::vlanAdd + 2 * Kind::vlanDel + 2 * Kind::vlanFilled + 10 * Kind::portIs +
           5 * Kind::portDel + 2 * Kind::lagAdd + 2 * Kind::lagDel + 2 * Kind::lagFilled +
           8 * Kind::memberIs + 4 * Kind::memberDel;
}

rc::Gen<std::vector<Step>> genSteps(Kinds const &kinds) {
    return rc::gen::container<std::vector<Step>>(genStep(kinds));
}

rc::Gen<Manner> genManner() {
    using rc::gen::set;
    return rc::gen::build<Manner>(
        set(&Manner::seed, rc::gen::resize(rc::kNominalSize, rc::gen::arbitrary<std::uint32_t>())),
        // Most of what can go wrong is in the cuts of an asynchronous start-up.
        set(&Manner::synchronous, rc::gen::elementOf(std::vector<bool>{false, false, false, true})),
        set(&Manner::cut, rc::gen::elementOf(std::vector{Cut::everyTest, Cut::everyThirdTest,
                                                         Cut::atRandom, Cut::never})),
        set(&Manner::priority,
            rc::gen::elementOf(std::vector{Osk::TaskPriority::normal, Osk::TaskPriority::background,
                                           Osk::TaskPriority::low, Osk::TaskPriority::high})));
}

rc::Gen<std::vector<OldEntry>> genOldEntries() {
    auto const genOld = rc::gen::build<OldEntry>(
        rc::gen::set(&OldEntry::step,
                     genStep({Kind::portIs, Kind::portIs, Kind::portIs, Kind::vlanAdd})),
        rc::gen::set(&OldEntry::members, genByte()));
    return rc::gen::scale(0.4, rc::gen::container<std::vector<OldEntry>>(genOld));
}

rc::Gen<History> genHistoryOf(Scale scale, Kinds const &kinds) {
    using rc::gen::set;
    Kinds const filling =
        1 * Kind::vlanAdd + 8 * Kind::portIs + 1 * Kind::lagAdd + 6 * Kind::memberIs;
    double const lengths = scale == Scale::small ? 1 : 3;
    auto const genLeftBehind =
        rc::gen::map(rc::gen::scale(lengths, genOldEntries()),
                     [scale](auto const &entries) { return outputOf(entries, poolsOf(scale)); });
    return rc::gen::build<History>(
        set(&History::scale, rc::gen::just(scale)), set(&History::manner, genManner()),
        set(&History::before, rc::gen::scale(lengths, genSteps(filling))),
        set(&History::leftBehind, genLeftBehind),
        set(&History::steps, rc::gen::scale(lengths, genSteps(kinds))));
}

rc::Gen<History> genHistory(Kinds const &kinds) {
    return rc::gen::weightedOneOf<History>(
        {{60, genHistoryOf(Scale::small, kinds)}, {1, genHistoryOf(Scale::large, kinds)}});
}

} // namespace Histories
