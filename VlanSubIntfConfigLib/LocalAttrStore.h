// The machine's local attributes: derived state that is not an output.
//
//     LocalAttrStore.lagVlanStatus[ port-channel ] -> entry -> value: VlanStatus
//
// There is one local attribute, lagVlanStatus: per port-channel, the (subinterface, VLAN) pairs
// that ride on it. The VLAN stream writes it, the LAG stream looks up in it. The store owns its
// entries, an entry its VlanStatus; callers hold references for the span of one call.
//
// The creators are noexcept: running out of memory in them ends the process.
#pragma once

#include "VlanSubIntfConfigLib/Types.h"
#include "platform/Iftel/IntfId.h"
#include "platform/Qor/Attribute.h"
#include "platform/Qor/HashMap2018.h"
#include "platform/Qor/Pool.h"
#include "platform/QorNuvio/StateObject.h"
#include "platform/VlanSubIntfStatusLib.h"

#include <span>
#include <string_view>

namespace VlanSubIntfConfigLib::DovraCode::ConfigSm {

/// One entry: the status of one port-channel. [LocalAttrStore.cpp]
class LocalAttrIftelIntfIdVlanSubIntfStatusLibVlanStatusPtr final
    : public QorNuvio::StateObject,
      public Qor::PoolAllocated<LocalAttrIftelIntfIdVlanSubIntfStatusLibVlanStatusPtr> {
  public:
    static constexpr std::string_view qorTypeName =
        "VlanSubIntfConfigLib::DovraCode::ConfigSm::"
        "LocalAttrIftelIntfIdVlanSubIntfStatusLibVlanStatusPtr";
    static constexpr short valueAttribute = 131;

    explicit LocalAttrIftelIntfIdVlanSubIntfStatusLibVlanStatusPtr(Iftel::IntfId lagId) noexcept
        : key_(lagId) {}
    /// Publishes the loss of the value, if there is one, before it is released.
    ~LocalAttrIftelIntfIdVlanSubIntfStatusLibVlanStatusPtr() override;

    [[nodiscard]] Iftel::IntfId key() const noexcept { return key_; }
    [[nodiscard]] Qor::Ptr<VlanSubIntfStatusLib::VlanStatus> const &value() const noexcept {
        return value_;
    }
    /// The value, made empty if it is missing.
    Qor::Ptr<VlanSubIntfStatusLib::VlanStatus> const &valueIs() noexcept {
        if (!value_) [[unlikely]] {
            value_ = Qor::make<VlanSubIntfStatusLib::VlanStatus>();
            publishChange(valueAttribute);
        }
        return value_;
    }
    /// Take the value out; null if there is none.
    Qor::Ptr<VlanSubIntfStatusLib::VlanStatus> valueDel() noexcept;

    [[nodiscard]] static std::span<Qor::Attribute const> qorAttributes() noexcept;
    [[nodiscard]] Qor::FwkType fwkType() const noexcept override {
        return fwkTypeOf(TypeIndex::localAttr);
    }

  private:
    Qor::Ptr<VlanSubIntfStatusLib::VlanStatus> value_;
    Iftel::IntfId key_;
};

/// The store. [LocalAttrStore.cpp]
class LocalAttrStore final : public QorNuvio::StateObject,
                             public Qor::PoolAllocated<LocalAttrStore> {
  public:
    static constexpr std::string_view qorTypeName =
        "VlanSubIntfConfigLib::DovraCode::ConfigSm::LocalAttrStore";
    static constexpr short lagVlanStatusAttribute = 130;

    using Entry = LocalAttrIftelIntfIdVlanSubIntfStatusLibVlanStatusPtr;
    struct KeyOf {
        Iftel::IntfId operator()(Qor::Ptr<Entry> const &entry) const noexcept {
            return entry->key();
        }
    };
    using Map = Qor::HashMap2018<Iftel::IntfId, Qor::Ptr<Entry>, 0x6A9D4438, KeyOf>;

    LocalAttrStore() noexcept = default;
    /// Publishes the removal of every entry.
    ~LocalAttrStore() override;

    [[nodiscard]] Map const &lagVlanStatus() const noexcept { return lagVlanStatus_; }
    /// The entry of a port-channel; null if there is none.
    [[nodiscard]] Qor::Ptr<Entry> lagVlanStatus(Iftel::IntfId lagId) const noexcept {
        auto const *const node = lagVlanStatus_.lookupNodeG(lagId);
        return node ? node->value() : nullptr;
    }
    /// The entry of a port-channel, made without a value if it is missing.
    Qor::Ptr<Entry> lagVlanStatusIs(Iftel::IntfId lagId) noexcept {
        return memberIs(lagVlanStatus_, lagVlanStatusAttribute, lagId,
                        [lagId] { return Qor::make<Entry>(lagId); });
    }
    /// Remove an entry and return it; null if there is none.
    Qor::Ptr<Entry> lagVlanStatusDel(Iftel::IntfId lagId) noexcept;
    /// Remove every entry, each with its notice.
    void lagVlanStatusDelAll() noexcept;

    [[nodiscard]] static std::span<Qor::Attribute const> qorAttributes() noexcept;
    [[nodiscard]] Qor::FwkType fwkType() const noexcept override {
        return fwkTypeOf(TypeIndex::localAttrStore);
    }

  private:
    Map lagVlanStatus_;
};

} // namespace VlanSubIntfConfigLib::DovraCode::ConfigSm
