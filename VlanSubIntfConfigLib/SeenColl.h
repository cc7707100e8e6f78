// The LAG members that were written under one subinterface in this run: an entry of the root's
// record of what the deletion walk over lagPhyIntf[] must keep.
#pragma once

#include "VlanSubIntfConfigLib/OutputKeys.h"
#include "VlanSubIntfConfigLib/Types.h"
#include "platform/Qor/Attribute.h"
#include "platform/Qor/HashMap2018.h"
#include "platform/Qor/Pool.h"
#include "platform/Qor/PtrInterface.h"
#include "platform/VlanSubIntfConfigDir.h"

#include <span>
#include <string_view>

namespace VlanSubIntfConfigLib {

/// Shown by ConfigSm under its generated name. [SeenTracking.cpp]
class LagPhyIntfOutputColl final : public Qor::PtrInterface,
                                   public Qor::PoolAllocated<LagPhyIntfOutputColl> {
  public:
    static constexpr std::string_view qorTypeName =
        "VlanSubIntfConfigLib::ConfigSm::"
        "VlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputCollType";
    using SeenSet = Qor::HashMap2018<LagPhyIntfOutputKey, void, 0x6EA91963>;

    /// Shares the subinterface; null allowed.
    explicit LagPhyIntfOutputColl(Qor::Ptr<VlanSubIntf> const &subIntf);

    [[nodiscard]] Qor::Ptr<VlanSubIntf> const &vlanSubIntf() const noexcept { return vlanSubIntf_; }
    [[nodiscard]] SeenSet const &seen() const noexcept { return seen_; }
    /// Mark a key; one that is marked already changes nothing.
    SeenSet::Node const *seenIs(LagPhyIntfOutputKey const &key) {
        return seen_.newMemberG({key}).first;
    }
    /// Mark the keys of several entries of a collection.
    template <class Node> void seenAre(std::span<Node const> members) {
        seen_.newMembersG(members, [](Node const &member) {
            return SeenSet::Node{{member.key(), true}};
        });
    }
    void seenDel(LagPhyIntfOutputKey const &key);
    void seenDelAll();

    [[nodiscard]] static std::span<Qor::Attribute const> qorAttributes() noexcept;
    [[nodiscard]] Qor::FwkType fwkType() const noexcept override {
        return fwkTypeOf(TypeIndex::lagPhyIntfOutputColl);
    }

  private:
    Qor::Ptr<VlanSubIntf> vlanSubIntf_;
    SeenSet seen_;
};

} // namespace VlanSubIntfConfigLib
