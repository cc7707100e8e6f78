#include "platform/Qor/Exceptions.h"

#include <gtest/gtest.h>

#include <concepts>
#include <stdexcept>
#include <string>
#include <typeinfo>

namespace Qor {
namespace {

constexpr QorTypeBase type("Bridging::VlanConfig");

static_assert(std::derived_from<Exception, std::runtime_error>);

/// What `act` throws, which must be exactly an E.
template <class E, class Act> std::string thrown(Act act) {
    static_assert(std::derived_from<E, Exception>, "one handler can catch them all");
    try {
        act();
    } catch (Exception const &error) {
        EXPECT_EQ(typeid(error), typeid(E));
        return error.what();
    }
    return "nothing was thrown";
}

TEST(Exceptions, AValueOfTheWrongTypeNamesAttributeAndBothTypes) {
    EXPECT_EQ(thrown<TypeException>([] { throwTypeException(type, "vlanId", "VlanId", "IntfId"); }),
              "Bridging::VlanConfig.vlanId: wants VlanId, got IntfId");
}

TEST(Exceptions, SettingFalseNamesTheAttribute) {
    EXPECT_EQ(thrown<SetFalseValueException>([] { throwSetFalseValueException(type, "ready"); }),
              "Bridging::VlanConfig.ready: can be set but not cleared");
}

TEST(Exceptions, ANullArgumentNamesAttributeAndArgument) {
    EXPECT_EQ(thrown<MutatorArgNullPointerException>(
                  [] { throwMutatorArgNullPointerException(type, 130, "config"); }),
              "Bridging::VlanConfig attribute 130: argument config is null");
}

TEST(Exceptions, ASecondObjectUnderOneKeyNamesTheAttribute) {
    EXPECT_EQ(thrown<MutatorReinstantiatingException>(
                  [] { Impl::throwMutatorReinstantiating(type, 131); }),
              "Bridging::VlanConfig attribute 131: an object with another value exists under this "
              "key");
}

TEST(Exceptions, AnAbsentValueSaysSo) {
    EXPECT_EQ(thrown<BadOptionalAccess>([] { Impl::throwBadOptionalAccess(); }),
              "bad optional access");
}

} // namespace
} // namespace Qor
