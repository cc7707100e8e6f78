// The two pairs of input machines for typed tests: what holds for one must hold for the other.
//
// A test speaks of elements (VLANs, LAGs) and members by number; an element's number 1 to 9 and a
// member's are turned into keys here. Names and texts are written out, not taken from the machine.
//
//     TYPED_TEST(InputScanTest, AnEmptyElementCompletesAtOnce) {
//         this->elementIs(1);
//         this->startAsynchronous();
//         EXPECT_EQ(this->child(1)->scanState(), ScanState::completeInitially);
//     }
#pragma once

#include "tests/support/MachineFixture.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

namespace VlanSubIntfConfigLib {

/// bridgingConfig.vlanConfig[].intf[]
struct VlanPair {
    using Parent = DovraCode::ConfigSm::VlanConfigSm0;
    using Child = DovraCode::ConfigSm::IntfSm1;
    static constexpr char const *parentName = "VlanConfigSm0";
    static constexpr char const *childName = "IntfSm1";
    static constexpr char const *handleElement = "handleVlanConfig";
    static constexpr char const *handleMember = "handleIntf";
    static constexpr char const *memberCollection = "intf";
    static constexpr char const *taskName =
        "VlanSubIntfConfigLib::ConfigSm-VlanConfigSm0InputScanTask";
    static constexpr short elementsAttribute = 258;
    static constexpr short membersAttribute = 262;
    static constexpr short scanFlagAttribute = 132;
    static constexpr std::uint32_t statementLine = 25;
    static constexpr std::uint16_t parentType = 7;
    static constexpr std::uint16_t childType = 6;
    static constexpr char const *presentValue =
        "Optional( tagOnEgress=false pvid=false allowedTrafficDirection=none )";

    static Bridging::VlanId key(int number) {
        return Bridging::VlanId(static_cast<std::uint16_t>(number));
    }
    static Iftel::IntfId memberKey(int number) {
        return Iftel::IntfId(Nuvio::String(fmt::format("Ethernet{}.100", number)));
    }
    static std::string text(Bridging::VlanId key) { return std::to_string(key.value()); }
    static std::string text(Iftel::IntfId key) { return std::string(key.stringValue().view()); }
    static std::string eventText(std::string const &key, std::string const &member,
                                 std::string const &value) {
        return fmt::format("7 ConfigSm::eventToVlanConfigStream vlanConfigStream = from( "
                           "bridgingConfig.vlanConfig[].intf[] ): vlanId={} intfId={} "
                           "vlanPortConfig={}",
                           key, member, value);
    }

    static auto element(Bridging::Config &input, int number) {
        return input.vlanConfigIs(key(number));
    }
    static void elementDel(Bridging::Config &input, int number) {
        input.vlanConfigDel(key(number));
    }
    static auto newElement(int number) { return Qor::make<Bridging::VlanConfig>(key(number)); }
    static void insert(Bridging::Config &input, Qor::Ptr<Bridging::VlanConfig> const &element) {
        input.vlanConfigInsertForTest(element);
    }
    static void member(Bridging::VlanConfig &element, int number) {
        element.intfIs(memberKey(number), {});
    }
    static void memberDel(Bridging::VlanConfig &element, int number) {
        element.intfDel(memberKey(number));
    }
    static auto const &elements(Bridging::Config const &input) { return input.vlanConfig(); }
    static auto const &members(Bridging::VlanConfig const &element) { return element.intf(); }
    static auto const &parent(ConfigSm const &root) { return root.vlanConfigSm0(); }
    static Qor::Ptr<Parent> newParent(Qor::Ptr<Bridging::Config const> const &en, ConfigSm *root) {
        return Parent::VlanConfigSm0Is(en, root);
    }
    static bool scanFlag(ConfigSm const &root) {
        return root.inputSmScanState()->vlanConfigStreamScan();
    }
};

/// lagPhyIntfMapping.lagPhyIntfConfig[].phyIntf[]
struct LagPair {
    using Parent = DovraCode::ConfigSm::LagPhyIntfConfigSm2;
    using Child = DovraCode::ConfigSm::PhyIntfSm3;
    static constexpr char const *parentName = "LagPhyIntfConfigSm2";
    static constexpr char const *childName = "PhyIntfSm3";
    static constexpr char const *handleElement = "handleLagPhyIntfConfig";
    static constexpr char const *handleMember = "handlePhyIntf";
    static constexpr char const *memberCollection = "phyIntf";
    static constexpr char const *taskName =
        "VlanSubIntfConfigLib::ConfigSm-LagPhyIntfConfigSm2InputScanTask";
    static constexpr short elementsAttribute = 131;
    static constexpr short membersAttribute = 131;
    static constexpr short scanFlagAttribute = 131;
    static constexpr std::uint32_t statementLine = 50;
    static constexpr std::uint16_t parentType = 5;
    static constexpr std::uint16_t childType = 4;
    static constexpr char const *presentValue = "Optional( Lag::EthPhyIntfLagConfig )";

    static Iftel::IntfId key(int number) {
        return Iftel::IntfId(Nuvio::String(fmt::format("PortChannel{}", number)));
    }
    static Iftel::IntfId memberKey(int number) {
        return Iftel::IntfId(Nuvio::String(fmt::format("Ethernet{}", number)));
    }
    static std::string text(Iftel::IntfId key) { return std::string(key.stringValue().view()); }
    static std::string eventText(std::string const &key, std::string const &member,
                                 std::string const &value) {
        return fmt::format("7 ConfigSm::eventToLagUpdateStream lagUpdateStream = from( "
                           "lagPhyIntfMapping.lagPhyIntfConfig[].phyIntf[] ): lagId={} "
                           "lagMemberId={} phyIntfLagConfig={}",
                           key, member, value);
    }

    static auto element(Lag::LagPhyIntfMapping &input, int number) {
        return input.lagPhyIntfConfigIs(key(number));
    }
    static void elementDel(Lag::LagPhyIntfMapping &input, int number) {
        input.lagPhyIntfConfigDel(key(number));
    }
    static auto newElement(int number) { return Qor::make<Lag::LagPhyIntfConfig>(key(number)); }
    static void insert(Lag::LagPhyIntfMapping &input,
                       Qor::Ptr<Lag::LagPhyIntfConfig> const &element) {
        input.lagPhyIntfConfigInsertForTest(element);
    }
    static void member(Lag::LagPhyIntfConfig &element, int number) {
        element.phyIntfIs(memberKey(number), Lag::EthPhyIntfLagConfig::EthPhyIntfLagConfigIs());
    }
    static void memberDel(Lag::LagPhyIntfConfig &element, int number) {
        element.phyIntfDel(memberKey(number));
    }
    static auto const &elements(Lag::LagPhyIntfMapping const &input) {
        return input.lagPhyIntfConfig();
    }
    static auto const &members(Lag::LagPhyIntfConfig const &element) { return element.phyIntf(); }
    static auto const &parent(ConfigSm const &root) { return root.lagPhyIntfConfigSm2(); }
    static Qor::Ptr<Parent> newParent(Qor::Ptr<Lag::LagPhyIntfMapping const> const &en,
                                      ConfigSm *root) {
        return Parent::LagPhyIntfConfigSm2Is(en, root);
    }
    static bool scanFlag(ConfigSm const &root) {
        return root.inputSmScanState()->lagUpdateStreamScan();
    }
};

using BothPairs = testing::Types<VlanPair, LagPair>;

/// Names the instances of a typed suite: InputScanTest/VlanConfigSm0.
struct PairNames {
    template <class Pair> static std::string GetName(int /*index*/) { return Pair::parentName; }
};

template <class Pair> class InputPairTest : public TestSupport::MachineTest {
  protected:
    using Lines = std::vector<std::string>;
    using ScanState = Quam::Gen::ScanState;

    // The pair's input.

    auto &input() {
        if constexpr (std::is_same_v<Pair, VlanPair>) {
            return *bridging;
        } else {
            return *lagMapping;
        }
    }
    auto elementIs(int element) { return Pair::element(input(), element); }
    void elementDel(int element) { Pair::elementDel(input(), element); }
    void memberIs(int element, int member) { Pair::member(*elementIs(element), member); }
    void memberGone(int element, int member) { Pair::memberDel(*elementIs(element), member); }
    /// `elements` elements with `members` members each.
    void fill(int elements, int members) {
        for (int element = 1; element <= elements; ++element) {
            elementIs(element);
            for (int member = 1; member <= members; ++member) {
                memberIs(element, member);
            }
        }
    }
    /// Insert an element that has `members` members already.
    void insertFilled(int element, int members) {
        auto const filled = Pair::newElement(element);
        for (int member = 1; member <= members; ++member) {
            Pair::member(*filled, member);
        }
        Pair::insert(input(), filled);
    }
    /// Give the notice of an element once more.
    void repeatNotice(int element) {
        auto const key = Pair::key(element);
        input().publisher().publishChange(Pair::elementsAttribute, &key);
    }
    /// The elements' numbers in the order in which they are walked.
    std::vector<int> order() {
        std::vector<int> numbers;
        for (auto const &key : TestSupport::walkOrder(Pair::elements(input()))) {
            for (int number = 1; number <= 9; ++number) {
                if (Pair::key(number) == key) {
                    numbers.push_back(number);
                }
            }
        }
        return numbers;
    }
    /// The same of an element's members.
    std::vector<int> order(int element) {
        std::vector<int> numbers;
        for (auto const &key : TestSupport::walkOrder(Pair::members(*elementIs(element)))) {
            for (int number = 1; number <= 9; ++number) {
                if (Pair::memberKey(number) == key) {
                    numbers.push_back(number);
                }
            }
        }
        return numbers;
    }
    std::uint32_t stamp(int element) { return Pair::members(*elementIs(element)).stamp(); }

    // The pair's machines.

    void startReady() {
        startAsynchronous();
        run();
        ASSERT_TRUE(machine->ready());
    }
    auto const &parent() { return Pair::parent(*machine); }
    auto child(int element) { return parent()->childSm(Pair::key(element)); }
    bool scanFlag() { return Pair::scanFlag(*machine); }

    // Expected lines.

    static std::string text(int element) { return Pair::text(Pair::key(element)); }
    static std::string memberText(int member) { return Pair::text(Pair::memberKey(member)); }
    template <class... Args>
    static std::string parentLine(int level, std::string const &function,
                                  fmt::format_string<Args const &...> format, Args const &...args) {
        return fmt::format("{} {}::{} {}", level, Pair::parentName, function,
                           fmt::format(format, args...));
    }
    template <class... Args>
    static std::string childLine(int level, std::string const &function,
                                 fmt::format_string<Args const &...> format, Args const &...args) {
        return fmt::format("{} {}::{} {}", level, Pair::childName, function,
                           fmt::format(format, args...));
    }
    static std::string handleElementLine(int element) {
        return parentLine(8, Pair::handleElement, "k: {}", text(element));
    }
    static std::string handleMemberLine(int member) {
        return childLine(8, Pair::handleMember, "k: {}", memberText(member));
    }
    static std::string presentLine(int element, int member) {
        return Pair::eventText(text(element), memberText(member), Pair::presentValue);
    }
    static std::string goneLine(int element, int member) {
        return Pair::eventText(text(element), memberText(member), "None");
    }
    /// What was traced by the pair's two machines, without the root's lines.
    Lines pairTraced() {
        Lines lines;
        for (TestSupport::TraceLine const &line : trace->records()) {
            if (line.machine == Pair::parentName || line.machine == Pair::childName) {
                lines.push_back(line.text());
            }
        }
        trace->clear();
        return lines;
    }
    /// The events that reached the root.
    Lines events() {
        Lines lines;
        for (TestSupport::TraceLine const &line : trace->records()) {
            if (line.level == 7 && line.text().find(" = from( ") != std::string::npos) {
                lines.push_back(line.text());
            }
        }
        trace->clear();
        return lines;
    }
};

} // namespace VlanSubIntfConfigLib
