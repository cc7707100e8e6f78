#include "agent/source/InputsUpdate.h"

#include <utility>

namespace Agent {

// The two inputs are one scheme: elements by key, each with members.

struct InputsUpdate::Lags {
    using Element = Lag::LagPhyIntfConfig;
    using Members = Element::PhyIntfMap;

    static auto &elements(Inputs const &inputs) {
        return inputs.lagPhyIntfMapping->lagPhyIntfConfig();
    }
    static auto elementIs(Inputs const &inputs, Iftel::IntfId id) {
        return inputs.lagPhyIntfMapping->lagPhyIntfConfigIs(id);
    }
    static void elementDel(Inputs const &inputs, Iftel::IntfId id) {
        inputs.lagPhyIntfMapping->lagPhyIntfConfigDel(id);
    }
    static auto &members(Element const &lag) { return lag.phyIntf(); }
    static void memberIs(Element &lag, Members::Node const &member) {
        lag.phyIntfIs(member.key(), member.value());
    }
    static void memberDel(Element &lag, Iftel::IntfId id) { lag.phyIntfDel(id); }
    /// What is configured for a member has no contents that could differ.
    static bool same(Members::Node const &a, Members::Node const &b) {
        return (a.value() == nullptr) == (b.value() == nullptr);
    }
    static auto &element(InputsUpdate &update) { return update.lag_; }
    static auto &member(InputsUpdate &update) { return update.phyIntf_; }
};

struct InputsUpdate::Vlans {
    using Element = Bridging::VlanConfig;
    using Members = Element::IntfMap;

    static auto &elements(Inputs const &inputs) { return inputs.bridgingConfig->vlanConfig(); }
    static auto elementIs(Inputs const &inputs, Bridging::VlanId id) {
        return inputs.bridgingConfig->vlanConfigIs(id);
    }
    static void elementDel(Inputs const &inputs, Bridging::VlanId id) {
        inputs.bridgingConfig->vlanConfigDel(id);
    }
    static auto &members(Element const &vlan) { return vlan.intf(); }
    static void memberIs(Element &vlan, Members::Node const &member) {
        vlan.intfIs(member.key(), member.value());
    }
    static void memberDel(Element &vlan, Iftel::IntfId id) { vlan.intfDel(id); }
    static bool same(Members::Node const &a, Members::Node const &b) {
        return a.value() == b.value();
    }
    static auto &element(InputsUpdate &update) { return update.vlan_; }
    static auto &member(InputsUpdate &update) { return update.intf_; }
};

InputsUpdate::InputsUpdate(Inputs inputs, Inputs wanted)
    : inputs_(std::move(inputs)), wanted_(std::move(wanted)) {}

bool InputsUpdate::step(Osk::Task const &task) {
    while (phase_ != Phase::done && phaseEnds(task)) {
        phase_ = static_cast<Phase>(static_cast<std::uint8_t>(phase_) + 1);
        lag_.reset();
        vlan_.reset();
    }
    return phase_ == Phase::done;
}

bool InputsUpdate::phaseEnds(Osk::Task const &task) {
    switch (phase_) {
    case Phase::lagsIn:
        return in<Lags>(task);
    case Phase::vlansIn:
        return in<Vlans>(task);
    case Phase::lagsOut:
        return out<Lags>(task);
    case Phase::vlansOut:
        return out<Vlans>(task);
    case Phase::done:
        break;
    }
    return true;
}

/// Walk over what is wanted. True when the walk is over.
template <class Kind> bool InputsUpdate::in(Osk::Task const &task) {
    auto &element = Kind::element(*this);
    auto &member = Kind::member(*this);
    if (!element) {
        element = Kind::elements(wanted_).iterator();
    }
    for (; *element; element->advance(), member.reset()) {
        auto const live = Kind::elementIs(inputs_, element->key());
        if (!member) {
            member = Kind::members(*element->node()->value()).iterator();
        }
        for (; *member; member->advance()) {
            auto const *const known = Kind::members(*live).lookupNodeG(member->key());
            if (!known || !Kind::same(*known, *member->node())) {
                Kind::memberIs(*live, *member->node());
                ++changes_;
            }
            if (task.taskShouldYield()) {
                member->advance();
                return false;
            }
        }
    }
    return true;
}

/// Walk over what is there. True when the walk is over.
template <class Kind> bool InputsUpdate::out(Osk::Task const &task) {
    auto &element = Kind::element(*this);
    auto &member = Kind::member(*this);
    if (!element) {
        element = Kind::elements(inputs_).iterator();
    }
    for (; *element; element->advance(), member.reset()) {
        auto const *const node = Kind::elements(wanted_).lookupNodeG(element->key());
        auto const live = Kind::elementIs(inputs_, element->key());
        if (!member) {
            member = Kind::members(*live).iterator();
        }
        for (; *member; member->advance()) {
            if (!node || !Kind::members(*node->value()).memberHas(member->key())) {
                Kind::memberDel(*live, member->key());
                ++changes_;
            }
            if (task.taskShouldYield()) {
                member->advance();
                return false;
            }
        }
        if (!node) {
            Kind::elementDel(inputs_, element->key());
        }
    }
    return true;
}

} // namespace Agent
