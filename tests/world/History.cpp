#include "tests/world/History.h"

#include <array>
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
    case Kind::reprioritise:
        return "reprioritise";
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

/// The last port-channel has one subinterface, the others `subIntfs` each.
Pools makePools(int vlans, int portChannels, int subIntfs, int ethernets, int members) {
    Pools pools;
    pools.vlans = vlans;
    auto const named = [](char const *kind, int number, int subIntf = 0) {
        std::string const name = kind + std::to_string(number);
        return subIntf == 0 ? name : name + '.' + std::to_string(subIntf);
    };
    for (int lag = 1; lag <= portChannels; ++lag) {
        pools.lags.push_back(named("PortChannel", lag));
        for (int subIntf = 1; subIntf <= subIntfs && (lag < portChannels || subIntf == 1);
             ++subIntf) {
            pools.interfaces.push_back(named("PortChannel", lag, 10 * subIntf));
        }
    }
    pools.lags.push_back("Ethernet1");
    for (int ethernet = 1; ethernet <= ethernets; ++ethernet) {
        pools.interfaces.push_back(named("Ethernet", ethernet, 10));
    }
    pools.interfaces.push_back(named("Ethernet", ethernets + 1));
    pools.interfaces.push_back(pools.lags.front());
    for (int member = 1; member <= members; ++member) {
        pools.members.push_back(named("Ethernet", 100 + member));
    }
    return pools;
}

template <class Name> Name const &chosen(std::vector<Name> const &pool, std::uint8_t number) {
    return pool[number % pool.size()];
}

Model::Entry entryOf(OldEntry const &old, Pools const &pools) {
    Model::Port const port = old.step.port();
    Model::Entry entry{port.tagOnEgress, port.direction, {}};
    for (std::size_t i = 0; i < pools.members.size(); ++i) {
        if (bit(old.members, i)) {
            entry.members.insert(pools.members[i]);
        }
    }
    return entry;
}

} // namespace

Pools const &poolsOf(Scale scale) {
    static Pools const small = makePools(6, 3, 2, 2, 4);
    static Pools const large = makePools(40, 12, 4, 17, 24);
    return scale == Scale::small ? small : large;
}

std::string const &Step::intf(Pools const &pools) const {
    return chosen(pools.interfaces, item);
}

std::string const &Step::lag(Pools const &pools) const {
    return chosen(pools.lags, place);
}

std::string const &Step::member(Pools const &pools) const {
    return chosen(pools.members, item);
}

Osk::TaskPriority Step::priority() const {
    return static_cast<Osk::TaskPriority>(value % Osk::taskPriorities);
}

Model::Port Step::port() const {
    return {bit(value, 0), bit(value, 1), directions[value / 4 % directions.size()]};
}

Model::MemberConfig Step::memberConfig() const {
    return bit(value, 0) ? Model::MemberConfig::configured : Model::MemberConfig::null;
}

Model::Ports Step::ports(Pools const &pools) const {
    Model::Ports result;
    for (std::size_t i = 0; i < pools.interfaces.size(); ++i) {
        if (bit(item, i)) {
            result[pools.interfaces[i]] = port();
        }
    }
    return result;
}

Model::Members Step::lagMembers(Pools const &pools) const {
    Model::Members result;
    for (std::size_t i = 0; i < pools.members.size(); ++i) {
        if (bit(item, i)) {
            result[pools.members[i]] = memberConfig();
        }
    }
    return result;
}

Model::Output outputOf(std::vector<OldEntry> const &entries, Pools const &pools) {
    Model::Output output;
    for (OldEntry const &old : entries) {
        auto &vlan = output[old.step.vlan(pools)];
        if (old.step.kind == Kind::portIs) {
            vlan[old.step.intf(pools)] = entryOf(old, pools);
        }
    }
    return output;
}

std::string text(Step const &step, Pools const &pools) {
    std::ostringstream out;
    out << nameOf(step.kind);
    switch (step.kind) {
    case Kind::vlanAdd:
    case Kind::vlanDel:
    case Kind::vlanNotice:
        out << ' ' << step.vlan(pools);
        break;
    case Kind::portIs:
    case Kind::portDel:
        out << ' ' << step.vlan(pools) << ' ' << step.intf(pools) << ' ' << step.port().tagOnEgress
            << ' ' << step.port().pvid << ' ' << step.port().direction;
        break;
    case Kind::lagAdd:
    case Kind::lagDel:
    case Kind::lagNotice:
        out << ' ' << step.lag(pools);
        break;
    case Kind::memberIs:
    case Kind::memberDel:
        out << ' ' << step.lag(pools) << ' ' << step.member(pools);
        break;
    default:
        out << ' ' << int{step.place} << ' ' << int{step.item} << ' ' << int{step.value};
    }
    return out.str();
}

std::ostream &operator<<(std::ostream &out, Manner const &manner) {
    static constexpr std::array cuts = {"never", "at every test", "at every third test",
                                        "at random"};
    return out << (manner.synchronous ? "synchronous" : "asynchronous") << ", cut "
               << cuts[static_cast<std::size_t>(manner.cut)] << ", priority "
               << static_cast<int>(manner.priority) << ", seed " << manner.seed;
}

std::ostream &operator<<(std::ostream &out, History const &history) {
    out << (history.scale == Scale::small ? "small, " : "large, ") << history.manner
        << "\nbefore:\n";
    for (Step const &step : history.before) {
        out << "  " << text(step, history.pools()) << '\n';
    }
    out << "left behind:\n";
    for (auto const &[place, value] : Model::lines(history.leftBehind)) {
        out << "  " << place << ": " << value << '\n';
    }
    out << "steps:\n";
    for (Step const &step : history.steps) {
        out << "  " << text(step, history.pools()) << '\n';
    }
    return out;
}

} // namespace Histories
