#include "VlanSubIntfConfigLib/StateObjects.h"

#include "tests/support/Census.h"
#include "tests/support/Observer.h"

#include <gmock/gmock.h>

#include <array>
#include <ranges>
#include <string>
#include <vector>

namespace VlanSubIntfConfigLib::DovraCode::ConfigSm {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Observer = TestSupport::Observer<>;

std::vector<short> attributes(Observer const &observer) {
    std::vector<short> published;
    for (auto const &notice : observer.notices()) {
        published.push_back(notice.attribute);
    }
    return published;
}

// InputSmScanState.

/// One attribute of InputSmScanState.
struct ScanFlag {
    short attribute;
    bool (InputSmScanState::*read)() const noexcept;
    void (InputSmScanState::*write)(bool);
};

class InputSmScanStateTest : public TestSupport::CensusTest,
                             public testing::WithParamInterface<ScanFlag> {
  protected:
    [[nodiscard]] bool flag() const { return (*state.*GetParam().read)(); }
    void flagIs(bool value) { (*state.*GetParam().write)(value); }

    Qor::Ptr<InputSmScanState> state = Qor::make<InputSmScanState>();
    Observer observer{*state};
};
INSTANTIATE_TEST_SUITE_P(Flags, InputSmScanStateTest,
                         testing::Values(ScanFlag{131, &InputSmScanState::lagUpdateStreamScan,
                                                  &InputSmScanState::lagUpdateStreamScanIs},
                                         ScanFlag{132, &InputSmScanState::vlanConfigStreamScan,
                                                  &InputSmScanState::vlanConfigStreamScanIs},
                                         ScanFlag{133, &InputSmScanState::idle,
                                                  &InputSmScanState::idleIs}),
                         [](auto const &tested) { return std::to_string(tested.param.attribute); });

TEST_P(InputSmScanStateTest, AFlagStartsFalse) {
    EXPECT_FALSE(flag());
}

TEST_P(InputSmScanStateTest, AChangeIsStoredAndPublished) {
    flagIs(true);
    EXPECT_TRUE(flag());
    flagIs(false);
    EXPECT_FALSE(flag());
    EXPECT_THAT(attributes(observer), ElementsAre(GetParam().attribute, GetParam().attribute));
}

TEST_P(InputSmScanStateTest, TheStoredValueIsNotPublishedAgain) {
    flagIs(false);
    EXPECT_THAT(attributes(observer), IsEmpty());
    flagIs(true);
    flagIs(true);
    EXPECT_THAT(attributes(observer), ElementsAre(GetParam().attribute));
}

TEST_P(InputSmScanStateTest, TheNoticeComesAfterTheChange) {
    bool inNotice = false;
    observer.reactionIs([&](auto const & /*notice*/) { inNotice = flag(); });
    flagIs(true);
    EXPECT_TRUE(inNotice);
}

TEST_P(InputSmScanStateTest, AFlagLeavesTheOthers) {
    flagIs(true);
    EXPECT_EQ(state->lagUpdateStreamScan() + state->vlanConfigStreamScan() + state->idle(), 1);
}

class IdleTest : public TestSupport::CensusTest {};

TEST_F(IdleTest, HandleIdlePublishesOnce) {
    auto const state = Qor::make<InputSmScanState>();
    Observer const observer(*state);
    state->handleIdle();
    state->handleIdle();
    EXPECT_TRUE(state->idle());
    EXPECT_THAT(attributes(observer), ElementsAre(133));
}

TEST_F(IdleTest, TheTypeIsOfTheLibrarysModule) {
    auto const state = Qor::make<InputSmScanState>();
    EXPECT_EQ(state->fwkType().kind, 0U);
    EXPECT_EQ(state->fwkType().type().name(),
              "VlanSubIntfConfigLib::DovraCode::ConfigSm::InputSmScanState");
}

// OutputState.

/// One output's flag of OutputState.
struct OutputFlag {
    short attribute;
    bool (OutputState::*read)() const noexcept;
    void (OutputState::*write)(bool);
};

constexpr std::array<OutputFlag, 5> outputFlags{{
    {130, &OutputState::vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReady,
     &OutputState::vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReadyIs},
    {131, &OutputState::lagVlanStatusIntfToVlanMapOutputReady,
     &OutputState::lagVlanStatusIntfToVlanMapOutputReadyIs},
    {132, &OutputState::vlanSubIntfConfigLibVlanSubIntfPtrAllowedTrafficDirectionOutputReady,
     &OutputState::vlanSubIntfConfigLibVlanSubIntfPtrAllowedTrafficDirectionOutputReadyIs},
    {133, &OutputState::vlanSubIntfConfigLibVlanSubIntfPtrTagOnEgressOutputReady,
     &OutputState::vlanSubIntfConfigLibVlanSubIntfPtrTagOnEgressOutputReadyIs},
    {134, &OutputState::vlanSubIntfConfigDirConfigIntfOutputReady,
     &OutputState::vlanSubIntfConfigDirConfigIntfOutputReadyIs},
}};

/// The tested flag is the last of the five to be set.
class OutputStateTest : public TestSupport::CensusTest,
                        public testing::WithParamInterface<OutputFlag> {
  protected:
    [[nodiscard]] bool flag() const { return (*state.*GetParam().read)(); }
    void flagIs(bool value) { (*state.*GetParam().write)(value); }
    void otherFlagsAre(bool value) {
        for (OutputFlag const &other : outputFlags) {
            if (other.attribute != GetParam().attribute) {
                (*state.*other.write)(value);
            }
        }
    }

    Qor::Ptr<OutputState> state = OutputState::OutputStateIs();
    Observer observer{*state};
};
INSTANTIATE_TEST_SUITE_P(Flags, OutputStateTest, testing::ValuesIn(outputFlags),
                         [](auto const &tested) { return std::to_string(tested.param.attribute); });

TEST_P(OutputStateTest, ANewStateHasNothingReady) {
    EXPECT_FALSE(flag());
    EXPECT_FALSE(state->ready());
    EXPECT_TRUE(state->hasNotificationActive());
}

TEST_P(OutputStateTest, OneFlagAloneIsPublishedAndNotReady) {
    flagIs(true);
    EXPECT_TRUE(flag());
    EXPECT_FALSE(state->ready());
    EXPECT_THAT(attributes(observer), ElementsAre(GetParam().attribute));
}

TEST_P(OutputStateTest, TheStoredValueIsNotPublishedAgain) {
    flagIs(false);
    flagIs(true);
    flagIs(true);
    EXPECT_THAT(attributes(observer), ElementsAre(GetParam().attribute));
}

TEST_P(OutputStateTest, OnlyTheFifthFlagMakesReady) {
    otherFlagsAre(true);
    EXPECT_FALSE(state->ready());
    flagIs(true);
    EXPECT_TRUE(state->ready());
}

TEST_P(OutputStateTest, ReadyIsPublishedBeforeTheFlagThatMadeIt) {
    otherFlagsAre(true);
    observer.clear();
    flagIs(true);
    EXPECT_THAT(attributes(observer), ElementsAre(135, GetParam().attribute));
}

TEST_P(OutputStateTest, TheFlagIsStoredWhenReadyIsPublished) {
    otherFlagsAre(true);
    std::vector<std::string> seen;
    observer.reactionIs([&](auto const &notice) {
        seen.push_back(std::to_string(notice.attribute) + (flag() ? " set" : " clear") +
                       (state->ready() ? " ready" : " not ready"));
    });
    flagIs(true);
    EXPECT_THAT(seen,
                ElementsAre("135 set ready", std::to_string(GetParam().attribute) + " set ready"));
}

TEST_P(OutputStateTest, AClearedFlagTakesReadyBackFirst) {
    otherFlagsAre(true);
    flagIs(true);
    observer.clear();
    flagIs(false);
    EXPECT_FALSE(state->ready());
    EXPECT_THAT(attributes(observer), ElementsAre(135, GetParam().attribute));
}

class ReadyTest : public TestSupport::CensusTest {
  protected:
    Qor::Ptr<OutputState> state = OutputState::OutputStateIs();
    Observer observer{*state};
};

TEST_F(ReadyTest, ReadyIsASetterLikeTheOthers) {
    state->readyIs(true);
    state->readyIs(true);
    EXPECT_TRUE(state->ready());
    EXPECT_THAT(attributes(observer), ElementsAre(135));
}

TEST_F(ReadyTest, HandleReadyRecomputes) {
    state->readyIs(true);
    state->handleReady();
    EXPECT_FALSE(state->ready());
    state->handleReady();
    EXPECT_THAT(attributes(observer), ElementsAre(135, 135));
}

TEST_F(ReadyTest, OutputsAreNumberedByTheirAttributes) {
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        EXPECT_EQ(static_cast<short>(outputs[i]), outputFlags[i].attribute);
        state->outputReadyIs(outputs[i], true);
        EXPECT_TRUE((*state.*outputFlags[i].read)());
    }
}

TEST_F(ReadyTest, TheTypeIsOfTheLibrarysModule) {
    EXPECT_EQ(state->fwkType().kind, 1U);
    EXPECT_EQ(state->fwkType().type().name(),
              "VlanSubIntfConfigLib::DovraCode::ConfigSm::OutputState");
}

} // namespace
} // namespace VlanSubIntfConfigLib::DovraCode::ConfigSm
