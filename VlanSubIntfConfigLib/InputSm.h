// The input state machines: two generated pairs of one scheme.
//
//     root ConfigSm
//       |- VlanConfigSm0        scans and watches bridgingConfig.vlanConfig
//       |    '- IntfSm1         one per VLAN: scans and watches its intf
//       '- LagPhyIntfConfigSm2  scans and watches lagPhyIntfMapping.lagPhyIntfConfig
//            '- PhyIntfSm3      one per LAG: scans and watches its phyIntf
//
// A parent keeps one child per element of its collection; each member of an element becomes one
// event on the root, again and again: in the first scan (which the root's pipelines ignore), in the
// second, and on every change. A scan runs in slices on the parent's task; a child has no task and
// is scanned by its parent.
//
// The scheme is InputParentSm and InputChildSm over a Stream, which says what differs: entity
// types, names, numbers, and the event. The four generated names are the instantiations.
//
// Ownership: the root owns the parents, a parent its children; both hold references on their inputs
// and plain pointers upwards. Who removes a machine below it clears that machine's pointer; without
// it a machine does nothing and emits nothing. Every entry from outside (a notice, a run of the
// task) holds the root until it returns.
//
// Errors: a null input at scan time and a missed notice are assertions; see childSmIs() for the
// typed exceptions.
#pragma once

#include "VlanSubIntfConfigLib/TaskSlot.h"
#include "VlanSubIntfConfigLib/Types.h"
#include "platform/Bridging.h"
#include "platform/Lag.h"
#include "platform/Nuvio/DebugHandler.h"
#include "platform/Qor/Attribute.h"
#include "platform/Qor/HashMap2018.h"
#include "platform/Qor/Pool.h"
#include "platform/Quam/InputStateMachine.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace VlanSubIntfConfigLib {

class ConfigSm;

namespace DovraCode::ConfigSm {

using Root = VlanSubIntfConfigLib::ConfigSm;
class InputSmScanState;
template <class Stream> class InputParentSm;

/// What the VLAN pair is about.
struct VlanStream {
    using ParentEn = Bridging::Config;
    using ChildEn = Bridging::VlanConfig;
    using Key = Bridging::VlanId;                          ///< of an element
    using MemberKey = Iftel::IntfId;                       ///< of a member of an element
    using Value = Qor::Optional<Bridging::VlanPortConfig>; ///< empty: the member is gone

    static constexpr std::string_view parentName = "VlanConfigSm0";
    static constexpr std::string_view parentNameInitial = "VlanConfigSm0 initial";
    static constexpr std::string_view childName = "IntfSm1";
    static constexpr std::string_view childNameInitial = "IntfSm1 initial";
    static constexpr std::string_view parentTypeName =
        "VlanSubIntfConfigLib::DovraCode::ConfigSm::VlanConfigSm0";
    static constexpr std::string_view childTypeName =
        "VlanSubIntfConfigLib::DovraCode::ConfigSm::IntfSm1";
    static constexpr std::string_view handleElement = "handleVlanConfig";
    static constexpr std::string_view handleElementReactor = "handleVlanConfigReactor";
    static constexpr std::string_view handleMember = "handleIntf";
    static constexpr std::string_view handleMemberReactor = "handleIntfReactor";
    static constexpr std::string_view memberCollection = "intf";
    static constexpr char const *taskName =
        "VlanSubIntfConfigLib::ConfigSm-VlanConfigSm0InputScanTask";
    static constexpr TypeIndex parentType = TypeIndex::vlanConfigSm0;
    static constexpr TypeIndex childType = TypeIndex::intfSm1;
    static constexpr std::uint32_t childSalt = 3954338504;
    static constexpr short parentAttribute = ParentEn::vlanConfigAttribute;
    static constexpr short childAttribute = ChildEn::intfAttribute;

    static auto const &elements(ParentEn const &en) noexcept { return en.vlanConfig(); }
    static auto const &members(ChildEn const &en) noexcept { return en.intf(); }
    static Key keyOf(ChildEn const &en) noexcept { return en.vlanId(); }
    [[nodiscard]] static bool scanFlag(InputSmScanState const &state) noexcept;
    static void scanFlagIs(InputSmScanState &state, bool done);
    /// Have fetched what the event of that member is going to touch first.
    static void prefetch(Root const &root, Key key, MemberKey memberKey) noexcept;
    static void event(Root &root, Key key, MemberKey memberKey, Value const &value);

    /// The generated names of factory and handlers.
    template <class Sm> struct ParentNames {
        [[nodiscard]] static Qor::Ptr<Sm> VlanConfigSm0Is(Qor::Ptr<ParentEn const> const &en,
                                                          Root *root) {
            return Qor::make<Sm>(en, root);
        }
        void handleVlanConfig(Key vlanId) { self().handleKeyHeld(vlanId); }
        void handleVlanConfigReactor(Key vlanId) { self().handleKeyReactor(vlanId); }

      private:
        Sm &self() noexcept { return static_cast<Sm &>(*this); }
    };
    template <class Sm> struct ChildNames {
        [[nodiscard]] static Qor::Ptr<Sm> IntfSm1Is(Qor::Ptr<ChildEn const> const &en,
                                                    InputParentSm<VlanStream> *parent) {
            return Qor::make<Sm>(en, parent);
        }
        void handleIntf(MemberKey intfId) { self().handleKeyHeld(intfId); }
        void handleIntfReactor(MemberKey intfId) { self().handleKeyReactor(intfId); }

      private:
        Sm &self() noexcept { return static_cast<Sm &>(*this); }
    };
};

/// What the LAG pair is about.
struct LagStream {
    using ParentEn = Lag::LagPhyIntfMapping;
    using ChildEn = Lag::LagPhyIntfConfig;
    using Key = Iftel::IntfId;
    using MemberKey = Iftel::IntfId;
    /// A member may be there with a null configuration; only empty means that it is gone.
    using Value = Qor::Optional<Qor::Ptr<Lag::EthPhyIntfLagConfig const>>;

    static constexpr std::string_view parentName = "LagPhyIntfConfigSm2";
    static constexpr std::string_view parentNameInitial = "LagPhyIntfConfigSm2 initial";
    static constexpr std::string_view childName = "PhyIntfSm3";
    static constexpr std::string_view childNameInitial = "PhyIntfSm3 initial";
    static constexpr std::string_view parentTypeName =
        "VlanSubIntfConfigLib::DovraCode::ConfigSm::LagPhyIntfConfigSm2";
    static constexpr std::string_view childTypeName =
        "VlanSubIntfConfigLib::DovraCode::ConfigSm::PhyIntfSm3";
    static constexpr std::string_view handleElement = "handleLagPhyIntfConfig";
    static constexpr std::string_view handleElementReactor = "handleLagPhyIntfConfigReactor";
    static constexpr std::string_view handleMember = "handlePhyIntf";
    static constexpr std::string_view handleMemberReactor = "handlePhyIntfReactor";
    static constexpr std::string_view memberCollection = "phyIntf";
    static constexpr char const *taskName =
        "VlanSubIntfConfigLib::ConfigSm-LagPhyIntfConfigSm2InputScanTask";
    static constexpr TypeIndex parentType = TypeIndex::lagPhyIntfConfigSm2;
    static constexpr TypeIndex childType = TypeIndex::phyIntfSm3;
    static constexpr std::uint32_t childSalt = 349526067;
    static constexpr short parentAttribute = ParentEn::lagPhyIntfConfigAttribute;
    static constexpr short childAttribute = ChildEn::phyIntfAttribute;

    static auto const &elements(ParentEn const &en) noexcept { return en.lagPhyIntfConfig(); }
    static auto const &members(ChildEn const &en) noexcept { return en.phyIntf(); }
    static Key keyOf(ChildEn const &en) noexcept { return en.intfId(); }
    [[nodiscard]] static bool scanFlag(InputSmScanState const &state) noexcept;
    static void scanFlagIs(InputSmScanState &state, bool done);
    /// Nothing: an event touches every entry that rides on the LAG.
    static void prefetch(Root const &root, Key key, MemberKey memberKey) noexcept;
    static void event(Root &root, Key key, MemberKey memberKey, Value const &value);

    /// The generated names of factory and handlers.
    template <class Sm> struct ParentNames {
        [[nodiscard]] static Qor::Ptr<Sm> LagPhyIntfConfigSm2Is(Qor::Ptr<ParentEn const> const &en,
                                                                Root *root) {
            return Qor::make<Sm>(en, root);
        }
        void handleLagPhyIntfConfig(Key lagId) { self().handleKeyHeld(lagId); }
        void handleLagPhyIntfConfigReactor(Key lagId) { self().handleKeyReactor(lagId); }

      private:
        Sm &self() noexcept { return static_cast<Sm &>(*this); }
    };
    template <class Sm> struct ChildNames {
        [[nodiscard]] static Qor::Ptr<Sm> PhyIntfSm3Is(Qor::Ptr<ChildEn const> const &en,
                                                       InputParentSm<LagStream> *parent) {
            return Qor::make<Sm>(en, parent);
        }
        void handlePhyIntf(MemberKey memberId) { self().handleKeyHeld(memberId); }
        void handlePhyIntfReactor(MemberKey memberId) { self().handleKeyReactor(memberId); }

      private:
        Sm &self() noexcept { return static_cast<Sm &>(*this); }
    };
};

/// Scans and watches the members of one element. [InputSm.cpp]
template <class Stream>
class InputChildSm final : public Quam::Gen::InputStateMachine,
                           public Stream::template ChildNames<InputChildSm<Stream>>,
                           public Qor::PoolAllocated<InputChildSm<Stream>> {
  public:
    using Parent = InputParentSm<Stream>;
    using En = typename Stream::ChildEn;
    using Key = typename Stream::Key;
    using MemberKey = typename Stream::MemberKey;
    static constexpr std::string_view qorTypeName = Stream::childTypeName;

    InputChildSm(Qor::Ptr<En const> const &element, Parent *parentSm);
    ~InputChildSm() override;

    [[nodiscard]] Qor::Ptr<En const> const &en() const noexcept { return en_; }
    /// The element's key; the default key when there is no element.
    [[nodiscard]] Key key() const noexcept { return en_ ? Stream::keyOf(*en_) : Key(); }
    /// Null once the parent has removed this child.
    [[nodiscard]] Parent *parent() const noexcept { return parent_; }
    void parentIs(Parent *parentSm) noexcept { parent_ = parentSm; }
    /// The root; null without parent.
    [[nodiscard]] Root *root() const noexcept;
    [[nodiscard]] Nuvio::Ptr<Nuvio::Platform::DebugHandler> traceHandle() const noexcept;

    [[nodiscard]] MemberKey inputScanBookmark() const noexcept { return inputScanBookmark_; }
    void inputScanBookmarkIs(MemberKey bookmark) noexcept { inputScanBookmark_ = bookmark; }
    /// Modification stamp of the members as last handled here.
    [[nodiscard]] std::uint32_t intfVersionSeen() const noexcept { return intfVersionSeen_; }

    /// Tell the root about one member as it is now.
    void handleKey(MemberKey memberKey);
    /// The same called from outside: the root is held.
    void handleKeyHeld(MemberKey memberKey);
    /// The same for a change notice: at once, in full.
    void handleKeyReactor(MemberKey memberKey);
    /// Tell the root that every member is gone.
    void doDeleteAll();
    /// Every change of a member comes this way: one function, with all that it calls inside.
    [[gnu::flatten]] static void enDispatch(Nuvio::Publisher *, Nuvio::Subscriber *subscriber,
                                            short attributeId, void const *memberKey,
                                            void const *) noexcept;

    void hasNotificationActiveIs(bool active) noexcept override;
    [[nodiscard]] static std::span<Qor::Attribute const> qorAttributes() noexcept;
    [[nodiscard]] Qor::FwkType fwkType() const noexcept override {
        return fwkTypeOf(Stream::childType);
    }
    void qorDoZombieReactors(bool marked) noexcept override;
    [[nodiscard]] bool initialScanDone() const noexcept override;
    void doInputScan() override;
    void inReactorIs(bool inside) noexcept override;
    [[nodiscard]] bool inReactor() const noexcept override;
    [[nodiscard]] bool synchronous() const noexcept override;
    [[nodiscard]] bool shouldYield() const noexcept override;

  private:
    using Members = std::remove_cvref_t<decltype(Stream::members(std::declval<En const &>()))>;
    using Member = typename Members::Node;
    using Iterator = typename Members::Iterator;
    void tell(Root &to, MemberKey memberKey, Member const *member);
    [[nodiscard]] bool interrupted(Iterator &member, std::uint32_t iterations);
    void completed(std::uint32_t iterations);

    Qor::Ptr<En const> en_;
    Nuvio::Subscriber enSubscriber_;
    Parent *parent_; // borrowed; owns this
    MemberKey inputScanBookmark_;
    std::uint32_t intfVersionSeen_ = 0;
};

/// Scans and watches the elements. [InputSm.cpp]
template <class Stream>
class InputParentSm final : public Quam::Gen::InputStateMachine,
                            public Stream::template ParentNames<InputParentSm<Stream>>,
                            public Qor::PoolAllocated<InputParentSm<Stream>> {
  public:
    using StreamType = Stream;
    using Child = InputChildSm<Stream>;
    using En = typename Stream::ParentEn;
    using ChildEn = typename Stream::ChildEn;
    using Key = typename Stream::Key;
    static constexpr std::string_view qorTypeName = Stream::parentTypeName;
    /// Attributes that the typed exceptions of childSmIs() name.
    static constexpr int childSmAttribute = 265;
    static constexpr int childEnAttribute = 258;

    struct ChildSmKeyFunktor {
        Key operator()(Qor::Ptr<Child> const &child) const noexcept { return child->key(); }
    };
    using ChildSmMap = Qor::HashMap2018<Key, Qor::Ptr<Child>, Stream::childSalt, ChildSmKeyFunktor>;

    InputParentSm(Qor::Ptr<En const> const &input, Root *rootSm);
    ~InputParentSm() override;

    [[nodiscard]] Qor::Ptr<En const> const &en() const noexcept { return en_; }
    [[nodiscard]] Root *parent() const noexcept { return parent_; }
    void parentIs(Root *rootSm) noexcept { parent_ = rootSm; }
    [[nodiscard]] Root *root() const noexcept { return parent_; }
    [[nodiscard]] Nuvio::Ptr<Nuvio::Platform::DebugHandler> traceHandle() const noexcept;

    [[nodiscard]] ChildSmMap const &childSm() const noexcept { return childSm_; }
    /// The child under that key; null if there is none.
    [[nodiscard]] Qor::Ptr<Child> childSm(Key key) const noexcept;
    /// The child of an element, made if it is missing. Throws MutatorArgNullPointerException for a
    /// null element, MutatorReinstantiatingException when the key's child is another element's.
    Qor::Ptr<Child> childSmIs(Qor::Ptr<ChildEn const> const &element, InputParentSm *parentSm);
    /// Take a child out, without events; null if there is none.
    Qor::Ptr<Child> childSmDel(Key key) noexcept;
    void childSmDelAll() noexcept;

    [[nodiscard]] Key inputScanBookmark() const noexcept { return inputScanBookmark_; }
    void inputScanBookmarkIs(Key bookmark) noexcept { inputScanBookmark_ = bookmark; }

    [[nodiscard]] Qor::Ptr<Osk::Task> const &task() const noexcept { return scanTask_.task(); }
    /// Have a scan task of that scheduler and name; a new one starts with a slice at once.
    Qor::Ptr<Osk::Task> taskIs(Qor::Ptr<Osk::TaskScheduler> const &scheduler,
                               Osk::TaskPriority priority, Nuvio::String const &name);
    Qor::Ptr<Osk::Task> taskDel() noexcept { return scanTask_.taskDel(); }

    /// Bring the child of one element into being, up to date, or to an end.
    void handleKey(Key key);
    /// The same called from outside: the root is held.
    void handleKeyHeld(Key key);
    /// The same for a change notice: at once, in full.
    void handleKeyReactor(Key key);
    /// Remove every child, each after its members' removal events.
    void doDeleteAll();
    /// Pass an event on to the root.
    void onChildEvent(Key key, typename Stream::MemberKey memberKey,
                      typename Stream::Value const &value);
    static void enDispatch(Nuvio::Publisher *, Nuvio::Subscriber *subscriber, short attributeId,
                           void const *key, void const *) noexcept;
    static void taskDispatch(Nuvio::Publisher *, Nuvio::Subscriber *subscriber, short attributeId,
                             void const *, void const *) noexcept;

    /// A scan is under way: it will scan a child that comes up now.
    [[nodiscard]] bool scanning() const noexcept { return scanning_; }

    void hasNotificationActiveIs(bool active) noexcept override;
    [[nodiscard]] static std::span<Qor::Attribute const> qorAttributes() noexcept;
    [[nodiscard]] Qor::FwkType fwkType() const noexcept override {
        return fwkTypeOf(Stream::parentType);
    }
    void qorDoZombieReactors(bool marked) noexcept override;
    [[nodiscard]] bool initialScanDone() const noexcept override;
    void doInputScan() override;
    void doInitializeTask() override;
    [[nodiscard]] bool synchronous() const noexcept override;
    [[nodiscard]] bool shouldYield() const noexcept override;

  private:
    using Iterator = typename std::remove_cvref_t<decltype(Stream::elements(
        std::declval<En const &>()))>::Iterator;
    /// Handle elements from `element` on; false when one is left to a later slice.
    [[nodiscard]] bool scanSlice(Iterator &element);
    [[nodiscard]] bool interrupted(Iterator &element, std::uint32_t iterations,
                                   bool childIncomplete);
    void completed();

    Qor::Ptr<En const> en_;
    Nuvio::Subscriber enSubscriber_;
    Root *parent_; // borrowed; owns this; null once it has let go
    Key inputScanBookmark_;
    ChildSmMap childSm_;
    TaskSlot scanTask_;
    bool scanning_ = false;
};

extern template class InputParentSm<VlanStream>;
extern template class InputChildSm<VlanStream>;
extern template class InputParentSm<LagStream>;
extern template class InputChildSm<LagStream>;

using VlanConfigSm0 = InputParentSm<VlanStream>;
using IntfSm1 = InputChildSm<VlanStream>;
using LagPhyIntfConfigSm2 = InputParentSm<LagStream>;
using PhyIntfSm3 = InputChildSm<LagStream>;

} // namespace DovraCode::ConfigSm
} // namespace VlanSubIntfConfigLib
