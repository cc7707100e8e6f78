#include "agent/store/ChangeQueue.h"

#include "platform/Nuvio/Assert.h"

namespace Agent {
namespace {

bool isAttributeChangeOf(DirectoryChange const &change, DirectoryChange const &last) noexcept {
    return change.kind == DirectoryChange::Kind::entryIs && !change.isNew &&
           last.kind == DirectoryChange::Kind::entryIs && change.vlan == last.vlan &&
           change.intf == last.intf;
}

} // namespace

void ChangeQueue::append(DirectoryChange const &change) {
    if (!empty()) {
        DirectoryChange &last = chunks_.back().back();
        if (isAttributeChangeOf(change, last)) {
            last.tagOnEgress = change.tagOnEgress;
            last.direction = change.direction;
            return;
        }
    }
    if (chunks_.empty() || chunks_.back().size() == chunkSize) {
        chunks_.emplace_back();
    }
    chunks_.back().push_back(change);
    ++size_;
}

std::span<DirectoryChange const> ChangeQueue::front() const noexcept {
    return chunks_.empty() ? std::span<DirectoryChange const>()
                           : std::span(chunks_.front()).subspan(taken_);
}

void ChangeQueue::pop(std::size_t changes) {
    NUVIO_ASSERT(changes <= front().size(), "changes={}", changes);
    taken_ += changes;
    size_ -= changes;
    if (!chunks_.empty() && taken_ == chunks_.front().size()) {
        chunks_.pop_front();
        taken_ = 0;
    }
}

void ChangeQueue::clear() noexcept {
    chunks_.clear();
    taken_ = 0;
    size_ = 0;
}

} // namespace Agent
