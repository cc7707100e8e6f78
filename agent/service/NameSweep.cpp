#include "agent/service/NameSweep.h"

#include "platform/Iftel.h"

#include <utility>

namespace Agent {

NameSweep::NameSweep(Loop &loop, Inputs const &inputs, DirectoryJournal &journal,
                     std::function<bool()> busy, std::chrono::milliseconds delay)
    : inputs_(inputs), journal_(journal), busy_(std::move(busy)), delay_(delay),
      timer_(loop, "release of names", [this] { sweepNow(); }),
      worker_(loop.scheduler(), Osk::TaskPriority::background, "release of names",
              [this](Osk::Task const &task) { return sweep(task); }) {
    journal_.readerIs(*this);
}

NameSweep::~NameSweep() {
    journal_.readerDel(*this);
}

void NameSweep::request() {
    if (walk_) {
        again_ = true;
    } else if (!timer_.running()) {
        timer_.startAfter(delay_);
    }
}

void NameSweep::change(DirectoryChange const &change) noexcept {
    if (change.kind == DirectoryChange::Kind::entryDel ||
        change.kind == DirectoryChange::Kind::memberDel) {
        request();
    } else if (walk_) {
        mark(change.intf);
        mark(change.member);
    }
}

Worker::More NameSweep::sweep(Osk::Task const &task) {
    if (!walk_) {
        walk_.emplace(inputs_, journal_.directory());
    }
    bool const isOver =
        walk_->step(task, [this](Bridging::VlanId vlan, Iftel::IntfId intf) { mark(vlan, intf); });
    if (!isOver) {
        return Worker::More::yes;
    }
    walk_.reset();
    markLags();
    bool const isBusy = busy_();
    if (!isBusy) {
        release();
    }
    used_.clear();
    if (std::exchange(again_, false) || isBusy) {
        request();
    }
    return Worker::More::no;
}

void NameSweep::mark(Bridging::VlanId vlan, Iftel::IntfId intf) {
    mark(intf);
    auto const config = journal_.directory().config(vlan);
    auto const entry = config ? (*config)->intf(intf) : std::nullopt;
    if (entry) {
        for (Iftel::IntfId const member : (*entry)->lagPhyIntf()) {
            mark(member);
        }
    }
}

void NameSweep::mark(Iftel::IntfId intf) {
    used_.insert(intf.bits());
    used_.insert(Iftel::SubIntfId::parentIntfId(intf).bits());
}

void NameSweep::markLags() {
    for (auto const &[lag, config] : inputs_.lagPhyIntfMapping->lagPhyIntfConfig()) {
        mark(lag);
        for (auto const &[member, memberConfig] : config->phyIntf()) {
            mark(member);
        }
    }
}

void NameSweep::release() {
    auto &table = Iftel::NameTable::instance();
    for (Iftel::IntfId const id : table.ids()) {
        if (!used_.contains(id.bits()) && !source_->uses(id)) {
            table.intfDel(id);
            ++released_;
        }
    }
}

} // namespace Agent
