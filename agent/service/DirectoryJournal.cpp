#include "agent/service/DirectoryJournal.h"

#include "platform/Nuvio/Assert.h"
#include "platform/Qor/Pool.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace Agent {

using Bridging::VlanId;
using Iftel::IntfId;
using VlanSubIntfConfigLib::VlanSubIntf;
using VlanSubIntfConfigLib::VlanSubIntfConfig;
using VlanSubIntfConfigLib::VlanSubIntfConfigDir;
using Kind = DirectoryChange::Kind;

/// Hears one VLAN. Its entries are compared with what it observes by their identity: a notice of
/// another observer's making may come before the one that it was made in.
class DirectoryJournal::VlanObserver final : public Qor::PoolAllocated<VlanObserver> {
  public:
    static constexpr std::string_view qorTypeName = "Agent::DirectoryJournal::VlanObserver";

    VlanObserver(DirectoryJournal &journal, Qor::Ptr<VlanSubIntfConfig> config);

    [[nodiscard]] VlanId vlanId() const noexcept { return config_->vlanId(); }
    [[nodiscard]] VlanSubIntfConfig const &config() const noexcept { return *config_; }
    /// Observe the entry of that identifier, if there is one. Requires: it is not observed.
    EntryObserver *observe(IntfId intf);
    /// Hand on all that is in it, as if it came.
    void handOnEntries() const;
    /// The VLAN went, and what is in it went with it.
    void handOnDeletions() const;
    void handOn(DirectoryChange const &change) const noexcept { journal_.handOn(change); }

  private:
    static void onChange(Nuvio::Publisher *publisher, Nuvio::Subscriber *subscriber,
                         short attributeId, void const *key, void const *reserved) noexcept;
    void entryChanged(IntfId intf);
    void handOnDeletion(IntfId intf) const;

    DirectoryJournal &journal_;
    Qor::Ptr<VlanSubIntfConfig> config_;
    EntryObservers entries_;
    Nuvio::Subscriber subscriber_;
};

/// Hears one entry.
class DirectoryJournal::EntryObserver final : public Qor::PoolAllocated<EntryObserver> {
  public:
    static constexpr std::string_view qorTypeName = "Agent::DirectoryJournal::EntryObserver";

    EntryObserver(VlanObserver const &vlan, Qor::Ptr<VlanSubIntf> entry)
        : vlan_(vlan), entry_(std::move(entry)), subscriber_(onChange, this) {
        entry_->publisher().subscriberAdd(subscriber_, false);
    }

    [[nodiscard]] IntfId intfId() const noexcept { return entry_->intfId(); }
    [[nodiscard]] VlanSubIntf const *entry() const noexcept { return entry_.get(); }
    /// Hand the entry on as one that came, with its members.
    void handOnNew() const;

  private:
    static void onChange(Nuvio::Publisher *publisher, Nuvio::Subscriber *subscriber,
                         short attributeId, void const *key, void const *reserved) noexcept;
    void handOnAttributes(bool isNew) const;
    void handOnMember(Kind kind, IntfId member) const;

    VlanObserver const &vlan_;
    Qor::Ptr<VlanSubIntf> entry_;
    Nuvio::Subscriber subscriber_;
    static_assert(sizeof(Nuvio::Subscriber) + 2 * sizeof(void *) <= 64, "one cache line");
};

// Entries.

void DirectoryJournal::EntryObserver::onChange(Nuvio::Publisher * /*publisher*/,
                                               Nuvio::Subscriber *subscriber, short attributeId,
                                               void const *key,
                                               void const * /*reserved*/) noexcept {
    auto const &self = *static_cast<EntryObserver const *>(subscriber->owner());
    if (attributeId == VlanSubIntf::lagPhyIntfAttribute) {
        IntfId const member = *static_cast<IntfId const *>(key);
        self.handOnMember(self.entry_->lagPhyIntf(member) ? Kind::memberIs : Kind::memberDel,
                          member);
    } else {
        self.handOnAttributes(false);
    }
}

void DirectoryJournal::EntryObserver::handOnNew() const {
    handOnAttributes(true);
    for (IntfId const member : entry_->lagPhyIntf()) {
        handOnMember(Kind::memberIs, member);
    }
}

void DirectoryJournal::EntryObserver::handOnAttributes(bool isNew) const {
    vlan_.handOn({.intf = entry_->intfId(),
                  .member = {},
                  .vlan = vlan_.vlanId(),
                  .kind = Kind::entryIs,
                  .isNew = isNew,
                  .tagOnEgress = entry_->tagOnEgress(),
                  .direction = entry_->allowedTrafficDirection()});
}

void DirectoryJournal::EntryObserver::handOnMember(Kind kind, IntfId member) const {
    vlan_.handOn(
        {.intf = entry_->intfId(), .member = member, .vlan = vlan_.vlanId(), .kind = kind});
}

// VLANs.

DirectoryJournal::VlanObserver::VlanObserver(DirectoryJournal &journal,
                                             Qor::Ptr<VlanSubIntfConfig> config)
    : journal_(journal), config_(std::move(config)), subscriber_(onChange, this) {
    entries_.reserve(config_->intf().size());
    for (auto const &[intf, entry] : config_->intf()) {
        observe(intf);
    }
    config_->publisher().subscriberAdd(subscriber_, false);
}

void DirectoryJournal::VlanObserver::onChange(Nuvio::Publisher * /*publisher*/,
                                              Nuvio::Subscriber *subscriber, short attributeId,
                                              void const *key, void const * /*reserved*/) noexcept {
    NUVIO_ASSERT(attributeId == VlanSubIntfConfig::intfAttribute, "attribute={}", attributeId);
    static_cast<VlanObserver *>(subscriber->owner())
        ->entryChanged(*static_cast<IntfId const *>(key));
}

auto DirectoryJournal::VlanObserver::observe(IntfId intf) -> EntryObserver * {
    auto const entry = config_->intf(intf);
    if (!entry) {
        return nullptr;
    }
    ++journal_.counts_.entries;
    return entries_.newMemberG({std::make_unique<EntryObserver>(*this, *entry)})
        .first->value()
        .get();
}

void DirectoryJournal::VlanObserver::entryChanged(IntfId intf) {
    auto const *const known = entries_.lookupNodeG(intf);
    auto const *const current = config_->intf().lookupNodeG(intf);
    if (known && current && known->value()->entry() == current->value().get()) {
        return;
    }
    if (entries_.deleteMemberG(intf)) {
        handOnDeletion(intf);
    }
    if (auto const *const observer = observe(intf)) {
        observer->handOnNew();
    }
}

void DirectoryJournal::VlanObserver::handOnEntries() const {
    for (auto const &[intf, observer] : entries_) {
        observer->handOnNew();
    }
}

void DirectoryJournal::VlanObserver::handOnDeletions() const {
    for (auto const &[intf, observer] : entries_) {
        handOnDeletion(intf);
    }
}

void DirectoryJournal::VlanObserver::handOnDeletion(IntfId intf) const {
    --journal_.counts_.entries;
    handOn({.intf = intf, .member = {}, .vlan = vlanId(), .kind = Kind::entryDel});
}

// The directory.

VlanId DirectoryJournal::VlanIdOf::operator()(
    std::unique_ptr<VlanObserver> const &observer) const noexcept {
    return observer->vlanId();
}

IntfId DirectoryJournal::IntfIdOf::operator()(
    std::unique_ptr<EntryObserver> const &observer) const noexcept {
    return observer->intfId();
}

DirectoryJournal::DirectoryJournal(Qor::Ptr<Directory> directory)
    : directory_(std::move(directory)), subscriber_(onChange, this) {
    for (auto const &[vlan, config] : directory_->config()) {
        vlans_.newMemberG({std::make_unique<VlanObserver>(*this, config)});
    }
    directory_->publisher().subscriberAdd(subscriber_, false);
}

DirectoryJournal::~DirectoryJournal() = default;

void DirectoryJournal::readerIs(Reader &reader) {
    NUVIO_ASSERT(std::ranges::find(readers_, &reader) == readers_.end());
    readers_.push_back(&reader);
}

void DirectoryJournal::readerDel(Reader &reader) noexcept {
    if (changesUnderWay_ != 0) {
        std::ranges::replace(readers_, &reader, nullptr);
    } else {
        std::erase(readers_, &reader);
    }
}

void DirectoryJournal::onChange(Nuvio::Publisher * /*publisher*/, Nuvio::Subscriber *subscriber,
                                short attributeId, void const *key,
                                void const * /*reserved*/) noexcept {
    NUVIO_ASSERT(attributeId == VlanSubIntfConfigDir::configAttribute, "attribute={}", attributeId);
    static_cast<DirectoryJournal *>(subscriber->owner())
        ->vlanChanged(*static_cast<VlanId const *>(key));
}

void DirectoryJournal::vlanChanged(VlanId vlan) {
    auto const *const known = vlans_.lookupNodeG(vlan);
    auto const *const current = directory_->config().lookupNodeG(vlan);
    if (known && current && &known->value()->config() == current->value().get()) {
        return;
    }
    if (auto const gone = vlans_.deleteMemberG(vlan)) {
        gone->value()->handOnDeletions();
    }
    if (current) {
        vlans_.newMemberG({std::make_unique<VlanObserver>(*this, current->value())})
            .first->value()
            ->handOnEntries();
    }
}

void DirectoryJournal::handOn(DirectoryChange const &change) noexcept {
    ++counts_.changes;
    ++changesUnderWay_;
    auto const present = readers_.size();
    for (std::size_t i = 0; i < present; ++i) {
        if (Reader *const reader = readers_[i]) {
            reader->change(change);
        }
    }
    if (--changesUnderWay_ == 0) {
        std::erase(readers_, nullptr);
    }
}

} // namespace Agent
