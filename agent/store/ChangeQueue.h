// Changes that wait to be written, oldest first.
//
// Attributes that are set right behind an entry that came, or behind others of the same entry, are
// put into that change: so readers of a store seldom see an entry half made. Nothing else is
// merged.
#pragma once

#include "agent/service/DirectoryJournal.h"

#include <cstddef>
#include <deque>
#include <span>
#include <vector>

namespace Agent {

class ChangeQueue {
  public:
    void append(DirectoryChange const &change);

    /// The oldest changes, as many as stand together in memory; empty when there are none.
    [[nodiscard]] std::span<DirectoryChange const> front() const noexcept;
    /// Take changes off. Requires: front() has so many.
    void pop(std::size_t changes);
    void clear() noexcept;

    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    [[nodiscard]] bool empty() const noexcept { return size_ == 0; }

  private:
    static constexpr std::size_t chunkSize = 4096;

    std::deque<std::vector<DirectoryChange>> chunks_; ///< none is empty but for what was taken off
    std::size_t taken_ = 0;                           ///< of the first chunk
    std::size_t size_ = 0;
};

} // namespace Agent
