// One list of everything that a machine lets out, in the order in which it happens: its trace lines
// and the notices of what it writes.
//
// A trace line stands as TraceLine::text(), a notice as "* what changed, and how". Whatever appears
// below a watched object is watched from then on. Like a TraceRecorder, a Journal takes the
// handle's sink for its life.
//
//     Journal journal("ConfigSm");
//     journal.watch(*dir);
//     vlan->intfIs(IntfId("Ethernet4.20"), {true, false, both});
//     EXPECT_THAT(journal.lines(), ElementsAre(..., "* config 100 intf Ethernet4.20 added", ...));
#pragma once

#include "VlanSubIntfConfigLib/LocalAttrStore.h"
#include "VlanSubIntfConfigLib/StateObjects.h"
#include "platform/Nuvio/DebugHandler.h"
#include "platform/Nuvio/Publisher.h"
#include "platform/VlanSubIntfConfigDir.h"
#include "tests/support/TraceRecorder.h"

#include <fmt/format.h>
#include <fmt/ostream.h>

#include <cstdint>
#include <functional>
#include <list>
#include <string>
#include <utility>
#include <vector>

namespace TestSupport {

class Journal {
  public:
    explicit Journal(Nuvio::String const &handleName, std::uint16_t mask = TraceRecorder::allLevels)
        : handler_(Nuvio::Platform::getDebugHandler(handleName, false)),
          formerMask_(handler_->levelMask()) {
        handler_->levelMaskIs(mask);
        handler_->sinkIs([this](Nuvio::TraceRecord const &record) {
            lines_.push_back(TraceLine{record.level, std::string(record.machine),
                                       std::string(record.function), std::string(record.source),
                                       record.line, std::string(record.message)}
                                 .text());
        });
    }
    ~Journal() {
        handler_->levelMaskIs(formerMask_);
        handler_->sinkIs({});
    }
    /// Not copyable: the handle's sink and the publishers know it by its address.
    Journal(Journal const &) = delete;
    Journal &operator=(Journal const &) = delete;

    [[nodiscard]] std::vector<std::string> const &lines() const { return lines_; }
    void clear() { lines_.clear(); }

    void watch(VlanSubIntfConfigLib::VlanSubIntfConfigDir const &dir) {
        for (auto const &entry : dir.config()) {
            watch(*entry.second);
        }
        onChange(dir, [this, &dir](short /*attribute*/, void const *key) {
            auto const vlanId = *static_cast<Bridging::VlanId const *>(key);
            auto const config = dir.config(vlanId);
            note("config {} {}", fmt::streamed(vlanId), addedOrRemoved(config.hasValue()));
            if (config) {
                watch(**config);
            }
        });
    }
    void watch(VlanSubIntfConfigLib::VlanSubIntfConfig const &config) {
        for (auto const &entry : config.intf()) {
            watch(config.vlanId(), *entry.second);
        }
        onChange(config, [this, &config](short /*attribute*/, void const *key) {
            auto const intfId = *static_cast<Iftel::IntfId const *>(key);
            auto const intf = config.intf(intfId);
            note("config {} intf {} {}", fmt::streamed(config.vlanId()), fmt::streamed(intfId),
                 addedOrRemoved(intf.hasValue()));
            if (intf) {
                watch(config.vlanId(), **intf);
            }
        });
    }
    void watch(Bridging::VlanId vlanId, VlanSubIntfConfigLib::VlanSubIntf const &subIntf) {
        using VlanSubIntfConfigLib::VlanSubIntf;
        onChange(subIntf, [this, vlanId, &subIntf](short attribute, void const *key) {
            auto const name = fmt::format("config {} intf {}", fmt::streamed(vlanId),
                                          fmt::streamed(subIntf.intfId()));
            if (attribute == VlanSubIntf::tagOnEgressAttribute) {
                note("{} tagOnEgress {}", name, subIntf.tagOnEgress());
            } else if (attribute == VlanSubIntf::allowedTrafficDirectionAttribute) {
                note("{} allowedTrafficDirection {}", name,
                     fmt::streamed(subIntf.allowedTrafficDirection()));
            } else {
                auto const member = *static_cast<Iftel::IntfId const *>(key);
                note("{} lagPhyIntf {} {}", name, fmt::streamed(member),
                     addedOrRemoved(subIntf.lagPhyIntf(member)));
            }
        });
    }
    void watch(VlanSubIntfConfigLib::DovraCode::ConfigSm::LocalAttrStore const &store) {
        for (auto const &entry : store.lagVlanStatus()) {
            watch(*entry.second);
        }
        onChange(store, [this, &store](short /*attribute*/, void const *key) {
            auto const lagId = *static_cast<Iftel::IntfId const *>(key);
            auto const entry = store.lagVlanStatus(lagId);
            note("lagVlanStatus {} {}", fmt::streamed(lagId), addedOrRemoved(entry != nullptr));
            if (entry) {
                watch(*entry);
            }
        });
    }
    /// Notices of a state object are noted by their numbers.
    void watch(VlanSubIntfConfigLib::DovraCode::ConfigSm::OutputState const &state) {
        onChange(state, [this](short attribute, void const *) { note("output {}", attribute); });
    }
    void watch(VlanSubIntfConfigLib::DovraCode::ConfigSm::InputSmScanState const &state) {
        onChange(state, [this](short attribute, void const *) { note("scan {}", attribute); });
    }

  private:
    /// One registration; it ends with the publisher or with the journal.
    struct Watch {
        using Reaction = std::function<void(short attribute, void const *key)>;
        explicit Watch(Reaction onNotice)
            : reaction(std::move(onNotice)), subscriber(&Watch::heard, this) {}
        static void heard(Nuvio::Publisher * /*publisher*/, Nuvio::Subscriber *subscriber,
                          short attribute, void const *key, void const * /*reserved*/) noexcept {
            static_cast<Watch *>(subscriber->owner())->reaction(attribute, key);
        }
        Reaction reaction;
        Nuvio::Subscriber subscriber;
    };

    void watch(VlanSubIntfConfigLib::DovraCode::ConfigSm::LocalAttrStore::Entry const &entry) {
        if (entry.value()) {
            watch(entry.key(), *entry.value());
        }
        onChange(entry, [this, &entry](short /*attribute*/, void const *) {
            note("lagVlanStatus {} value {}", fmt::streamed(entry.key()),
                 addedOrRemoved(entry.value() != nullptr));
            if (entry.value()) {
                watch(entry.key(), *entry.value());
            }
        });
    }
    void watch(Iftel::IntfId lagId, VlanSubIntfStatusLib::VlanStatus const &status) {
        onChange(status, [this, lagId, &status](short /*attribute*/, void const *key) {
            auto const pair = *static_cast<VlanSubIntfStatusLib::VidIntf const *>(key);
            note("lagVlanStatus {} pair {} {}", fmt::streamed(lagId), fmt::streamed(pair),
                 addedOrRemoved(status.intfToVlanMap(pair)));
        });
    }
    void onChange(Qor::Entity const &entity, Watch::Reaction reaction) {
        entity.publisher().subscriberAdd(watches_.emplace_back(std::move(reaction)).subscriber,
                                         false);
    }
    template <class... Args>
    void note(fmt::format_string<Args const &...> format, Args const &...args) {
        lines_.push_back("* " + fmt::format(format, args...));
    }
    static char const *addedOrRemoved(bool present) { return present ? "added" : "removed"; }

    Nuvio::Ptr<Nuvio::Platform::DebugHandler> handler_;
    std::uint16_t formerMask_;
    std::vector<std::string> lines_;
    std::list<Watch> watches_;
};

} // namespace TestSupport
