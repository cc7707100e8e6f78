// VlanSubIntfConfigDir: the derived configuration of VLAN subinterfaces, the machine's output.
//
//     VlanSubIntfConfigDir.config[ VlanId ] -> VlanSubIntfConfig.intf[ IntfId ] -> VlanSubIntf
//         VlanSubIntf: lagPhyIntf (set of IntfId), tagOnEgress, allowedTrafficDirection
//
// The machine writes it and hosts read and observe it; a host fills it only before it makes the
// machine, with what an earlier run left. Each mutator publishes a real change after it is made.
// A directory owns its entries; readers hold a Ptr as long as they look, and do not write inputs
// inside a notice of it.
#pragma once

#include "platform/Bridging/VlanId.h"
#include "platform/Bridging/VlanIndex.h"
#include "platform/Bridging/VlanPortConfig.h"
#include "platform/Iftel/IntfId.h"
#include "platform/Nuvio/Export.h"
#include "platform/Qor/Attribute.h"
#include "platform/Qor/Entity.h"
#include "platform/Qor/HashMap2018.h"
#include "platform/Qor/Pool.h"

#include <atomic>
#include <cstdint>
#include <span>
#include <string_view>

namespace VlanSubIntfConfigLib {

class VlanSubIntfConfig;

/// One subinterface in one VLAN: a cache line, and another one with room for up to eight members.
class NUVIO_EXPORT VlanSubIntf final : public Qor::DerivedEntity,
                                       public Qor::PoolAllocated<VlanSubIntf> {
  public:
    static constexpr std::string_view qorTypeName = "VlanSubIntfConfigLib::VlanSubIntf";
    static constexpr short lagPhyIntfAttribute = 130;
    static constexpr short tagOnEgressAttribute = 131;
    static constexpr short allowedTrafficDirectionAttribute = 132;
    using LagPhyIntfSet = Qor::HashMap2018<Iftel::IntfId, void, 0x6BAE05AF>;

    explicit VlanSubIntf(Iftel::IntfId id, VlanSubIntfConfig const *config = nullptr) noexcept
        : lagPhyIntf_(&room_), intfId_(id), config_(config) {}

    [[nodiscard]] Iftel::IntfId intfId() const noexcept { return intfId_; }
    /// It can be found in a directory: neither it nor its VLAN was removed.
    [[nodiscard]] bool inDirectory() const noexcept;

    /// The LAG members over which the subinterface's traffic runs.
    [[nodiscard]] LagPhyIntfSet const &lagPhyIntf() const noexcept { return lagPhyIntf_; }
    [[nodiscard]] bool lagPhyIntf(Iftel::IntfId member) const noexcept {
        return lagPhyIntf_.memberHas(member);
    }
    void lagPhyIntfIs(Iftel::IntfId member) { keyIs(lagPhyIntf_, lagPhyIntfAttribute, member); }
    /// The same for the keys of several entries of a collection. Requires: nobody observes this
    /// one.
    template <class Node> void lagPhyIntfAre(std::span<Node const> members) {
        NUVIO_DEBUG_ASSERT(!publisher().hasSubscribers());
        lagPhyIntf_.newMembersG(
            members, [](Node const &member) { return LagPhyIntfSet::Node{member.key()}; });
    }
    void lagPhyIntfDel(Iftel::IntfId member) {
        memberDel(lagPhyIntf_, lagPhyIntfAttribute, member);
    }

    [[nodiscard]] bool tagOnEgress() const noexcept { return tagOnEgress_; }
    void tagOnEgressIs(bool tag) { attributeIs(tagOnEgress_, tagOnEgressAttribute, tag); }

    [[nodiscard]] Bridging::AllowedTrafficDirection allowedTrafficDirection() const noexcept {
        return allowedTrafficDirection_;
    }
    void allowedTrafficDirectionIs(Bridging::AllowedTrafficDirection direction) {
        attributeIs(allowedTrafficDirection_, allowedTrafficDirectionAttribute, direction);
    }

    /// Where the entry is listed, as who keeps such a list says, so that it need not search there
    /// for what it has listed: a number that no other list has; 0 for nowhere. A list may be let go
    /// of on any thread.
    [[nodiscard]] std::uint32_t listedIn() const noexcept {
        return threadSafePointers_ ? std::atomic_ref(listedIn_).load(std::memory_order_relaxed)
                                   : listedIn_;
    }
    void listedInIs(std::uint32_t list) noexcept {
        if (threadSafePointers_) [[unlikely]] {
            std::atomic_ref(listedIn_).store(list, std::memory_order_relaxed);
        } else {
            listedIn_ = list;
        }
    }

    [[nodiscard]] static std::span<Qor::Attribute const> qorAttributes() noexcept;
    [[nodiscard]] Qor::FwkType fwkType() const noexcept override;

  private:
    friend VlanSubIntfConfig;

    LagPhyIntfSet lagPhyIntf_;
    Iftel::IntfId intfId_;
    VlanSubIntfConfig const *config_; ///< owns this; null once it does not any more
    bool tagOnEgress_ = false;
    Bridging::AllowedTrafficDirection allowedTrafficDirection_ =
        Bridging::AllowedTrafficDirection::none;
    mutable std::uint32_t listedIn_ = 0;
    LagPhyIntfSet::Room room_;
};
static_assert(sizeof(VlanSubIntf) <= 128, "two cache lines");

/// The subinterfaces of one VLAN.
class NUVIO_EXPORT VlanSubIntfConfig final : public Qor::DerivedEntity,
                                             public Qor::PoolAllocated<VlanSubIntfConfig> {
  public:
    static constexpr std::string_view qorTypeName = "VlanSubIntfConfigLib::VlanSubIntfConfig";
    static constexpr short intfAttribute = 130;
    struct IntfIdOf {
        Iftel::IntfId operator()(Qor::Ptr<VlanSubIntf> const &subIntf) const noexcept {
            return subIntf->intfId();
        }
    };
    using IntfMap = Qor::HashMap2018<Iftel::IntfId, Qor::Ptr<VlanSubIntf>, 0x40CF24F4, IntfIdOf>;

    explicit VlanSubIntfConfig(Bridging::VlanId id, bool inDirectory = false) noexcept
        : vlanId_(id), inDirectory_(inDirectory) {}
    ~VlanSubIntfConfig() override { letGo(); }

    [[nodiscard]] Bridging::VlanId vlanId() const noexcept { return vlanId_; }

    [[nodiscard]] IntfMap const &intf() const noexcept { return intf_; }
    [[nodiscard]] Qor::Optional<Qor::Ptr<VlanSubIntf>> intf(Iftel::IntfId id) const {
        auto const *const node = intf_.lookupNodeG(id);
        return node ? Qor::Optional(node->value()) : std::nullopt;
    }
    Qor::Ptr<VlanSubIntf> intfIs(Iftel::IntfId id) {
        return memberIs(intf_, intfAttribute, id,
                        [this, id] { return Qor::make<VlanSubIntf>(id, this); });
    }
    void intfDel(Iftel::IntfId id) {
        memberDel(intf_, intfAttribute, id,
                  [](IntfMap::Node const &removed) { removed.value()->config_ = nullptr; });
    }

    [[nodiscard]] static std::span<Qor::Attribute const> qorAttributes() noexcept;
    [[nodiscard]] Qor::FwkType fwkType() const noexcept override;

  private:
    friend class VlanSubIntf;
    friend class VlanSubIntfConfigDir;

    /// It leaves the directory, and its entries with it.
    void letGo() noexcept;

    IntfMap intf_;
    Bridging::VlanId vlanId_;
    bool inDirectory_;
};

inline bool VlanSubIntf::inDirectory() const noexcept {
    return config_ && config_->inDirectory_;
}

/// The directory.
class NUVIO_EXPORT VlanSubIntfConfigDir final : public Qor::DerivedEntity,
                                                public Qor::PoolAllocated<VlanSubIntfConfigDir> {
  public:
    static constexpr std::string_view qorTypeName = "VlanSubIntfConfigLib::VlanSubIntfConfigDir";
    static constexpr short configAttribute = 130;
    struct VlanIdOf {
        Bridging::VlanId operator()(Qor::Ptr<VlanSubIntfConfig> const &config) const noexcept {
            return config->vlanId();
        }
    };
    using ConfigMap =
        Qor::HashMap2018<Bridging::VlanId, Qor::Ptr<VlanSubIntfConfig>, 0xC703BEE6, VlanIdOf>;

    /// A new, empty directory with notifications on.
    [[nodiscard]] static Qor::Ptr<VlanSubIntfConfigDir> VlanSubIntfConfigDirIs();

    [[nodiscard]] ConfigMap const &config() const noexcept { return config_; }
    [[nodiscard]] Qor::Optional<Qor::Ptr<VlanSubIntfConfig>> config(Bridging::VlanId id) const {
        if (auto *const known = byNumber_.at(id)) {
            return Qor::Ptr<VlanSubIntfConfig>(known);
        }
        auto const *const node = config_.lookupNodeG(id);
        return node ? Qor::Optional(node->value()) : std::nullopt;
    }
    Qor::Ptr<VlanSubIntfConfig> configIs(Bridging::VlanId id) {
        auto *const known = byNumber_.at(id);
        return known ? Qor::Ptr<VlanSubIntfConfig>(known) : configMade(id);
    }
    void configDel(Bridging::VlanId id);
    /// Have the cache lines fetched that a look-up of config[ id ].intf[ intfId ] touches.
    void prefetch(Bridging::VlanId id, Iftel::IntfId intfId) const noexcept {
        if (auto const *const known = byNumber_.at(id)) {
            known->intf().prefetch(intfId);
        }
    }

    [[nodiscard]] static std::span<Qor::Attribute const> qorAttributes() noexcept;
    [[nodiscard]] Qor::FwkType fwkType() const noexcept override;

  private:
    friend Qor::Ptr<VlanSubIntfConfigDir> Qor::make<VlanSubIntfConfigDir>();
    VlanSubIntfConfigDir() noexcept = default;
    ~VlanSubIntfConfigDir() override;

    Qor::Ptr<VlanSubIntfConfig> configMade(Bridging::VlanId id);

    ConfigMap config_;
    Bridging::VlanIndex<VlanSubIntfConfig> byNumber_;
};

} // namespace VlanSubIntfConfigLib
