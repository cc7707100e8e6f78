// Generation of the workloads. While it writes events, the generator keeps, per member, whether it
// is there and with which configuration. The order in which random numbers are drawn is part of the
// workload.
#include "bench/Workload.h"

#include "bench/Random.h"

#include <utility>

namespace Bench {
namespace {

constexpr std::uint32_t lags = 64;
constexpr std::uint32_t membersPerLag = 8;

template <class Ids> class Generator {
  public:
    explicit Generator(std::uint64_t seed) : random_(seed) {
        for (std::uint32_t i = 0; i < lags * membersPerLag; ++i) {
            workload_.lagMembers.push_back({lagOf(i / membersPerLag), ethernet(i + 1)});
        }
    }

    void mixedMembers(MixedSize const &size) {
        std::uint32_t number = 0;
        for (std::uint32_t vlan = 1; vlan <= size.vlans; ++vlan) {
            for (std::uint32_t i = 0; i < size.perVlan; ++i) {
                auto const intf = mixedIntf(i, ++number);
                bool const tagOnEgress = (random_.next() & 1) != 0;
                auto const direction = random_.below(3);
                workload_.members.push_back(
                    {Ids::vlan(vlan), intf, Ids::config(tagOnEgress, direction)});
            }
        }
        membersDone();
    }
    void fanMembers(FanSize const &size) {
        std::uint32_t number = 0;
        for (std::uint32_t lag = 0; lag < lags; ++lag) {
            for (std::uint32_t i = 0; i < size.pairs; ++i) {
                auto const vlan = Ids::vlan(1 + random_.below(size.vlans()));
                workload_.members.push_back(
                    {vlan, Ids::intf(Kind::lagSub, lag + 1, ++number), Ids::config(true, 2)});
            }
        }
        membersDone();
    }
    void churn(std::uint32_t events) {
        present_.assign(workload_.members.size(), true);
        for (auto const &member : workload_.members) {
            configs_.push_back(member.config);
        }
        for (auto &pass : workload_.churn) {
            for (std::uint32_t i = 0; i < events; ++i) {
                pass.push_back(churnEvent(random_.below(workload_.members.size())));
            }
        }
    }
    void changesWhileDown() {
        for (std::size_t i = 0; i < workload_.members.size(); ++i) {
            if (present_[i] && random_.below(10) == 0) {
                workload_.staleMembers.push_back(workload_.members[i]);
            }
        }
        for (std::uint32_t lag = 0; lag < lags; lag += 10) {
            workload_.staleLags.push_back({false, lagOf(lag), ethernet(lag * membersPerLag + 1)});
            workload_.staleLags.push_back({true, lagOf(lag), ethernet(5000 + lag)});
        }
    }
    void lagChurn(std::uint32_t events) {
        std::vector<bool> present(workload_.lagMembers.size(), true);
        for (std::uint32_t i = 0; i < events; ++i) {
            auto const k = random_.below(present.size());
            present[k] = !present[k];
            auto const &changed = workload_.lagMembers[k];
            workload_.lagChurn.push_back({present[k], changed.lag, changed.member});
        }
    }

    [[nodiscard]] Workload<Ids> take() noexcept { return std::move(workload_); }

  private:
    static typename Ids::Intf lagOf(std::uint32_t index) noexcept {
        return Ids::intf(Kind::lag, index + 1);
    }
    static typename Ids::Intf ethernet(std::uint32_t number) noexcept {
        return Ids::intf(Kind::ethernet, number);
    }
    typename Ids::Intf mixedIntf(std::uint32_t inVlan, std::uint32_t number) noexcept {
        switch (inVlan % 4) {
        case 0:
        case 1:
            return Ids::intf(Kind::lagSub, random_.below(lags) + 1, number);
        case 2:
            return Ids::intf(Kind::ethernetSub, 1000 + random_.below(512), number);
        default:
            return ethernet(10000 + number);
        }
    }
    /// Inputs do not arrive sorted.
    void membersDone() {
        auto &members = workload_.members;
        for (std::size_t i = members.size(); i > 1; --i) {
            std::swap(members[i - 1], members[random_.below(i)]);
        }
        for (auto const &member : members) {
            workload_.outputEntries += Ids::isSubIntf(member.intf) ? 1U : 0U;
        }
    }
    Event<Ids> churnEvent(std::size_t k) noexcept {
        auto const &member = workload_.members[k];
        bool present = true;
        if (present_[k]) {
            if ((random_.next() & 1) != 0) {
                present = false;
            } else {
                std::uint64_t const direction = Ids::direction(configs_[k]);
                configs_[k] = Ids::config(!Ids::tagOnEgress(configs_[k]), (direction + 1) % 3);
            }
        }
        present_[k] = present;
        return {present, member.vlan, member.intf, configs_[k]};
    }

    Workload<Ids> workload_;
    Random random_;
    std::vector<bool> present_;                 ///< of workload_.members
    std::vector<typename Ids::Config> configs_; ///< of workload_.members
};

} // namespace

template <class Ids> Workload<Ids> generate(MixedSize const &size) {
    Generator<Ids> generator(42);
    generator.mixedMembers(size);
    generator.churn(size.events);
    generator.changesWhileDown();
    return generator.take();
}

template <class Ids> Workload<Ids> generate(FanSize const &size) {
    Generator<Ids> generator(7);
    generator.fanMembers(size);
    generator.lagChurn(size.writes / size.pairs);
    return generator.take();
}

template Workload<PeerIds> generate<PeerIds>(MixedSize const &);
template Workload<PeerIds> generate<PeerIds>(FanSize const &);
template Workload<MachineIds> generate<MachineIds>(MixedSize const &);
template Workload<MachineIds> generate<MachineIds>(FanSize const &);

} // namespace Bench
