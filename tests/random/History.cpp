#include "tests/random/History.h"

#include <algorithm>
#include <iterator>
#include <ostream>
#include <sstream>

namespace Histories {
namespace {

std::array<std::string, 4> const directions = {"none", "ingress", "egress", "both"};

char const *nameOf(Kind kind) {
    switch (kind) {
    case Kind::run:
        return "run";
    case Kind::settle:
        return "settle";
    case Kind::vlanAdd:
        return "vlanAdd";
    case Kind::vlanDel:
        return "vlanDel";
    case Kind::vlanFilled:
        return "vlanFilled";
    case Kind::portIs:
        return "portIs";
    case Kind::portDel:
        return "portDel";
    case Kind::lagAdd:
        return "lagAdd";
    case Kind::lagDel:
        return "lagDel";
    case Kind::lagFilled:
        return "lagFilled";
    case Kind::memberIs:
        return "memberIs";
    case Kind::memberDel:
        return "memberDel";
    case Kind::vlanNotice:
        return "vlanNotice";
    case Kind::lagNotice:
        return "lagNotice";
    case Kind::quiet:
        return "quiet";
    case Kind::restart:
        return "restart";
    case Kind::release:
        return "release";
    case Kind::releaseInside:
        return "releaseInside";
    case Kind::withdraw:
        return "withdraw";
    }
    return "?";
}

bool bit(std::uint8_t bits, std::size_t index) {
    return (bits >> index & 1U) != 0;
}

/// An entry of an earlier run: place and item as in a step, members by the bits of `value`.
struct OldEntry {
    Step step;
    std::uint8_t members = 0;
};

Model::Entry entryOf(OldEntry const &old) {
    Model::Port const port = old.step.port();
    Model::Entry entry{port.tagOnEgress, port.direction, {}};
    for (std::size_t i = 0; i < members.size(); ++i) {
        if (bit(old.members, i)) {
            entry.members.insert(members[i]);
        }
    }
    return entry;
}

auto genByte() {
    return rc::gen::inRange<std::uint8_t>(0, 255);
}

rc::Gen<Step> genStep(Kinds const &kinds) {
    return rc::gen::build<Step>(
        rc::gen::set(&Step::kind, rc::gen::elementOf(kinds)), rc::gen::set(&Step::place, genByte()),
        rc::gen::set(&Step::item, genByte()), rc::gen::set(&Step::value, genByte()));
}

} // namespace

Model::Port Step::port() const {
    return {bit(value, 0), bit(value, 1), directions[value / 4 % directions.size()]};
}

Model::MemberConfig Step::memberConfig() const {
    return bit(value, 0) ? Model::MemberConfig::configured : Model::MemberConfig::null;
}

Model::Ports Step::ports() const {
    Model::Ports result;
    for (std::size_t i = 0; i < interfaces.size(); ++i) {
        if (bit(item, i % 8)) {
            result[interfaces[i]] = port();
        }
    }
    return result;
}

Model::Members Step::lagMembers() const {
    Model::Members result;
    for (std::size_t i = 0; i < members.size(); ++i) {
        if (bit(item, i)) {
            result[members[i]] = memberConfig();
        }
    }
    return result;
}

std::string History::text() const {
    std::ostringstream text;
    text << *this;
    return text.str();
}

std::ostream &operator<<(std::ostream &out, Step const &step) {
    out << nameOf(step.kind);
    switch (step.kind) {
    case Kind::vlanAdd:
    case Kind::vlanDel:
    case Kind::vlanNotice:
        return out << ' ' << step.vlan();
    case Kind::portIs:
    case Kind::portDel:
        return out << ' ' << step.vlan() << ' ' << step.intf() << ' ' << step.port().tagOnEgress
                   << ' ' << step.port().pvid << ' ' << step.port().direction;
    case Kind::lagAdd:
    case Kind::lagDel:
    case Kind::lagNotice:
        return out << ' ' << step.lag();
    case Kind::memberIs:
    case Kind::memberDel:
        return out << ' ' << step.lag() << ' ' << step.member();
    default:
        return out << ' ' << int{step.place} << ' ' << int{step.item} << ' ' << int{step.value};
    }
}

std::ostream &operator<<(std::ostream &out, Manner const &manner) {
    static constexpr std::array cuts = {"never", "at every test", "at every third test",
                                        "at random"};
    return out << (manner.synchronous ? "synchronous" : "asynchronous") << ", cut "
               << cuts[static_cast<std::size_t>(manner.cut)] << ", seed " << manner.seed;
}

std::ostream &operator<<(std::ostream &out, History const &history) {
    out << history.manner << "\nbefore:\n";
    for (Step const &step : history.before) {
        out << "  " << step << '\n';
    }
    out << "left behind:\n";
    for (auto const &[place, value] : Model::lines(history.leftBehind)) {
        out << "  " << place << ": " << value << '\n';
    }
    out << "steps:\n";
    for (Step const &step : history.steps) {
        out << "  " << step << '\n';
    }
    return out;
}

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
                                                         Cut::atRandom, Cut::never})));
}

rc::Gen<Model::Output> genLeftBehind() {
    auto const genOld = rc::gen::build<OldEntry>(
        rc::gen::set(&OldEntry::step,
                     genStep({Kind::portIs, Kind::portIs, Kind::portIs, Kind::vlanAdd})),
        rc::gen::set(&OldEntry::members, genByte()));
    auto const genOldEntries =
        rc::gen::scale(0.4, rc::gen::container<std::vector<OldEntry>>(genOld));
    return rc::gen::map(genOldEntries, [](std::vector<OldEntry> const &entries) {
        Model::Output output;
        for (OldEntry const &old : entries) {
            auto &vlan = output[old.step.vlan()];
            if (old.step.kind == Kind::portIs) {
                vlan[old.step.intf()] = entryOf(old);
            }
        }
        return output;
    });
}

rc::Gen<History> genHistory(Kinds const &kinds) {
    using rc::gen::set;
    Kinds const filling =
        1 * Kind::vlanAdd + 8 * Kind::portIs + 1 * Kind::lagAdd + 6 * Kind::memberIs;
    return rc::gen::build<History>(
        set(&History::manner, genManner()), set(&History::before, genSteps(filling)),
        set(&History::leftBehind, genLeftBehind()), set(&History::steps, genSteps(kinds)));
}

} // namespace Histories
