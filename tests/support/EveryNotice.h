// Hears every notice around a machine: of its inputs, its directory, its state objects, its store
// and its tasks. What appears below an entity that is heard is heard from then on.
//
// It holds no reference on anything; what goes is no longer heard. The reaction runs inside each
// notice and may take anything away but the listener itself, which can only leave().
//
//     EveryNotice notices([&](Qor::Entity const &entity, short attribute) { ... });
//     notices.hear(*bridging);
//     notices.hear(*machine);
//     notices.hearFirst(); // before the machine, on everything that there is now
#pragma once

#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"

#include <functional>
#include <list>
#include <utility>
#include <vector>

namespace TestSupport {

class EveryNotice {
  public:
    using Reaction = std::function<void(Qor::Entity const &entity, short attribute)>;
    using Machine = VlanSubIntfConfigLib::ConfigSm;

    explicit EveryNotice(Reaction reaction) : reaction_(std::move(reaction)) {}
    /// Not copyable: publishers know its parts by their addresses.
    EveryNotice(EveryNotice const &) = delete;
    EveryNotice &operator=(EveryNotice const &) = delete;

    void hear(Bridging::Config const &input) {
        add(input, [this, &input] { hearValues(input.vlanConfig()); });
    }
    void hear(Lag::LagPhyIntfMapping const &input) {
        add(input, [this, &input] { hearValues(input.lagPhyIntfConfig()); });
    }
    void hear(VlanSubIntfConfigLib::VlanSubIntfConfigDir const &dir) {
        add(dir, [this, &dir] { hearValues(dir.config()); });
    }
    void hear(Machine const &machine) {
        add(*machine.inputSmScanState());
        add(*machine.outputState());
        hear(*machine.localAttrStore());
        for (auto const &task : tasksOf(machine)) {
            if (task) {
                add(*task);
            }
        }
    }

    /// Be the first, or the last, on everything that is heard now. What comes up later is heard in
    /// the same order: before the machine by who was told of it first.
    void hearFirst() {
        for (Watch &watch : watches_) {
            if (auto *const publisher = watch.subscriber.publisher()) {
                std::vector<Nuvio::Subscriber *> const others = othersOn(*publisher);
                for (Nuvio::Subscriber *const other : others) {
                    publisher->subscriberRemove(*other);
                }
                for (Nuvio::Subscriber *const other : others) {
                    publisher->subscriberAdd(*other, false);
                }
            }
        }
    }
    void hearLast() {
        for (Watch &watch : watches_) {
            if (auto *const publisher = watch.subscriber.publisher()) {
                publisher->subscriberRemove(watch.subscriber);
                publisher->subscriberAdd(watch.subscriber, false);
            }
        }
    }

    /// Hear nothing any more. Allowed inside the reaction.
    void leave() {
        for (Watch &watch : watches_) {
            if (auto *const publisher = watch.subscriber.publisher()) {
                publisher->subscriberRemove(watch.subscriber);
            }
        }
    }

    /// Somebody else listens to something that is heard here.
    [[nodiscard]] bool othersListen() const {
        for (Watch const &watch : watches_) {
            if (watch.subscriber.publisher() && !othersOn(*watch.subscriber.publisher()).empty()) {
                return true;
            }
        }
        return false;
    }

    /// The machine's tasks: the scans of the LAGs and of the VLANs, then the walks over the members
    /// and over the entries. Null where it has none.
    [[nodiscard]] static std::vector<Qor::Ptr<Osk::Task>> tasksOf(Machine const &machine) {
        return {machine.lagPhyIntfConfigSm2()->task(), machine.vlanConfigSm0()->task(),
                machine.vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTask(),
                machine.vlanSubIntfConfigDirConfigIntfOutputReconciliationTask()};
    }

  private:
    /// One registration; dead when what it heard is gone.
    struct Watch {
        Watch(EveryNotice &whose, Qor::Entity const &what, std::function<void()> whatIsBelow)
            : listener(whose), entity(what), hearBelow(std::move(whatIsBelow)),
              subscriber(&EveryNotice::onNotice, this) {
            what.publisher().subscriberAdd(subscriber, false);
        }
        EveryNotice &listener;
        Qor::Entity const &entity;
        std::function<void()> hearBelow;
        Nuvio::Subscriber subscriber;
    };

    void hear(Bridging::VlanConfig const &vlan) { add(vlan); }
    void hear(Lag::LagPhyIntfConfig const &lag) { add(lag); }
    void hear(VlanSubIntfConfigLib::VlanSubIntfConfig const &config) {
        add(config, [this, &config] { hearValues(config.intf()); });
    }
    void hear(VlanSubIntfConfigLib::VlanSubIntf const &subIntf) { add(subIntf); }
    void hear(Machine::LocalAttrStore const &store) {
        add(store, [this, &store] { hearValues(store.lagVlanStatus()); });
    }
    void hear(Machine::LocalAttrStore::Entry const &entry) {
        add(entry, [this, &entry] {
            if (entry.value()) {
                add(*entry.value());
            }
        });
    }
    template <class Map> void hearValues(Map const &map) {
        for (auto const &entry : map) {
            hear(*entry.second);
        }
    }
    void add(
        Qor::Entity const &entity, std::function<void()> hearBelow = [] {}) {
        for (Watch const &watch : watches_) {
            if (watch.subscriber.publisher() == &entity.publisher()) {
                return;
            }
        }
        watches_.emplace_back(*this, entity, std::move(hearBelow)).hearBelow();
    }
    [[nodiscard]] static std::vector<Nuvio::Subscriber *>
    othersOn(Nuvio::Publisher const &publisher) {
        std::vector<Nuvio::Subscriber *> others;
        for (auto *subscriber = publisher.first(); subscriber; subscriber = subscriber->next()) {
            if (subscriber->callback() != &EveryNotice::onNotice) {
                others.push_back(subscriber);
            }
        }
        return others;
    }
    static void onNotice(Nuvio::Publisher * /*publisher*/, Nuvio::Subscriber *subscriber,
                         short attribute, void const * /*key*/,
                         void const * /*reserved*/) noexcept {
        auto &watch = *static_cast<Watch *>(subscriber->owner());
        watch.hearBelow();
        watch.listener.reaction_(watch.entity, attribute);
    }

    Reaction reaction_;
    std::list<Watch> watches_;
};

} // namespace TestSupport
