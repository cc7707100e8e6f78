// What is counted instead of time: notices of the directory, items and runs of tasks, live bytes.
#pragma once

#include "platform/Osk/Share.h"
#include "platform/VlanSubIntfConfigDir.h"

#include <cstdint>
#include <deque>

namespace Hostile {

/// Hears every notice of a directory, of its VLANs and of its subinterfaces, those to come
/// included.
class Notices {
  public:
    explicit Notices(VlanSubIntfConfigLib::VlanSubIntfConfigDir &itsDir);
    Notices(Notices const &) = delete;
    Notices &operator=(Notices const &) = delete;

    /// Notices since the last call.
    std::uint64_t take() noexcept;
    [[nodiscard]] std::uint64_t count() const noexcept { return count_; }

  private:
    using Config = VlanSubIntfConfigLib::VlanSubIntfConfig;
    template <class Owner> struct Listener {
        Listener(Nuvio::Subscriber::Callback callback, Notices &notices, Owner &itsEntity) noexcept
            : all(notices), entity(itsEntity), subscriber(callback, this) {
            entity.publisher().subscriberAdd(subscriber, false);
        }
        Notices &all;
        Owner &entity;
        Nuvio::Subscriber subscriber;
    };

    static void onDir(Nuvio::Publisher *, Nuvio::Subscriber *subscriber, short, void const *key,
                      void const *) noexcept;
    static void onConfig(Nuvio::Publisher *, Nuvio::Subscriber *subscriber, short, void const *key,
                         void const *) noexcept;
    static void onSubIntf(Nuvio::Publisher *, Nuvio::Subscriber *subscriber, short, void const *,
                          void const *) noexcept;
    void listenTo(Config &config);
    void listenTo(VlanSubIntfConfigLib::VlanSubIntf &subIntf);

    std::uint64_t count_ = 0;
    std::uint64_t taken_ = 0;
    // A listener whose entity is gone stays here, registered nowhere.
    std::deque<Nuvio::Subscriber> subIntfs_;
    std::deque<Listener<Config>> configs_;
    Listener<VlanSubIntfConfigLib::VlanSubIntfConfigDir> dir_;
};

/// What runs of tasks did under a RecordingShare.
struct Runs {
    std::uint64_t runs = 0;
    std::uint64_t items = 0;       ///< tests whether to yield: one behind each item
    std::uint64_t longest = 0;     ///< items of one run
    std::uint64_t mostNotices = 0; ///< of one run
    std::uint64_t mostBytes = 0;   ///< live when a run began
};

/// A share of a number of items that keeps a record. `notices` and `record` must outlive it.
class RecordingShare final : public Osk::Share {
  public:
    RecordingShare(std::uint64_t itemsPerRun, Notices const &notices, Runs &record) noexcept
        : limit_(itemsPerRun), notices_(notices), record_(record),
          noticesAtBegin_(notices.count()) {}
    void runBegins() noexcept override;
    bool isUsed() noexcept override;
    /// Account the run that ended last.
    void runEnded() noexcept;

  private:
    std::uint64_t limit_;
    Notices const &notices_;
    Runs &record_;
    std::uint64_t noticesAtBegin_;
    std::uint64_t items_ = 0;
};

/// Bytes that all tracked types have alive.
std::uint64_t liveBytes();

} // namespace Hostile
