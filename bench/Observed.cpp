#include "bench/Observed.h"

#include <vector>

namespace Bench {

using Iftel::IntfId;
using Iftel::PortChannelIntfId;

class Observed::InputObserver {
  public:
    virtual ~InputObserver() = default;
    virtual void memberChanged(std::uint16_t vlan, IntfId intfId) = 0;
    virtual void lagMemberChanged(IntfId lagId, IntfId memberId) = 0;
};

class Observed::Reactor final : public InputObserver {
  public:
    explicit Reactor(Observed &system) noexcept : system_(system) {}
    void memberChanged(std::uint16_t vlan, IntfId intfId) override {
        system_.memberChanged(vlan, intfId);
    }
    void lagMemberChanged(IntfId lagId, IntfId memberId) override {
        system_.lagMemberChanged(lagId, memberId);
    }

  private:
    Observed &system_;
};

class Observed::OutputObserver {
  public:
    enum class Change : std::uint8_t { vlan, subIntf, tagOnEgress, direction, lagMember };
    virtual ~OutputObserver() = default;
    virtual void changed(Change change, std::uint64_t key) = 0;
};

class Observed::Counter final : public OutputObserver {
  public:
    void changed(Change change, std::uint64_t key) override {
        ++changes_;
        keys_ ^= key + static_cast<std::uint64_t>(change);
    }

  private:
    std::uint64_t changes_ = 0;
    std::uint64_t keys_ = 0;
};

namespace {

template <class Map, class Key> auto *lookUp(Map &map, Key const &key) {
    auto const found = map.find(key);
    return found == map.end() ? nullptr : &found->second;
}

/// The entity under `key`, made if it is missing; and whether it was.
template <class Map, class Key> auto entityIs(Map &map, Key const &key) {
    auto const [place, isNew] = map.try_emplace(key);
    if (isNew) {
        place->second = std::make_shared<typename Map::mapped_type::element_type>();
    }
    return std::pair(place->second, isNew);
}

} // namespace

Observed::Observed() : observer_(std::make_unique<Counter>()) {}
Observed::~Observed() = default;

void Observed::memberIs(Member const &member) {
    std::uint16_t const vlan = member.vlanId.value();
    auto const entity = entityIs(in_, vlan).first;
    auto const [place, isNew] = entity->members.try_emplace(member.intfId, member.config);
    if (!isNew) {
        if (place->second == member.config) {
            return;
        }
        place->second = member.config;
    }
    if (reactor_) {
        reactor_->memberChanged(vlan, member.intfId);
    }
}

void Observed::memberDel(Member const &member) {
    std::uint16_t const vlan = member.vlanId.value();
    auto *const entity = lookUp(in_, vlan);
    if (entity && (*entity)->members.erase(member.intfId) != 0 && reactor_) {
        reactor_->memberChanged(vlan, member.intfId);
    }
}

void Observed::lagMemberIs(LagMember const &lagMember) {
    auto const lag = entityIs(lags_, lagMember.lagId).first;
    if (entityIs(lag->members, lagMember.memberId).second && reactor_) {
        reactor_->lagMemberChanged(lagMember.lagId, lagMember.memberId);
    }
}

void Observed::lagMemberDel(LagMember const &lagMember) {
    auto *const lag = lookUp(lags_, lagMember.lagId);
    if (lag && (*lag)->members.erase(lagMember.memberId) != 0 && reactor_) {
        reactor_->lagMemberChanged(lagMember.lagId, lagMember.memberId);
    }
}

void Observed::memberChanged(std::uint16_t vlan, IntfId intfId) {
    if (!intfId.isSubIntf()) {
        return;
    }
    auto *const entity = lookUp(in_, vlan);
    if (auto const *const config = entity ? lookUp((*entity)->members, intfId) : nullptr) {
        present(vlan, intfId, *config);
    } else {
        gone(vlan, intfId);
    }
}

void Observed::present(std::uint16_t vlan, IntfId intfId, Bridging::VlanPortConfig const &config) {
    auto const [entity, newVlan] = entityIs(out_, vlan);
    if (newVlan) {
        observer_->changed(OutputObserver::Change::vlan, vlan);
    }
    auto const [subIntf, isNew] = entityIs(entity->subIntfs, intfId);
    if (isNew) {
        observer_->changed(OutputObserver::Change::subIntf, intfId.bits());
    }
    if (takesOver_) {
        written_.insert(subIntf.get());
    }
    attributesIs(*subIntf, config);
    if (!PortChannelIntfId::isPortChannelIntfId(intfId)) {
        return;
    }
    IntfId const lagId = intfId.withoutSubIntf();
    entityIs(status_, lagId).first->rides.emplace(intfId, vlan);
    if (auto *const lag = lookUp(lags_, lagId)) {
        for (auto const &[memberId, port] : (*lag)->members) {
            lagMemberWrite(*subIntf, memberId, true);
        }
        if (takesOver_) {
            staleLagMembersDel(*subIntf, **lag);
        }
    }
}

void Observed::attributesIs(SubIntf &subIntf, Bridging::VlanPortConfig const &config) {
    if (subIntf.tagOnEgress != config.tagOnEgress) {
        subIntf.tagOnEgress = config.tagOnEgress;
        observer_->changed(OutputObserver::Change::tagOnEgress, 0);
    }
    if (subIntf.direction != config.allowedTrafficDirection) {
        subIntf.direction = config.allowedTrafficDirection;
        observer_->changed(OutputObserver::Change::direction, 0);
    }
}

void Observed::gone(std::uint16_t vlan, IntfId intfId) {
    if (auto *const found = lookUp(out_, vlan)) {
        auto const entity = *found;
        if (entity->subIntfs.erase(intfId) != 0) {
            observer_->changed(OutputObserver::Change::subIntf, intfId.bits());
        }
        if (entity->subIntfs.empty()) {
            out_.erase(vlan);
            observer_->changed(OutputObserver::Change::vlan, vlan);
        }
    }
    IntfId const lagId = intfId.withoutSubIntf();
    if (auto *const found = lookUp(status_, lagId)) {
        auto const status = *found;
        status->rides.erase({intfId, vlan});
        if (status->rides.empty()) {
            status_.erase(lagId);
        }
    }
}

void Observed::lagMemberChanged(IntfId lagId, IntfId memberId) {
    auto *const found = lookUp(status_, lagId);
    if (!found) {
        return;
    }
    auto const status = *found;
    auto *const lag = lookUp(lags_, lagId);
    bool const add = lag && (*lag)->members.contains(memberId);
    for (auto const &[intfId, vlan] : status->rides) {
        auto const subIntf = out_.at(vlan)->subIntfs.at(intfId);
        lagMemberWrite(*subIntf, memberId, add);
    }
}

void Observed::lagMemberWrite(SubIntf &subIntf, IntfId memberId, bool add) {
    bool const changes =
        add ? subIntf.lagMembers.insert(memberId).second : subIntf.lagMembers.erase(memberId) != 0;
    if (changes) {
        observer_->changed(OutputObserver::Change::lagMember, memberId.bits());
    }
}

void Observed::start() {
    reactor_ = std::make_unique<Reactor>(*this);
    takesOver_ = !out_.empty();
    for (auto const &[vlan, entity] : in_) {
        for (auto const &[intfId, config] : entity->members) {
            if (intfId.isSubIntf()) {
                present(vlan, intfId, config);
            }
        }
    }
    if (takesOver_) {
        staleDel();
        written_ = {};
        takesOver_ = false;
    }
}

void Observed::staleDel() {
    std::vector<Ride> stale;
    for (auto const &[vlan, entity] : out_) {
        for (auto const &[intfId, subIntf] : entity->subIntfs) {
            if (!written_.contains(subIntf.get())) {
                stale.emplace_back(intfId, vlan);
            }
        }
    }
    for (auto const &[intfId, vlan] : stale) {
        gone(vlan, intfId);
    }
}

void Observed::staleLagMembersDel(SubIntf &subIntf, LagIn const &lag) {
    if (subIntf.lagMembers.size() == lag.members.size()) {
        return; // every member of the LAG was written, so there is no other
    }
    std::vector<IntfId> stale;
    for (IntfId const memberId : subIntf.lagMembers) {
        if (!lag.members.contains(memberId)) {
            stale.push_back(memberId);
        }
    }
    for (IntfId const memberId : stale) {
        lagMemberWrite(subIntf, memberId, false);
    }
}

void Observed::stop() {
    reactor_ = nullptr;
    status_.clear();
}

Checksum Observed::checksum() const {
    Checksum result;
    for (auto const &[vlan, entity] : out_) {
        Bridging::VlanId const vlanId(vlan);
        for (auto const &[intfId, subIntf] : entity->subIntfs) {
            result.entryAdd(vlanId, intfId, subIntf->tagOnEgress, subIntf->direction);
            for (IntfId const memberId : subIntf->lagMembers) {
                result.memberAdd(vlanId, intfId, memberId);
            }
        }
    }
    return result;
}

} // namespace Bench
