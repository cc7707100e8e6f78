// Pool allocator, and the tracking of what is allocated per type.
//
// Pool hands out blocks by size: classes of 16 bytes up to Pool::maxPooled, cut from slabs and kept
// in free lists; a larger block comes from operator new. A slab is never given back, so memory that
// one burst needed is there for the next. Under AddressSanitizer the pool steps aside, so that use
// after free is found. Nothing is locked unless VFPtrInterface::threadSafePointers_ is on: a last
// release may then happen on any thread.
//
// Each type derives from PoolAllocated<itself> and has a `qorTypeName`; its objects are then pooled
// and counted in an AllocTrackTypeInfo. census() lists them all: a test asserts that it returns to
// its baseline, a host looks there for a leak.
//
//     class Config final : public Qor::InputEntity, public Qor::PoolAllocated<Config> {
//       public:
//         static constexpr std::string_view qorTypeName = "Bridging::Config";
#pragma once

#include "platform/Nuvio/Export.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace Qor {

class NUVIO_EXPORT Pool {
  public:
    /// Largest block that comes from a slab, in bytes.
    static constexpr std::size_t maxPooled = 512;

    /// A block of at least `size` bytes, aligned for any type. Throws std::bad_alloc.
    [[nodiscard]] static void *allocate(std::size_t size);
    /// Give back a block; `size` is what it was allocated with.
    static void release(void *block, std::size_t size) noexcept;

    /// Let the allocation after the next `count` ones throw std::bad_alloc, once; a negative count
    /// switches it off.
    static void failAfterForTest(std::int64_t count) noexcept;
};

/// One line of the census.
struct CensusLine {
    std::string_view type;
    std::uint64_t objects;   ///< live single objects
    std::uint64_t arrays;    ///< live arrays (the tables of collections)
    std::uint64_t bytes;     ///< live bytes of both
    std::uint64_t peakBytes; ///< most bytes that were live at once

    friend bool operator==(CensusLine const &, CensusLine const &) = default;
};

/// Every tracked type, by name.
NUVIO_EXPORT std::vector<CensusLine> census();

/// Counts of one type. Instances have static storage and list themselves in the census.
class NUVIO_EXPORT AllocTrackTypeInfo {
  public:
    explicit AllocTrackTypeInfo(std::string_view typeName);
    AllocTrackTypeInfo(AllocTrackTypeInfo const &) = delete;
    AllocTrackTypeInfo &operator=(AllocTrackTypeInfo const &) = delete;

    void trackObject(std::size_t bytes) noexcept { track(objects_, bytes); }
    void untrackObject(std::size_t bytes) noexcept { untrack(objects_, bytes); }
    void trackArray(std::size_t bytes) noexcept { track(arrays_, bytes); }
    void untrackArray(std::size_t bytes) noexcept { untrack(arrays_, bytes); }

    [[nodiscard]] std::string_view name() const noexcept { return name_; }
    [[nodiscard]] std::uint64_t objects() const noexcept { return read(objects_); }
    [[nodiscard]] std::uint64_t arrays() const noexcept { return read(arrays_); }
    [[nodiscard]] std::uint64_t bytes() const noexcept { return read(bytes_); }
    [[nodiscard]] std::uint64_t peakBytes() const noexcept { return read(peakBytes_); }

  private:
    friend std::vector<CensusLine> census();
    void track(std::uint64_t &count, std::size_t bytes) noexcept;
    void untrack(std::uint64_t &count, std::size_t bytes) noexcept;
    [[nodiscard]] static std::uint64_t read(std::uint64_t const &count) noexcept;

    std::string_view name_;
    std::uint64_t objects_ = 0;
    std::uint64_t arrays_ = 0;
    std::uint64_t bytes_ = 0;
    std::uint64_t peakBytes_ = 0;
};

/// Gives T its operator new and delete: pooled, and tracked under T::qorTypeName.
template <class T> class NUVIO_EXPORT PoolAllocated {
  public:
    static void *operator new(std::size_t size) {
        AllocTrackTypeInfo &tracked = info(); // first: making it may throw, and no block is lost
        void *const block = Pool::allocate(size);
        tracked.trackObject(size);
        return block;
    }
    static void operator delete(void *block, std::size_t size) noexcept {
        info().untrackObject(size);
        Pool::release(block, size);
    }

  private:
    static AllocTrackTypeInfo &info() {
        static AllocTrackTypeInfo tracked(T::qorTypeName);
        return tracked;
    }
};

} // namespace Qor
