// The changes of the directory, one after the other, for those who keep or show them.
//
// The journal observes the directory, its VLANs and their entries, and hands every change to its
// readers inside the notice, in the order of the changes. A change carries its values; the names
// behind the identifiers are looked up by who needs them. An entry that comes is handed on with
// what its attributes are at that moment; attributes that are set right after follow as changes.
//
// An entry or VLAN that leaves and comes back gives its changes, however soon that is; when a VLAN
// goes, each of its entries goes.
//
// Not for readers that write: nothing may change inputs or directory inside a notice. It costs an
// observer of one cache line and a map's slot for each entry.
#pragma once

#include "platform/Nuvio/Publisher.h"
#include "platform/Qor/HashMap2018.h"
#include "platform/VlanSubIntfConfigDir.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Agent {

struct DirectoryChange {
    enum class Kind : std::uint8_t {
        entryIs,   ///< an entry came, without members; or its attributes changed
        entryDel,  ///< an entry went, with its members
        memberIs,  ///< a LAG member came to an entry
        memberDel, ///< a LAG member went
    };

    Iftel::IntfId intf;
    Iftel::IntfId member; ///< of memberIs and memberDel
    Bridging::VlanId vlan;
    Kind kind;
    // Of entryIs:
    bool isNew = false; ///< it came
    bool tagOnEgress = false;
    Bridging::AllowedTrafficDirection direction = Bridging::AllowedTrafficDirection::none;
};
static_assert(sizeof(DirectoryChange) <= 24, "queues of millions");

class DirectoryJournal {
  public:
    using Directory = VlanSubIntfConfigLib::VlanSubIntfConfigDir;

    class Reader {
      public:
        virtual void change(DirectoryChange const &change) noexcept = 0;

      protected:
        ~Reader() = default;
    };
    struct Counts {
        std::uint64_t changes = 0;
        std::uint64_t entries = 0; ///< in the directory now
    };

    /// Observe `directory`, with what is in it already; that is not handed to anybody.
    explicit DirectoryJournal(Qor::Ptr<Directory> directory);
    ~DirectoryJournal();
    /// Not copyable: its subscribers refer to it.
    DirectoryJournal(DirectoryJournal const &) = delete;
    DirectoryJournal &operator=(DirectoryJournal const &) = delete;

    /// `reader` hears every change from here on, until readerDel(). A reader may leave, and others
    /// may come, inside a change; those that come do not hear that one. Requires: it is none yet.
    void readerIs(Reader &reader);
    /// One that is no reader is left alone.
    void readerDel(Reader &reader) noexcept;

    [[nodiscard]] Counts const &counts() const noexcept { return counts_; }
    [[nodiscard]] Directory const &directory() const noexcept { return *directory_; }
    [[nodiscard]] Directory &directory() noexcept { return *directory_; }

  private:
    class VlanObserver;
    class EntryObserver;
    struct VlanIdOf {
        Bridging::VlanId operator()(std::unique_ptr<VlanObserver> const &observer) const noexcept;
    };
    struct IntfIdOf {
        Iftel::IntfId operator()(std::unique_ptr<EntryObserver> const &observer) const noexcept;
    };
    using VlanObservers =
        Qor::HashMap2018<Bridging::VlanId, std::unique_ptr<VlanObserver>, 0x5B1D0A37, VlanIdOf>;
    using EntryObservers =
        Qor::HashMap2018<Iftel::IntfId, std::unique_ptr<EntryObserver>, 0x1E94C7D2, IntfIdOf>;

    static void onChange(Nuvio::Publisher *publisher, Nuvio::Subscriber *subscriber,
                         short attributeId, void const *key, void const *reserved) noexcept;
    void vlanChanged(Bridging::VlanId vlan);
    void handOn(DirectoryChange const &change) noexcept;

    Qor::Ptr<Directory> directory_;
    VlanObservers vlans_;
    std::vector<Reader *> readers_; ///< null for one that left inside the change under way
    Counts counts_;
    std::uint32_t changesUnderWay_ = 0; ///< nested, where another observer writes inside a notice
    Nuvio::Subscriber subscriber_;      ///< last, so that nothing is heard while the rest goes
};

} // namespace Agent
