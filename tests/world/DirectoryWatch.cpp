#include "tests/world/DirectoryWatch.h"

#include <utility>

namespace Histories {

using VlanSubIntfConfigLib::VlanSubIntf;
using VlanSubIntfConfigLib::VlanSubIntfConfig;
using VlanSubIntfConfigLib::VlanSubIntfConfigDir;

/// Of one entry.
class DirectoryWatch::EntryWatch {
  public:
    EntryWatch(Bridging::VlanId vlan, Qor::Ptr<VlanSubIntf> entry, Listener &listener)
        : vlan_(vlan), entry_(std::move(entry)), listener_(listener), subscriber_(onChange, this) {
        entry_->publisher().subscriberAdd(subscriber_, false);
    }
    EntryWatch(EntryWatch const &) = delete;
    EntryWatch &operator=(EntryWatch const &) = delete;

  private:
    static void onChange(Nuvio::Publisher * /*publisher*/, Nuvio::Subscriber *subscriber,
                         short attribute, void const *key, void const * /*reserved*/) noexcept {
        auto const &self = *static_cast<EntryWatch *>(subscriber->owner());
        if (attribute == VlanSubIntf::lagPhyIntfAttribute) {
            auto const member = *static_cast<Iftel::IntfId const *>(key);
            if (!self.entry_->lagPhyIntf(member)) {
                self.listener_.memberDeleted(self.vlan_, self.entry_->intfId(), member);
            }
        }
        self.listener_.directoryNotice();
    }

    Bridging::VlanId vlan_;
    Qor::Ptr<VlanSubIntf> entry_;
    Listener &listener_;
    Nuvio::Subscriber subscriber_;
};

/// Of one VLAN and its entries.
class DirectoryWatch::VlanWatch {
  public:
    VlanWatch(Qor::Ptr<VlanSubIntfConfig> config, Listener &listener)
        : config_(std::move(config)), listener_(listener), subscriber_(onChange, this) {
        config_->publisher().subscriberAdd(subscriber_, false);
        for (auto const &[intf, entry] : config_->intf()) {
            intfChanged(intf);
        }
    }
    VlanWatch(VlanWatch const &) = delete;
    VlanWatch &operator=(VlanWatch const &) = delete;

    /// The VLAN went: what is still in it went with it.
    void vlanDeleted() {
        for (auto const &[intf, entry] : entries_) {
            listener_.entryDeleted(config_->vlanId(), intf);
        }
    }

  private:
    static void onChange(Nuvio::Publisher * /*publisher*/, Nuvio::Subscriber *subscriber,
                         short attribute, void const *key, void const * /*reserved*/) noexcept {
        auto &self = *static_cast<VlanWatch *>(subscriber->owner());
        if (attribute == VlanSubIntfConfig::intfAttribute) {
            self.intfChanged(*static_cast<Iftel::IntfId const *>(key));
        }
        self.listener_.directoryNotice();
    }
    void intfChanged(Iftel::IntfId intf) {
        auto const entry = config_->intf(intf);
        if (!entry) {
            entries_.erase(intf);
            listener_.entryDeleted(config_->vlanId(), intf);
        } else if (!entries_.contains(intf)) {
            entries_[intf] = std::make_unique<EntryWatch>(config_->vlanId(), *entry, listener_);
        }
    }

    Qor::Ptr<VlanSubIntfConfig> config_;
    Listener &listener_;
    std::map<Iftel::IntfId, std::unique_ptr<EntryWatch>> entries_;
    Nuvio::Subscriber subscriber_;
};

DirectoryWatch::DirectoryWatch(Qor::Ptr<VlanSubIntfConfigDir> dir, Listener &listener)
    : dir_(std::move(dir)), listener_(listener), subscriber_(onChange, this) {
    dir_->publisher().subscriberAdd(subscriber_, false);
    for (auto const &[vlan, config] : dir_->config()) {
        vlanChanged(vlan);
    }
}

DirectoryWatch::~DirectoryWatch() = default;

void DirectoryWatch::onChange(Nuvio::Publisher * /*publisher*/, Nuvio::Subscriber *subscriber,
                              short attribute, void const *key,
                              void const * /*reserved*/) noexcept {
    auto &self = *static_cast<DirectoryWatch *>(subscriber->owner());
    if (attribute == VlanSubIntfConfigDir::configAttribute) {
        self.vlanChanged(*static_cast<Bridging::VlanId const *>(key));
    }
    self.listener_.directoryNotice();
}

void DirectoryWatch::vlanChanged(Bridging::VlanId vlan) {
    auto const config = dir_->config(vlan);
    if (config && !vlans_.contains(vlan)) {
        vlans_[vlan] = std::make_unique<VlanWatch>(*config, listener_);
    } else if (!config && vlans_.contains(vlan)) {
        vlans_[vlan]->vlanDeleted();
        vlans_.erase(vlan);
        listener_.vlanDeleted(vlan);
    }
}

} // namespace Histories
