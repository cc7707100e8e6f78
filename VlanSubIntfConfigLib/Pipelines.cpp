// The three pipelines: each event is one member of an input as it is now, and is followed to its
// writes before the function returns.
//
//     eventToVlanConfigStream   (vlanId, intfId)       writes the entry, its attributes and the
//                                                      index lagVlanStatus
//     eventToLagUpdateStream    (lagId, lagMemberId)   writes nothing itself
//     eventToQuam_pipeline0     merges the two: (entry, lagMemberId) writes lagPhyIntf
//
// Each is a fixed chain of filters and writes; a filter that fails ends the event, and what was
// written before it stays. Nothing happens before the initial scan is done. While an output is to
// be reconciled, each write (and each removal) first marks its key as seen.
//
// The merge finds its entry by invariant: the index holds a pair exactly while the entry exists,
// because the VLAN stream deletes the entry before the pair, and the deletion walk deletes only
// entries that were not written in this run, which have no pair. Both streams have the entry at
// hand, the LAG stream beside the pair, and hand it on; it is looked up only when it is no longer
// the directory's. An entry in the index says so, by the creation serial of the store that the
// index is in, as long as its pair is there: the VLAN stream need not write that pair again.
#include "VlanSubIntfConfigLib/Trace.h"
#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"

#include <fmt/ostream.h>

#define ROOT_TRACE(level, function, statement, ...)                                                \
    DOVRA_TRACE(debugHandler_, level, "ConfigSm", function, DovraCode::Statements::statement,      \
                __VA_ARGS__)
#define VLAN_STREAM_TRACE(level, statement, ...)                                                   \
    ROOT_TRACE(level, "eventToVlanConfigStream", statement, __VA_ARGS__)

#define MERGE_TRACE()                                                                              \
    ROOT_TRACE(7, "eventToQuam_pipeline0", merge,                                                  \
               "Line 65: merge( vlanConfigStream, lagUpdateStream ): vlanId={} subIntfId={} "      \
               "lagMemberId={} add={}",                                                            \
               printed(vlanId), printed(subIntfId), printed(lagMemberId), printed(add))
#define INTO_LAG_PHY_INTF_TRACE(verb)                                                              \
    ROOT_TRACE(7, "eventToQuam_pipeline0", intoLagPhyIntf,                                         \
               "into( vlanSubIntf.lagPhyIntf[ lagMemberId ] ): " verb " k1={}",                    \
               printed(lagMemberId))

namespace VlanSubIntfConfigLib {

using DovraCode::printed;

// The merge. Inline, for it is the body of both streams' loops, which have passed the gate. `seen`
// is where the member is recorded while the output is to be reconciled; null afterwards.

[[gnu::always_inline]] inline void ConfigSm::mergeInto(VlanSubIntf &vlanSubIntf,
                                                       LagPhyIntfOutputColl *seen,
                                                       Iftel::IntfId lagMemberId, bool add) {
    if (seen) {
        seen->seenIs({lagMemberId, true});
    }
    if (add) {
        INTO_LAG_PHY_INTF_TRACE("inserting");
        vlanSubIntf.lagPhyIntfIs(lagMemberId);
    } else {
        INTO_LAG_PHY_INTF_TRACE("deleting");
        vlanSubIntf.lagPhyIntfDel(lagMemberId);
    }
}

[[gnu::always_inline]] inline void ConfigSm::merge(Bridging::VlanId vlanId, Iftel::IntfId subIntfId,
                                                   VlanSubIntf &vlanSubIntf,
                                                   LagPhyIntfOutputColl *seen,
                                                   Iftel::IntfId lagMemberId, bool add) {
    if (!vlanSubIntf.inDirectory()) [[unlikely]] { // somebody else's hand: it is looked up
        eventToQuam_pipeline0(vlanId, subIntfId, lagMemberId, add);
        return;
    }
    MERGE_TRACE();
    mergeInto(vlanSubIntf, seen, lagMemberId, add);
}

inline bool ConfigSm::mergedAtOnce(VlanSubIntf &vlanSubIntf, LagPhyIntfOutputColl *seen,
                                   Lag::LagPhyIntfConfig::PhyIntfMap const &lagMembers) {
    auto const members = lagMembers.unordered();
    if (members.empty() || debugHandler_->levelMask() != 0 || !vlanSubIntf.inDirectory() ||
        vlanSubIntf.publisher().hasSubscribers()) {
        return false;
    }
    if (seen) {
        seen->seenAre(members);
    }
    vlanSubIntf.lagPhyIntfAre(members);
    return true;
}

void ConfigSm::eventToQuam_pipeline0(Bridging::VlanId vlanId, Iftel::IntfId subIntfId,
                                     Iftel::IntfId lagMemberId, bool add) {
    if (!initialScanDone_) {
        return;
    }
    MERGE_TRACE();
    auto const &config = Qor::required(vlanSubIntfConfigDir_->config().lookupNodeG(vlanId)).value();
    Qor::Ptr<VlanSubIntf> const vlanSubIntf =
        Qor::required(config->intf().lookupNodeG(subIntfId)).value();
    mergeInto(*vlanSubIntf, lagPhyIntfSeen(vlanSubIntf).get(), lagMemberId, add);
}

inline bool ConfigSm::passesPortChannelFilter(Iftel::IntfId intfId) const {
    bool const passes = Iftel::PortChannelIntfId::isPortChannelIntfId(intfId);
    if (!passes) {
        VLAN_STREAM_TRACE(6, filterPortChannel,
                          "filter( PortChannelIntfId::isPortChannelIntfId( intfId ) ) failed, "
                          "terminating pipeline");
    }
    return passes;
}

[[gnu::always_inline]] inline void
ConfigSm::memberPresent(Bridging::VlanId vlanId, Iftel::IntfId intfId,
                        Bridging::VlanPortConfig const &vlanPortConfig) {
    auto const config = vlanSubIntfConfigDir_->configIs(vlanId);
    VLAN_STREAM_TRACE(7, intoConfigIntf,
                      "into( vlanSubIntfConfigDir.config[ vlanId ].intf[ intfId ] ): inserting "
                      "k1={}, k2={}, value={}",
                      printed(vlanId), printed(intfId), printed(intfId));
    auto const hold = config->intfIs(intfId);
    VlanSubIntf &vlanSubIntf = *hold;
    VLAN_STREAM_TRACE(7, intoTagOnEgress, "into( vlanSubIntf.tagOnEgress ): inserting value={}",
                      printed(vlanPortConfig.tagOnEgress));
    vlanSubIntf.tagOnEgressIs(vlanPortConfig.tagOnEgress);
    VLAN_STREAM_TRACE(7, intoDirection,
                      "into( vlanSubIntf.allowedTrafficDirection ): inserting value={}",
                      printed(vlanPortConfig.allowedTrafficDirection));
    vlanSubIntf.allowedTrafficDirectionIs(vlanPortConfig.allowedTrafficDirection);
    if (!passesPortChannelFilter(intfId)) {
        return;
    }
    auto const parentIntfId = Iftel::SubIntfId::parentIntfId(intfId);
    VlanSubIntfStatusLib::VidIntf const vidIntf{intfId, vlanId};
    // An entry that says so is in the index with its pair.
    std::uint32_t const index = localAttrStore_->creationSerial();
    Qor::Ptr<VlanSubIntfStatusLib::VlanStatus> status;
    if (vlanSubIntf.listedIn() != index) {
        status = localAttrStore_->lagVlanStatusIs(parentIntfId)->valueIs();
    }
    VLAN_STREAM_TRACE(7, intoIntfToVlanMap,
                      "into( lagVlanStatus[ parentIntfId ].intfToVlanMap[ vidIntf ] ): inserting "
                      "k1={}, k2={}",
                      printed(parentIntfId), fmt::streamed(vidIntf));
    if (status) {
        status->intfToVlanMapIs(vidIntf, hold, index);
    }
    auto const *const lag = lagPhyIntfMapping_->lagPhyIntfConfig().lookupNodeG(parentIntfId);
    if (!lag) {
        // The pair stays in the index: the LAG stream finds it when members come up.
        VLAN_STREAM_TRACE(6, filterLagConfig,
                          "filter( lagPhyIntfMapping.lagPhyIntfConfig[ parentIntfId ] ) failed, "
                          "terminating pipeline");
        return;
    }
    auto const &phyIntf = lag->value()->phyIntf();
    VLAN_STREAM_TRACE(6, foreachPhyIntf,
                      "foreach( ( *lagPhyIntfMapping.lagPhyIntfConfig[ parentIntfId ] ).phyIntf ) "
                      "flattening {} elements",
                      phyIntf.size());
    if (phyIntf.empty()) {
        return;
    }
    auto const seen = lagPhyIntfSeen(hold);
    if (mergedAtOnce(vlanSubIntf, seen.get(), phyIntf)) {
        return;
    }
    Qor::Ptr<Lag::LagPhyIntfConfig const> const lagHold(lag->value());
    for (auto member = phyIntf.iterator(); member; member.advance()) {
        VLAN_STREAM_TRACE(9, foreachPhyIntf, "Flattening element: {}", printed(member.key()));
        merge(vlanId, intfId, vlanSubIntf, seen.get(), member.key(), true);
    }
}

[[gnu::always_inline]] inline void ConfigSm::memberGone(Bridging::VlanId vlanId,
                                                        Iftel::IntfId intfId) {
    if (auto const config = vlanSubIntfConfigDir_->config(vlanId)) {
        VLAN_STREAM_TRACE(7, intoConfigIntf,
                          "into( vlanSubIntfConfigDir.config[ vlanId ].intf[ intfId ] ): deleting "
                          "k1={}, k2={}",
                          printed(vlanId), printed(intfId));
        (*config)->intfDel(intfId);
        if ((*config)->intf().empty()) {
            vlanSubIntfConfigDir_->configDel(vlanId);
        }
    }
    if (!passesPortChannelFilter(intfId)) {
        return;
    }
    auto const parentIntfId = Iftel::SubIntfId::parentIntfId(intfId);
    if (auto const entry = localAttrStore_->lagVlanStatus(parentIntfId)) {
        VlanSubIntfStatusLib::VidIntf const vidIntf{intfId, vlanId};
        VLAN_STREAM_TRACE(7, intoIntfToVlanMap,
                          "into( lagVlanStatus[ parentIntfId ].intfToVlanMap[ vidIntf ] ): "
                          "deleting k1={}, k2={}",
                          printed(parentIntfId), fmt::streamed(vidIntf));
        auto const &status = entry->value();
        status->intfToVlanMapDel(vidIntf);
        if (status->intfToVlanMap().empty()) {
            localAttrStore_->lagVlanStatusDel(parentIntfId);
        }
    }
    VLAN_STREAM_TRACE(6, filterAdd, "filter( add ) failed, terminating pipeline");
}

void ConfigSm::eventToVlanConfigStream(
    Bridging::VlanId vlanId, Iftel::IntfId intfId,
    Qor::Optional<Bridging::VlanPortConfig> const &vlanPortConfig) {
    if (!initialScanDone_) {
        memberCounted(intfId, vlanPortConfig.hasValue());
        return;
    }
    VLAN_STREAM_TRACE(7, fromVlanConfig,
                      "vlanConfigStream = from( bridgingConfig.vlanConfig[].intf[] ): vlanId={} "
                      "intfId={} vlanPortConfig={}",
                      printed(vlanId), printed(intfId), printed(vlanPortConfig));
    if (!Iftel::SubIntfId::isSubIntfId(intfId)) {
        VLAN_STREAM_TRACE(
            6, filterSubIntf,
            "filter( SubIntfId::isSubIntfId( intfId ) ) failed, terminating pipeline");
        return;
    }
    if (configIntfReconciling_) {
        vlanSubIntfConfigDirConfigIntfOutputSeenIs({vlanId, intfId, true, true});
    }
    if (vlanPortConfig) {
        memberPresent(vlanId, intfId, *vlanPortConfig);
    } else {
        memberGone(vlanId, intfId);
    }
}

void ConfigSm::eventToLagUpdateStream(
    Iftel::IntfId lagId, Iftel::IntfId lagMemberId,
    Qor::Optional<Qor::Ptr<Lag::EthPhyIntfLagConfig const>> const &phyIntfLagConfig) {
    if (!initialScanDone_) {
        return;
    }
    ROOT_TRACE(7, __func__, fromLagUpdate,
               "lagUpdateStream = from( lagPhyIntfMapping.lagPhyIntfConfig[].phyIntf[] ): "
               "lagId={} lagMemberId={} phyIntfLagConfig={}",
               printed(lagId), printed(lagMemberId), printed(phyIntfLagConfig));
    bool const add = phyIntfLagConfig.hasValue();
    auto const entry = localAttrStore_->lagVlanStatus(lagId);
    if (!entry) {
        ROOT_TRACE(6, __func__, filterLagVlanStatus,
                   "filter( lagVlanStatus[ lagId ] ) failed, terminating pipeline");
        return;
    }
    auto const status = entry->value();
    auto const &pairs = status->intfToVlanMap();
    ROOT_TRACE(6, __func__, foreachVidIntf,
               "foreach( ( *lagVlanStatus[ lagId ] ).intfToVlanMap ) flattening {} elements",
               pairs.size());
    for (auto vidIntf = pairs.iterator(); vidIntf; vidIntf.advance()) {
        ROOT_TRACE(9, __func__, foreachVidIntf, "Flattening element: {}",
                   fmt::streamed(vidIntf.key()));
        auto const &[intfId, vlanId] = vidIntf.key();
        if (auto const *const node = vidIntf.node(); node && node->beside().entry()) {
            auto const &vlanSubIntf = node->beside().entry();
            auto const seen = lagPhyIntfSeen(vlanSubIntf);
            merge(vlanId, intfId, *vlanSubIntf, seen.get(), lagMemberId, add);
        } else {
            eventToQuam_pipeline0(vlanId, intfId, lagMemberId, add);
        }
    }
}

} // namespace VlanSubIntfConfigLib
