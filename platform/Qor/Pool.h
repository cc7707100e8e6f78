// Pool allocator, and the tracking of what is allocated per type.
//
// Pool hands out blocks by size and keeps what comes back in one free list per size class: 16 bytes
// apart up to Pool::maxPooled, eight classes a doubling from there to Pool::maxKept; a larger block
// comes from malloc. Memory that was cut into blocks is never given back, so what one burst
// needed is there for the next. Under AddressSanitizer the pool steps aside, so that use after free
// is found. Nothing is locked unless VFPtrInterface::threadSafePointers_ is on: a last release may
// then happen on any thread.
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
#include "platform/Qor/PtrInterface.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

namespace Qor {

class NUVIO_EXPORT Pool {
  public:
    /// Largest block that is cut from a slab of its size, in bytes.
    static constexpr std::size_t maxPooled = 512;
    /// Largest block that is kept for the next of its size when it is released, in bytes.
    static constexpr std::size_t maxKept = std::size_t{32} * 1024;

    /// A block of at least `size` bytes, aligned for any type; one of a whole number of cache lines
    /// up to maxPooled starts at one. Throws std::bad_alloc.
    [[nodiscard]] static void *allocate(std::size_t size) {
        if (size <= maxPooled && isPlain()) [[likely]] {
            if (FreeBlocks &freed = small_[smallClassOf(size)].freed; !freed.empty()) [[likely]] {
                return freed.take();
            }
        }
        return allocateAnyhow(size);
    }
    /// A block of zeros. A large one comes untouched from the system: its pages are not there until
    /// they are written. Throws std::bad_alloc.
    [[nodiscard]] static void *allocateZeroed(std::size_t size);
    /// Give back a block; `size` is what it was allocated with.
    static void release(void *block, std::size_t size) noexcept {
        if (size <= maxPooled && isPlain()) [[likely]] {
            small_[smallClassOf(size)].freed.give(block);
            return;
        }
        releaseAnyhow(block, size);
    }

    /// Let the allocation after the next `count` ones throw std::bad_alloc, once; a negative count
    /// switches it off.
    static void failAfterForTest(std::int64_t count) noexcept;

  private:
    static constexpr std::size_t granule = 16;
    /// Blocks of one size that came back; each holds the pointer to the next.
    class FreeBlocks {
      public:
        [[nodiscard]] bool empty() const noexcept { return first_ == nullptr; }
        void give(void *block) noexcept { first_ = new (block) Block{first_}; }
        /// Requires: not empty().
        [[nodiscard]] void *take() noexcept { return std::exchange(first_, first_->next); }

      private:
        struct Block {
            Block *next;
        };
        Block *first_ = nullptr;
    };
    /// What the newest piece of memory has left, of those that are cut into blocks.
    class Slab {
      public:
        [[nodiscard]] void *cut(std::size_t bytes);

      private:
        std::byte *fresh_ = nullptr;
        std::byte *end_ = nullptr;
    };
    struct SizeClass {
        FreeBlocks freed;
        Slab slab;
    };

    // Blocks above maxPooled: eight classes a doubling.
    static constexpr std::size_t stepsPerDoubling = 8;
    struct KeptClass {
        std::size_t index;
        std::size_t blockBytes;
    };
    static constexpr KeptClass keptClassOf(std::size_t size) noexcept {
        constexpr unsigned firstDoubling = std::bit_width(maxPooled) - 1;
        unsigned const doubling = static_cast<unsigned>(std::bit_width(size - 1)) - 1;
        std::size_t const step = (std::size_t{1} << doubling) / stepsPerDoubling;
        std::size_t const steps = (size - 1) / step + 1; // 9 to 16
        return {(doubling - firstDoubling) * stepsPerDoubling + steps - stepsPerDoubling - 1,
                steps * step};
    }
    static constexpr std::size_t keptClasses = 48; ///< of the six doublings up to maxKept
    static constexpr std::size_t smallClassOf(std::size_t size) noexcept {
        return (std::max<std::size_t>(size, 1) - 1) / granule;
    }
    static bool isPlain() noexcept { return isPlain_ && !VFPtrInterface::threadSafePointers_; }
    static void failIfAsked();
    [[nodiscard]] static void *allocateAnyhow(std::size_t size);
    static void releaseAnyhow(void *block, std::size_t size) noexcept;

    static std::array<SizeClass, maxPooled / granule> small_;
    static std::array<FreeBlocks, keptClasses> kept_;
    static Slab keptSlab_; ///< for all sizes above maxPooled
    static bool isPlain_;  ///< it pools, and no failure is asked for
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

/// Every tracked type, by name. What the Reclaimer still has is taken apart first.
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
    void track(std::uint64_t &count, std::size_t bytes) noexcept {
        if (VFPtrInterface::threadSafePointers_) [[unlikely]] {
            trackLocked(count, bytes);
        } else {
            counted(count, bytes);
        }
    }
    void untrack(std::uint64_t &count, std::size_t bytes) noexcept {
        if (VFPtrInterface::threadSafePointers_) [[unlikely]] {
            untrackLocked(count, bytes);
        } else {
            uncounted(count, bytes);
        }
    }
    void counted(std::uint64_t &count, std::size_t bytes) noexcept {
        ++count;
        bytes_ += bytes;
        peakBytes_ = std::max(peakBytes_, bytes_);
    }
    void uncounted(std::uint64_t &count, std::size_t bytes) noexcept {
        NUVIO_DEBUG_ASSERT(count > 0 && bytes_ >= bytes, "type={}", name_);
        --count;
        bytes_ -= bytes;
    }
    void trackLocked(std::uint64_t &count, std::size_t bytes) noexcept;
    void untrackLocked(std::uint64_t &count, std::size_t bytes) noexcept;
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
