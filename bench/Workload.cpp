// Generation of the workloads. The generator keeps its own record of the inputs beside what it
// writes into the workload: per member whether it is there and with which configuration, and the
// members of each LAG.
#include "bench/Workload.h"

#include <algorithm>
#include <utility>

namespace Bench {
namespace {

using Bridging::AllowedTrafficDirection;
using Iftel::IntfId;
using Iftel::IntfKind;

constexpr std::uint32_t lags = 64;
constexpr std::uint32_t membersPerLag = 8;
constexpr std::uint32_t vlanIds = 4094;

constexpr std::uint64_t mix(std::uint64_t x) noexcept {
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9U;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBU;
    return x ^ (x >> 31);
}

class Random {
  public:
    explicit Random(std::uint64_t seed) noexcept : state_(seed) {}
    std::uint32_t below(std::uint64_t bound) noexcept {
        state_ += 0x9E3779B97F4A7C15U;
        return static_cast<std::uint32_t>((mix(state_) >> 32) * bound >> 32);
    }
    template <class T> void shuffle(std::vector<T> &all) noexcept {
        for (std::uint64_t i = all.size(); i > 1; --i) {
            std::swap(all[i - 1], all[below(i)]);
        }
    }

  private:
    std::uint64_t state_;
};

constexpr IntfId lagOf(std::uint32_t index) noexcept {
    return IntfId::intf(IntfKind::portChannel, index + 1);
}

std::uint64_t entryHash(Bridging::VlanId vlanId, IntfId intfId) noexcept {
    return mix(intfId.bits() ^ std::uint64_t{vlanId.value()} << 20);
}

/// Makes the members' records; `members` stays in the order in which they are written.
class Generator {
  public:
    explicit Generator(std::uint64_t seed) : random_(seed) {
        for (std::uint32_t i = 0; i < lags * membersPerLag; ++i) {
            workload_.lagMembers.push_back(
                {lagOf(i / membersPerLag), IntfId::intf(IntfKind::ethernet, i + 1)});
        }
        lagMemberThere_.assign(workload_.lagMembers.size(), true);
    }

    void mixedMembers(std::uint32_t vlans, std::uint32_t perVlan) {
        for (std::uint32_t i = 0; i < vlans * perVlan; ++i) {
            memberAdd(i / perVlan + 1, mixedIntf(i + 1));
        }
        membersDone();
    }
    void fanMembers(std::uint32_t perLag) {
        std::uint32_t const vlans = std::min(perLag * 10, vlanIds);
        for (std::uint32_t i = 0; i < lags * perLag; ++i) {
            memberAdd(random_.below(vlans) + 1, IntfId::subIntf(lagOf(i / perLag), i + 1));
        }
        membersDone();
    }
    void churn(std::vector<Event> &events, std::uint32_t count) {
        events.reserve(count);
        for (std::uint32_t i = 0; i < count; ++i) {
            events.push_back(churnEvent(random_.below(records_.size())));
        }
    }
    void changesWhileDown() {
        for (Record &record : records_) {
            if (record.there && random_.below(10) == 0) {
                record.there = false;
                workload_.gone.push_back(record.member);
            }
        }
        for (std::uint32_t lag = 0; lag < lags; lag += 10) {
            std::size_t const old = lag * membersPerLag;
            lagMemberThere_[old] = false;
            workload_.lagsMoved.push_back({false, workload_.lagMembers[old]});
            LagMember const added{lagOf(lag), IntfId::intf(IntfKind::ethernet, 5000 + lag)};
            moved_.push_back(added);
            workload_.lagsMoved.push_back({true, added});
        }
    }
    void lagChurn(std::uint32_t count) {
        for (std::uint32_t i = 0; i < count; ++i) {
            std::size_t const k = random_.below(lagMemberThere_.size());
            lagMemberThere_[k] = !lagMemberThere_[k];
            workload_.lagChurn.push_back({lagMemberThere_[k], workload_.lagMembers[k]});
        }
    }
    [[nodiscard]] Checksum expected() const {
        Checksum result;
        for (Record const &record : records_) {
            if (record.there && record.member.intfId.isSubIntf()) {
                add(result, record.member);
            }
        }
        return result;
    }

    [[nodiscard]] Workload &workload() noexcept { return workload_; }

  private:
    struct Record {
        Member member;
        bool there = true;
    };

    void memberAdd(std::uint32_t vlan, IntfId intfId) {
        auto const direction = static_cast<AllowedTrafficDirection>(random_.below(3));
        Bridging::VlanPortConfig const config{random_.below(2) == 1, false, direction};
        auto const vlanId = Bridging::VlanId(static_cast<std::uint16_t>(vlan));
        records_.push_back({{vlanId, intfId, config}});
    }
    /// Half are subinterfaces of a LAG, a quarter of an Ethernet port, a quarter are plain ports.
    IntfId mixedIntf(std::uint32_t number) noexcept {
        switch (number % 4) {
        case 0:
            return IntfId::intf(IntfKind::ethernet, 10000 + number);
        case 1:
            return IntfId::subIntf(IntfId::intf(IntfKind::ethernet, 1000 + random_.below(512)),
                                   number);
        default:
            return IntfId::subIntf(lagOf(random_.below(lags)), number);
        }
    }
    void membersDone() {
        random_.shuffle(records_);
        for (Record const &record : records_) {
            workload_.members.push_back(record.member);
        }
    }
    Event churnEvent(std::size_t k) noexcept {
        Record &record = records_[k];
        if (!record.there) {
            record.there = true;
            return {EventKind::present, record.member};
        }
        if (random_.below(2) == 0) {
            record.there = false;
            return {EventKind::removed, record.member};
        }
        auto &config = record.member.config;
        config.tagOnEgress = !config.tagOnEgress;
        auto const next = (static_cast<unsigned>(config.allowedTrafficDirection) + 1) % 3;
        config.allowedTrafficDirection = static_cast<AllowedTrafficDirection>(next);
        return {EventKind::changed, record.member};
    }
    void add(Checksum &result, Member const &member) const {
        result.entryAdd(member.vlanId, member.intfId, member.config.tagOnEgress,
                        member.config.allowedTrafficDirection);
        IntfId const parent = member.intfId.withoutSubIntf();
        if (parent.kind() != IntfKind::portChannel) {
            return;
        }
        for (std::size_t k = 0; k < lagMemberThere_.size(); ++k) {
            LagMember const &lagMember = workload_.lagMembers[k];
            if (lagMemberThere_[k] && lagMember.lagId == parent) {
                result.memberAdd(member.vlanId, member.intfId, lagMember.memberId);
            }
        }
        for (LagMember const &lagMember : moved_) {
            if (lagMember.lagId == parent) {
                result.memberAdd(member.vlanId, member.intfId, lagMember.memberId);
            }
        }
    }

    Workload workload_;
    Random random_;
    std::vector<Record> records_;
    std::vector<bool> lagMemberThere_; ///< of workload_.lagMembers
    std::vector<LagMember> moved_;
};

} // namespace

void Checksum::entryAdd(Bridging::VlanId vlanId, IntfId intfId, bool tagOnEgress,
                        AllowedTrafficDirection direction) noexcept {
    unsigned const attributes = (tagOnEgress ? 8U : 0U) + static_cast<unsigned>(direction);
    sum += mix(entryHash(vlanId, intfId) + attributes);
    ++entries;
}

void Checksum::memberAdd(Bridging::VlanId vlanId, IntfId intfId, IntfId memberId) noexcept {
    sum += mix(entryHash(vlanId, intfId) ^ mix(memberId.bits()));
    ++members;
}

Workload Workload::mixed(std::uint32_t vlans, std::uint32_t perVlan, std::uint32_t events) {
    Generator generator(42);
    Workload &workload = generator.workload();
    generator.mixedMembers(vlans, perVlan);
    workload.afterStart = generator.expected();
    generator.churn(workload.churn[0], events);
    generator.churn(workload.churn[1], events);
    workload.afterChurn = generator.expected();
    generator.changesWhileDown();
    workload.afterRestart = generator.expected();
    return std::move(workload);
}

Workload Workload::fan(std::uint32_t perLag, std::uint32_t events) {
    Generator generator(7);
    Workload &workload = generator.workload();
    generator.fanMembers(perLag);
    workload.afterStart = generator.expected();
    generator.lagChurn(events);
    workload.afterFan = generator.expected();
    return std::move(workload);
}

} // namespace Bench
