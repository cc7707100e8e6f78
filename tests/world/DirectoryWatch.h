// Hears every notice of a directory, of its VLANs and of their entries, and says what is deleted.
#pragma once

#include "platform/VlanSubIntfConfigDir.h"

#include <map>
#include <memory>

namespace Histories {

class DirectoryWatch {
  public:
    /// Called inside the notices.
    class Listener {
      public:
        virtual ~Listener() = default;
        virtual void entryDeleted(Bridging::VlanId vlan, Iftel::IntfId intf) = 0;
        virtual void vlanDeleted(Bridging::VlanId vlan) = 0;
        virtual void memberDeleted(Bridging::VlanId vlan, Iftel::IntfId intf,
                                   Iftel::IntfId member) = 0;
        /// Any notice, after it was looked at.
        virtual void directoryNotice() = 0;
    };

    DirectoryWatch(Qor::Ptr<VlanSubIntfConfigLib::VlanSubIntfConfigDir> dir, Listener &listener);
    ~DirectoryWatch();
    /// Not copyable: publishers know its parts by their addresses.
    DirectoryWatch(DirectoryWatch const &) = delete;
    DirectoryWatch &operator=(DirectoryWatch const &) = delete;

  private:
    class VlanWatch;
    class EntryWatch;

    static void onChange(Nuvio::Publisher *, Nuvio::Subscriber *subscriber, short attribute,
                         void const *key, void const *) noexcept;
    void vlanChanged(Bridging::VlanId vlan);

    Qor::Ptr<VlanSubIntfConfigLib::VlanSubIntfConfigDir> dir_;
    Listener &listener_;
    std::map<Bridging::VlanId, std::unique_ptr<VlanWatch>> vlans_;
    Nuvio::Subscriber subscriber_;
};

} // namespace Histories
