#include "platform/Iftel/NameTable.h"

#include "platform/Nuvio/Assert.h"

#include <limits>

namespace Iftel {

NameTable &NameTable::instance() {
    static NameTable table;
    return table;
}

IntfId NameTable::intfIs(std::string_view name, IntfKind kind) {
    NUVIO_ASSERT(!name.empty() && kind != IntfKind::none, "name={}", name);
    auto const known = lookup(name);
    if (known && known->kind() == kind && !known->isSubIntf()) {
        return *known;
    }
    NUVIO_ASSERT(nextIntf_ < 2 * IntfId::firstRegisteredIntf, "interface numbers are used up");
    return bind(name, IntfId::intf(kind, nextIntf_++));
}

IntfId NameTable::subIntfIs(std::string_view name, IntfId parent) {
    NUVIO_ASSERT(!name.empty() && !parent.isSubIntf(), "name={}", name);
    auto const known = lookup(name);
    if (known && known->isSubIntf() && known->withoutSubIntf() == parent) {
        return *known;
    }
    NUVIO_ASSERT(nextSubIntf_ != std::numeric_limits<std::uint32_t>::max(),
                 "subinterface numbers are used up");
    return bind(name, IntfId::subIntf(parent, nextSubIntf_++));
}

std::optional<IntfId> NameTable::nativeIs(std::string_view name) {
    auto const id = IntfId::native(name);
    if (id && lookup(name).value_or(*id) != *id) {
        bind(name, *id);
    }
    return id;
}

IntfId NameTable::bind(std::string_view name, IntfId id) {
    ids_.insert_or_assign(std::string(name), id);
    names_.emplace(id, name);
    return id;
}

void NameTable::intfDel(IntfId id) {
    auto const named = names_.find(id);
    if (named == names_.end()) {
        return;
    }
    auto const led = ids_.find(named->second.view());
    if (led != ids_.end() && led->second == id) {
        ids_.erase(led);
    }
    names_.erase(named);
}

std::optional<IntfId> NameTable::lookup(std::string_view name) const {
    auto const found = ids_.find(name);
    return found == ids_.end() ? std::nullopt : std::optional(found->second);
}

Nuvio::String const *NameTable::nameOf(IntfId id) const {
    auto const found = names_.find(id);
    return found == names_.end() ? nullptr : &found->second;
}

std::vector<IntfId> NameTable::ids() const {
    std::vector<IntfId> all;
    all.reserve(names_.size());
    for (auto const &[id, name] : names_) {
        all.push_back(id);
    }
    return all;
}

void NameTable::resetForTest() {
    ids_.clear();
    names_.clear();
    nextIntf_ = IntfId::firstRegisteredIntf;
    nextSubIntf_ = IntfId::firstRegisteredSubIntf;
}

} // namespace Iftel
