// What a world's digest is made of.
//
// Between two steps nothing of the machine is on the stack, so its attributes are its state. Not
// added are the layouts of maps, on which no walk depends, and the serial of the next object, which
// moves a walk over pointer keys but decides no result.
#include "tests/world/World.h"

namespace Histories {
namespace {

void add(Digest &digest, Iftel::IntfId intf) {
    digest.add(intf.bits());
}

void add(Digest &digest, Bridging::VlanId vlan) {
    digest.add(vlan.value());
}

void add(Digest &digest, VlanSubIntfConfigLib::ConfigIntfOutputKey const &key) {
    add(digest, key.k0);
    add(digest, key.k1);
    digest.add(unsigned{key.k0Valid} + 2U * unsigned{key.k1Valid});
}

void add(Digest &digest, VlanSubIntfConfigLib::LagPhyIntfOutputKey const &key) {
    add(digest, key.k0);
    digest.add(key.k0Valid);
}

void add(Digest &digest, Qor::Ptr<Osk::Task> const &task) {
    digest.add(task ? 1U + 2U * unsigned{task->taskQueued()} +
                          4U * static_cast<unsigned>(task->taskPriority())
                    : 0U);
}

/// `InputSm` is an input machine of a parent or a child.
template <class InputSm> void addScan(Digest &digest, InputSm const &machine) {
    digest.add(static_cast<std::uint64_t>(machine.scanState()));
    add(digest, machine.inputScanBookmark());
    digest.add(machine.hasNotificationActive());
}

template <class Parent> void addInput(Digest &digest, Parent const &parent) {
    using Stream = typename Parent::StreamType;
    addScan(digest, parent);
    add(digest, parent.task());
    digest.add(parent.childSm().size());
    for (auto child = parent.childSm().iterator(); child; child.advance()) {
        auto const &machine = *child.node()->value();
        add(digest, machine.key());
        addScan(digest, machine);
        digest.add(Stream::members(*machine.en()).stamp() == machine.intfVersionSeen());
    }
}

void add(Digest &digest, VlanSubIntfConfigLib::VlanSubIntf const &entry) {
    digest.add(entry.creationSerial());
    add(digest, entry.intfId());
    digest.add(entry.tagOnEgress());
    digest.add(static_cast<std::uint64_t>(entry.allowedTrafficDirection()));
    digest.add(entry.lagPhyIntf().size());
    for (auto const &member : entry.lagPhyIntf()) {
        add(digest, member);
    }
}

void add(Digest &digest, VlanSubIntfConfigLib::VlanSubIntfConfigDir const &dir) {
    digest.add(dir.config().size());
    for (auto const &[vlan, config] : dir.config()) {
        add(digest, vlan);
        digest.add(config->intf().size());
        for (auto const &[intf, entry] : config->intf()) {
            add(digest, *entry);
        }
    }
}

/// What the walk over the entries has yet to do.
void addConfigIntfWalk(Digest &digest, VlanSubIntfConfigLib::ConfigSm const &machine) {
    add(digest, machine.vlanSubIntfConfigDirConfigIntfOutputReconciliationTask());
    digest.add(machine.vlanSubIntfConfigDirConfigIntfOutputReconciling());
    digest.add(machine.vlanSubIntfConfigDirConfigIntfOutputUseBookmark());
    add(digest, machine.vlanSubIntfConfigDirConfigIntfOutputBookmark());
    digest.add(machine.vlanSubIntfConfigDirConfigIntfOutputSeen().size());
    for (auto const &key : machine.vlanSubIntfConfigDirConfigIntfOutputSeen()) {
        add(digest, key);
    }
}

/// What the walk over the members has yet to do. It walks entries that have left the directory,
/// too.
void addLagPhyIntfWalk(Digest &digest, VlanSubIntfConfigLib::ConfigSm const &machine) {
    add(digest, machine.vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTask());
    digest.add(machine.vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciling());
    digest.add(machine.vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputUseBookmark());
    add(digest, machine.vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputBookmark());
    auto const &bookmark = machine.vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrBookmark();
    digest.add(bookmark ? bookmark->creationSerial() : 0);
    auto const &seen = machine.vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeen();
    digest.add(seen.size());
    for (auto entry = seen.iterator(); entry; entry.advance()) {
        auto const &coll = *entry.node()->value();
        add(digest, *coll.vlanSubIntf());
        digest.add(coll.seen().size());
        for (auto const &key : coll.seen()) {
            add(digest, key);
        }
    }
}

void add(Digest &digest, VlanSubIntfConfigLib::ConfigSm const &machine) {
    digest.add(machine.initialScanDone());
    digest.add(machine.inputSmScanState()->lagUpdateStreamScan());
    digest.add(machine.inputSmScanState()->vlanConfigStreamScan());
    digest.add(machine.inputSmScanState()->idle());
    for (auto const output : VlanSubIntfConfigLib::DovraCode::ConfigSm::outputs) {
        digest.add(machine.outputState()->outputReady(output));
    }
    addInput(digest, *machine.lagPhyIntfConfigSm2());
    addInput(digest, *machine.vlanConfigSm0());
    addConfigIntfWalk(digest, machine);
    addLagPhyIntfWalk(digest, machine);
    for (auto const &[lag, status] : machine.localAttrStore()->lagVlanStatus()) {
        add(digest, lag);
        for (auto const &pair : status->value()->intfToVlanMap()) {
            add(digest, pair.intfId);
            add(digest, pair.vlanId);
        }
    }
}

void add(Digest &digest, Model::Inputs const &inputs) {
    for (auto const &[vlan, ports] : inputs.vlans) {
        digest.add(static_cast<std::uint64_t>(vlan));
        for (auto const &[intf, port] : ports) {
            digest.add(intf);
            digest.add(port.direction);
            digest.add(unsigned{port.tagOnEgress} + 2U * unsigned{port.pvid});
        }
    }
    digest.add(inputs.vlans.size());
    for (auto const &[lag, members] : inputs.lags) {
        digest.add(lag);
        for (auto const &[member, config] : members) {
            digest.add(member);
            digest.add(static_cast<std::uint64_t>(config));
        }
    }
    digest.add(inputs.lags.size());
}

} // namespace

void World::addTo(Digest &digest) const {
    add(digest, inputs_);
    add(digest, *dir_);
    digest.add(static_cast<std::uint64_t>(trap_));
    digest.add(trapCount_);
    digest.add(static_cast<std::uint64_t>(withdrawn_));
    digest.add(machine_ != nullptr);
    if (machine_) {
        add(digest, *machine_);
        takeOver_->addTo(digest);
    }
}

} // namespace Histories
