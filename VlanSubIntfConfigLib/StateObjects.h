// The root's two state objects: how far the input scans are, and which outputs are ready.
//
// Both are small observable records. A setter whose value equals the stored one does nothing;
// otherwise it stores the value and publishes the attribute's identifier. The root reacts to them;
// hosts may observe them.
#pragma once

#include "VlanSubIntfConfigLib/Types.h"
#include "platform/Qor/Attribute.h"
#include "platform/Qor/Pool.h"
#include "platform/QorNuvio/StateObject.h"

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

namespace VlanSubIntfConfigLib::DovraCode::ConfigSm {

/// Which input streams have finished the scan under way, and whether the root's initial scan is
/// over. [StateObjects.cpp]
class InputSmScanState final : public QorNuvio::StateObject,
                               public Qor::PoolAllocated<InputSmScanState> {
  public:
    static constexpr std::string_view qorTypeName =
        "VlanSubIntfConfigLib::DovraCode::ConfigSm::InputSmScanState";
    static constexpr short lagUpdateStreamScanAttribute = 131;
    static constexpr short vlanConfigStreamScanAttribute = 132;
    static constexpr short idleAttribute = 133;

    [[nodiscard]] bool lagUpdateStreamScan() const noexcept { return lagUpdateStreamScan_; }
    [[nodiscard]] bool vlanConfigStreamScan() const noexcept { return vlanConfigStreamScan_; }
    [[nodiscard]] bool idle() const noexcept { return idle_; }

    void lagUpdateStreamScanIs(bool done);
    void vlanConfigStreamScanIs(bool done);
    void idleIs(bool idle);
    /// Idle from here on.
    void handleIdle() { idleIs(true); }

    [[nodiscard]] static std::span<Qor::Attribute const> qorAttributes() noexcept;
    [[nodiscard]] Qor::FwkType fwkType() const noexcept override {
        return fwkTypeOf(TypeIndex::inputSmScanState);
    }

  private:
    bool lagUpdateStreamScan_ = false;
    bool vlanConfigStreamScan_ = false;
    bool idle_ = false;
};

/// The machine's outputs, by the attribute of OutputState that says that they are ready. This is
/// also the order in which their handlers run.
enum class Output : short {
    lagPhyIntf = 130,
    intfToVlanMap = 131,
    allowedTrafficDirection = 132,
    tagOnEgress = 133,
    configIntf = 134
};
inline constexpr std::array outputs{Output::lagPhyIntf, Output::intfToVlanMap,
                                    Output::allowedTrafficDirection, Output::tagOnEgress,
                                    Output::configIntf};

/// Which outputs are ready. Invariant: ready() is the conjunction of the five. [StateObjects.cpp]
class OutputState final : public QorNuvio::StateObject, public Qor::PoolAllocated<OutputState> {
  public:
    static constexpr std::string_view qorTypeName =
        "VlanSubIntfConfigLib::DovraCode::ConfigSm::OutputState";
    static constexpr short readyAttribute = 135;

    [[nodiscard]] static Qor::Ptr<OutputState> OutputStateIs();

    [[nodiscard]] bool outputReady(Output output) const noexcept {
        return outputReady_[indexOf(output)];
    }
    /// Store the flag, recompute ready() and publish it if it changes, then publish the flag.
    void outputReadyIs(Output output, bool ready);

    /// All five are ready.
    [[nodiscard]] bool ready() const noexcept { return ready_; }
    void readyIs(bool ready);
    /// Recompute ready().
    void handleReady();

    // The five flags by their generated names.
    [[nodiscard]] bool vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReady() const noexcept {
        return outputReady(Output::lagPhyIntf);
    }
    void vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReadyIs(bool ready) {
        outputReadyIs(Output::lagPhyIntf, ready);
    }
    [[nodiscard]] bool lagVlanStatusIntfToVlanMapOutputReady() const noexcept {
        return outputReady(Output::intfToVlanMap);
    }
    void lagVlanStatusIntfToVlanMapOutputReadyIs(bool ready) {
        outputReadyIs(Output::intfToVlanMap, ready);
    }
    [[nodiscard]] bool
    vlanSubIntfConfigLibVlanSubIntfPtrAllowedTrafficDirectionOutputReady() const noexcept {
        return outputReady(Output::allowedTrafficDirection);
    }
    void vlanSubIntfConfigLibVlanSubIntfPtrAllowedTrafficDirectionOutputReadyIs(bool ready) {
        outputReadyIs(Output::allowedTrafficDirection, ready);
    }
    [[nodiscard]] bool vlanSubIntfConfigLibVlanSubIntfPtrTagOnEgressOutputReady() const noexcept {
        return outputReady(Output::tagOnEgress);
    }
    void vlanSubIntfConfigLibVlanSubIntfPtrTagOnEgressOutputReadyIs(bool ready) {
        outputReadyIs(Output::tagOnEgress, ready);
    }
    [[nodiscard]] bool vlanSubIntfConfigDirConfigIntfOutputReady() const noexcept {
        return outputReady(Output::configIntf);
    }
    void vlanSubIntfConfigDirConfigIntfOutputReadyIs(bool ready) {
        outputReadyIs(Output::configIntf, ready);
    }

    [[nodiscard]] static std::span<Qor::Attribute const> qorAttributes() noexcept;
    [[nodiscard]] Qor::FwkType fwkType() const noexcept override {
        return fwkTypeOf(TypeIndex::outputState);
    }

  private:
    static constexpr std::size_t indexOf(Output output) noexcept {
        return static_cast<std::size_t>(output) - static_cast<std::size_t>(outputs.front());
    }

    std::array<bool, outputs.size()> outputReady_{};
    bool ready_ = false;
};

} // namespace VlanSubIntfConfigLib::DovraCode::ConfigSm
