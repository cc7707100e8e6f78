#include "platform/Qor/Type.h"

#include "platform/Qor/Attribute.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace Qor {
namespace {

constexpr TypeImpl root("Test::Root");
constexpr TypeImpl middle("Test::Middle", &root);
constexpr TypeImpl leaf("Test::Leaf", &middle);
constexpr TypeImpl stranger("Test::Stranger");

constexpr std::array<TypeImpl const *, 3> types{&root, &middle, &leaf};
constexpr Module typeModule{"TypeTest", types};
constexpr Module sameName{"TypeTest", {}};
constexpr Module laterModule{"TypeTestLater", {}};

// At load time, as a library does it.
bool const registered = qorModuleIs(typeModule);
bool const laterRegistered = qorModuleIs(laterModule);

TEST(TypeImpl, KnowsItsNameAndItsBase) {
    EXPECT_EQ(leaf.name(), "Test::Leaf");
    EXPECT_EQ(leaf.base(), &middle);
    EXPECT_EQ(root.base(), nullptr);
}

TEST(TypeImpl, ATypeIsDerivedFromItselfAndAllItsAncestors) {
    EXPECT_TRUE(TypeImpl::isDerived(leaf, leaf));
    EXPECT_TRUE(TypeImpl::isDerived(leaf, middle));
    EXPECT_TRUE(TypeImpl::isDerived(leaf, root));
}

TEST(TypeImpl, ATypeIsNotDerivedFromADescendantOrAStranger) {
    EXPECT_FALSE(TypeImpl::isDerived(root, leaf));
    EXPECT_FALSE(TypeImpl::isDerived(leaf, stranger));
}

TEST(QorTypeBase, AnAncestorMayBeGivenByItsName) {
    EXPECT_TRUE(QorTypeBase::isDerived(leaf, "Test::Leaf"));
    EXPECT_TRUE(QorTypeBase::isDerived(leaf, "Test::Root"));
    EXPECT_FALSE(QorTypeBase::isDerived(root, "Test::Leaf"));
    EXPECT_FALSE(QorTypeBase::isDerived(leaf, "Test::Stranger"));
}

TEST(TypeImpl, HasNoAttributesUnlessItIsGivenThem) {
    EXPECT_TRUE(leaf.attributes().empty());
}

TEST(FwkType, NamesTheTypeByModuleAndIndex) {
    FwkType const type{&typeModule, 2};
    EXPECT_EQ(&type.type(), &leaf);
    EXPECT_EQ(type, (FwkType{&typeModule, 2}));
    EXPECT_NE(type, (FwkType{&typeModule, 1}));
    EXPECT_NE(type, (FwkType{&sameName, 2}));
}

TEST(Module, IsListedOnceItIsRegistered) {
    EXPECT_TRUE(registered);
    EXPECT_EQ(std::ranges::count(modules(), &typeModule), 1);
}

TEST(Module, IsListedBehindThoseRegisteredBefore) {
    EXPECT_TRUE(laterRegistered);
    auto const earlier = std::ranges::find(modules(), &typeModule);
    EXPECT_EQ(std::count(earlier, modules().end(), &laterModule), 1);
}

TEST(ModuleDeathTest, TwoOfOneNameAreAnAssertion) {
    EXPECT_DEATH(qorModuleIs(sameName), "Assertion `isNew' failed: module=TypeTest");
}

} // namespace
} // namespace Qor
