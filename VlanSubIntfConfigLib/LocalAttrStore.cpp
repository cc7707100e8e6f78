// The local attribute store: two creators that are idempotent, two removers that hand back what
// they took, and a notice for each real change.
#include "VlanSubIntfConfigLib/LocalAttrStore.h"

#include <utility>

namespace VlanSubIntfConfigLib::DovraCode::ConfigSm {

using Entry = LocalAttrStore::Entry;
using VlanSubIntfStatusLib::VlanStatus;

Entry::~LocalAttrIftelIntfIdVlanSubIntfStatusLibVlanStatusPtr() {
    valueDel();
}

Qor::Ptr<VlanStatus> Entry::valueDel() noexcept {
    auto old = std::exchange(value_, nullptr);
    if (old) {
        publishChange(valueAttribute);
    }
    return old;
}

LocalAttrStore::~LocalAttrStore() {
    lagVlanStatusDelAll();
}

Qor::Ptr<Entry> LocalAttrStore::lagVlanStatusDel(Iftel::IntfId lagId) noexcept {
    auto removed = memberDel(lagVlanStatus_, lagVlanStatusAttribute, lagId);
    return removed ? removed.take().value() : nullptr;
}

void LocalAttrStore::lagVlanStatusDelAll() noexcept {
    for (auto entry = lagVlanStatus_.iterator(); entry; entry.advance()) {
        lagVlanStatusDel(entry.key());
    }
}

} // namespace VlanSubIntfConfigLib::DovraCode::ConfigSm
