#include "platform/Qor/GenericIf.h"

#include "tests/support/Census.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Qor {
namespace {

using testing::HasSubstr;

/// A value with attributes, and a key.
struct Pair {
    bool first = false;
    std::uint32_t second = 0;
    std::uint32_t sum() const noexcept { return second + (first ? 1U : 0U); }
};

struct Number {
    std::uint32_t value = 0;
    std::uint32_t hash(std::uint32_t seed) const noexcept { return hashSingleAttr(seed, value); }
    friend bool operator==(Number const &, Number const &) = default;
    friend bool operator<(Number const &a, Number const &b) { return a.value < b.value; }
};

TypeImpl const &pairType();

} // namespace

template <> struct ValueTraits<Pair> {
    static constexpr std::string_view name = "GenericIfTest::Pair";
    static std::string text(Pair const &value) { return std::to_string(value.second); }
    static TypeImpl const &attributes() { return pairType(); }
};
template <> struct ValueTraits<Number> {
    static constexpr std::string_view name = "GenericIfTest::Number";
    static std::string text(Number const &value) { return std::to_string(value.value); }
};

namespace {

/// One attribute of every kind.
class Thing final : public PtrInterface {
  public:
    static constexpr std::string_view qorTypeName = "GenericIfTest::Thing";
    using Map = HashMap2018<Number, Ptr<Thing>, 1>;
    using Set = HashMap2018<Number, void, 2>;

    [[nodiscard]] FwkType fwkType() const noexcept override;
    static std::span<Attribute const> qorAttributes() noexcept;

    Ptr<Thing> makeNext(bool isFlagged) {
        next = make<Thing>();
        next->flag = isFlagged;
        return next;
    }
    Ptr<Thing> takeNext() noexcept { return std::exchange(next, nullptr); }
    void limitIs(std::uint32_t newLimit) { limit = newLimit; }
    Ptr<Thing> childIs(Number const &key, Ptr<Thing> const &child) {
        map.newMemberG({key, child});
        return child;
    }
    Ptr<Thing> childDel(Number const &key) {
        auto removed = map.deleteMemberG(key);
        return removed ? removed.take().value_ : nullptr;
    }
    void keyIs(Number const &key) { set.newMemberG({key}); }
    void keyDel(Number const &key) { set.deleteMemberG(key); }
    [[nodiscard]] std::uint32_t entries() const noexcept { return map.size() + set.size(); }
    String join(bool a, std::uint32_t b, std::uint64_t c, String const &d) {
        ++calls;
        return String((a ? "yes " : "no ") + std::to_string(b) + ' ' + std::to_string(c) + ' ' +
                      std::string(d.view()));
    }
    void adopt(Ptr<Thing> const &other) { next = other; }
    void run() { reaction(); }

    bool flag = false;
    Ptr<Thing> next;
    std::uint32_t limit = 5;
    int calls = 0;
    Map map;
    Set set;
    std::function<void()> reaction = [] {};
};

class Stranger final : public PtrInterface {
  public:
    static constexpr std::string_view qorTypeName = "GenericIfTest::Stranger";
    [[nodiscard]] FwkType fwkType() const noexcept override;
};

std::uint32_t twice(Thing &thing) {
    return 2 * thing.limit;
}

std::uint32_t const &limitOf(Thing &thing) {
    return thing.limit;
}

std::span<Attribute const> Thing::qorAttributes() noexcept {
    static constexpr Attribute table[] = {
        stored<&Thing::flag>(10, "flag"),
        stored<&Thing::next>(11, "next"),
        property<&limitOf, &Thing::limitIs>(12, "limit"),
        property<&twice>(13, "twice"),
        property<&Thing::takeNext, &Thing::makeNext, &Thing::takeNext>(14, "made"),
        property<&twice, &Thing::adopt, nullptr, false>(15, "adopted"),
        collection<&Thing::map, &Thing::childIs, &Thing::childDel>(16, "map"),
        collection<&Thing::set, &Thing::keyIs, &Thing::keyDel>(17, "set"),
        collection<&Thing::map>(18, "mapToRead"),
        computed<&Thing::entries>(19, "entries"),
        method<&Thing::join>(20, "join"),
        method<&Thing::adopt, false>(21, "adopt"),
        method<&Thing::run>(22, "run")};
    static_assert(numbersGrow(table));
    return table;
}

std::span<Attribute const> pairAttributes() noexcept {
    static constexpr Attribute table[] = {stored<&Pair::first>(0, "first"),
                                          stored<&Pair::second>(1, "second"),
                                          method<&Pair::sum>(2, "sum")};
    return table;
}

constexpr QorTypeBase thingBase("GenericIfTest::Base");
constexpr TypeImpl thingType = typeOf<Thing>(&thingBase);
constexpr TypeImpl strangerType(Stranger::qorTypeName);
constexpr TypeImpl pairTypeImpl("GenericIfTest::Pair", nullptr, pairAttributes);
constexpr TypeImpl const *types[] = {&thingType, &strangerType, &pairTypeImpl};
constexpr Module module{"GenericIfTest", types};

TypeImpl const &pairType() {
    return pairTypeImpl;
}
FwkType Thing::fwkType() const noexcept {
    return {&module, 0};
}
FwkType Stranger::fwkType() const noexcept {
    return {&module, 1};
}

constexpr Attribute sameNumbers[] = {stored<&Thing::flag>(1, "a"), stored<&Thing::flag>(1, "b")};
static_assert(!numbersGrow(sameNumbers));
constexpr Attribute fallingNumbers[] = {stored<&Thing::flag>(2, "a"), stored<&Thing::flag>(1, "b")};
static_assert(!numbersGrow(fallingNumbers));

class GenericIfTest : public TestSupport::CensusTest {
  protected:
    /// The result of an operation that must be done.
    Value done(int number, OpCode code, std::vector<Value> const &arguments = {}) {
        Operation operation{code, arguments, {}};
        EXPECT_EQ(GenericIf::operate(*thing_, number, operation), Status::done) << number;
        return operation.result;
    }
    Status status(int number, OpCode code, std::vector<Value> const &arguments = {}) {
        Operation operation{code, arguments, {}};
        return GenericIf::operate(*thing_, number, operation);
    }
    static Value number(std::uint32_t value) { return Value::of(value); }
    static Value key(std::uint32_t value) { return Value::of(Number{value}); }

    Ptr<Thing> thing_ = make<Thing>();
};

TEST_F(GenericIfTest, FindsAnAttributeByNumberAndByName) {
    Attribute const *const found = GenericIf::attribute(thingType, 12);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->name, "limit");
    EXPECT_EQ(GenericIf::attribute(thingType, "limit"), found);
    EXPECT_EQ(GenericIf::attribute(thingType, 9), nullptr);
    EXPECT_EQ(GenericIf::attribute(thingType, "Limit"), nullptr);
    EXPECT_EQ(GenericIf::attribute(strangerType, 12), nullptr);
}

TEST_F(GenericIfTest, DescribesKindsAndTypes) {
    auto const describe = [](int wanted) { return *GenericIf::attribute(thingType, wanted); };
    EXPECT_EQ(describe(10).kind, AttributeKind::value);
    EXPECT_EQ(describe(11).kind, AttributeKind::pointer);
    EXPECT_EQ(describe(13).kind, AttributeKind::value);
    EXPECT_EQ(describe(14).kind, AttributeKind::pointer);
    EXPECT_EQ(describe(16).kind, AttributeKind::collection);
    EXPECT_EQ(describe(19).kind, AttributeKind::computed);
    EXPECT_EQ(describe(20).kind, AttributeKind::method);
    EXPECT_EQ(describe(14).valueType->name, Thing::qorTypeName);
    EXPECT_EQ(describe(14).argumentTypes[0]->name, "bool") << "the creator's";
    EXPECT_EQ(describe(16).keyType->name, "GenericIfTest::Number");
    EXPECT_EQ(describe(16).valueType->name, Thing::qorTypeName);
    EXPECT_EQ(describe(17).valueType->name, "bool") << "a set's entries";
    EXPECT_EQ(describe(20).argumentTypes[3]->name, "string");
    EXPECT_EQ(describe(22).valueType, nullptr);
    EXPECT_EQ(describe(22).argumentTypes[0], nullptr);
    EXPECT_TRUE(describe(12).writable);
    EXPECT_FALSE(describe(13).writable);
    EXPECT_TRUE(describe(16).writable);
    EXPECT_FALSE(describe(18).writable);
    EXPECT_EQ(describe(19).iterate, nullptr);
}

TEST_F(GenericIfTest, AStoredValueIsReadAndWritten) {
    EXPECT_EQ(done(10, OpCode::read).text(), "false");
    EXPECT_TRUE(done(10, OpCode::write, {Value::of(true)}).empty());
    EXPECT_TRUE(thing_->flag);
    EXPECT_EQ(status(10, OpCode::del), Status::notAccepted);
}

TEST_F(GenericIfTest, AStoredPointerIsSharedReplacedAndCleared) {
    auto const other = make<Thing>();
    done(11, OpCode::write, {Value::of(other)});
    EXPECT_EQ(other->refCount(), 2U);
    EXPECT_EQ(done(11, OpCode::read).object(), other);
    EXPECT_EQ(done(11, OpCode::del).object(), other) << "handed to the caller";
    EXPECT_EQ(thing_->next, nullptr);
    EXPECT_EQ(other->refCount(), 1U);
    done(11, OpCode::write, {Value::of(other)});
    done(11, OpCode::write, {Value::of(Ptr<Thing>())});
    EXPECT_EQ(other->refCount(), 1U);
}

TEST_F(GenericIfTest, APropertyIsWhatItsFunctionsSay) {
    done(12, OpCode::write, {number(9)});
    EXPECT_EQ(done(12, OpCode::read).text(), "9");
    EXPECT_EQ(done(13, OpCode::read).text(), "18");
    EXPECT_EQ(status(13, OpCode::write, {number(1)}), Status::notAccepted);
    EXPECT_EQ(status(12, OpCode::del), Status::notAccepted);
    Value const made = done(14, OpCode::write, {Value::of(true)});
    EXPECT_EQ(made.object(), thing_->next);
    EXPECT_TRUE(thing_->next->flag);
    EXPECT_EQ(done(14, OpCode::del).object(), made.object());
}

TEST_F(GenericIfTest, AMethodIsCalledWithItsArgumentsUnpacked) {
    std::vector<Value> const arguments = {Value::of(true), number(2), Value::of(std::uint64_t{3}),
                                          Value::of(String("four"))};
    EXPECT_EQ(done(20, OpCode::invoke, arguments).text(), "yes 2 3 four");
    EXPECT_EQ(status(20, OpCode::read), Status::notAccepted);
    EXPECT_EQ(thing_->calls, 1);
}

TEST_F(GenericIfTest, AComputedAttributeIsReadByInvoking) {
    EXPECT_EQ(done(19, OpCode::invoke).text(), "0");
    EXPECT_EQ(status(19, OpCode::read), Status::notAccepted);
}

TEST_F(GenericIfTest, AMapIsReadWrittenAndMeasured) {
    auto const child = make<Thing>();
    EXPECT_EQ(done(16, OpCode::capacity).text(), "0");
    EXPECT_EQ(done(16, OpCode::write, {key(1), Value::of(child)}).object(), child);
    EXPECT_EQ(done(16, OpCode::read, {key(1)}).object(), child);
    EXPECT_EQ(done(16, OpCode::index, {key(1)}).object(), child);
    EXPECT_TRUE(done(16, OpCode::read, {key(2)}).empty());
    EXPECT_THROW((void)status(16, OpCode::index, {key(2)}), BadOptionalAccess);
    EXPECT_EQ(done(16, OpCode::size).text(), "1");
    EXPECT_EQ(done(16, OpCode::capacity).text(), std::to_string(thing_->map.capacity()));
    EXPECT_EQ(done(16, OpCode::del, {key(1)}).object(), child);
    EXPECT_EQ(done(16, OpCode::del, {key(1)}).text(), "null");
    EXPECT_EQ(done(16, OpCode::size).text(), "0");
}

TEST_F(GenericIfTest, ASetTakesKeysWithTrueOrAlone) {
    done(17, OpCode::write, {key(1)});
    done(17, OpCode::write, {key(2), Value::of(true)});
    EXPECT_THROW((void)status(17, OpCode::write, {key(1), Value::of(false)}),
                 SetFalseValueException);
    EXPECT_THROW((void)status(17, OpCode::write, {key(3), number(1)}), TypeException);
    EXPECT_EQ(done(17, OpCode::size).text(), "2");
    EXPECT_EQ(done(17, OpCode::read, {key(1)}).text(), "true");
    EXPECT_EQ(done(17, OpCode::index, {key(1)}).text(), "true");
    EXPECT_EQ(done(17, OpCode::read, {key(3)}).text(), "false");
    EXPECT_THROW((void)status(17, OpCode::index, {key(3)}), BadOptionalAccess);
    done(17, OpCode::del, {key(1)});
    EXPECT_EQ(done(17, OpCode::read, {key(1)}).text(), "false");
}

TEST_F(GenericIfTest, ACollectionWithoutMutatorsIsOnlyRead) {
    thing_->childIs({1}, make<Thing>());
    EXPECT_EQ(status(18, OpCode::write, {key(2), Value::of(thing_)}), Status::notAccepted);
    EXPECT_EQ(status(18, OpCode::del, {key(1)}), Status::notAccepted);
    auto const walk = GenericIf::genericIfIterator(*thing_, 18);
    walk->iterDel();
    EXPECT_EQ(done(18, OpCode::size).text(), "1");
}

TEST_F(GenericIfTest, AWalkStandsAnyChange) {
    for (std::uint32_t i = 0; i < 20; ++i) {
        thing_->keyIs({i});
    }
    std::vector<std::string> visited;
    auto const walk = GenericIf::genericIfIterator(*thing_, 17);
    for (; walk->iterNonnull(); walk->iterInc()) {
        visited.push_back(walk->iterKey().text());
        EXPECT_EQ(walk->iterObj().text(), "true");
        walk->iterDel();
        EXPECT_TRUE(walk->iterObj().empty());
        EXPECT_EQ(walk->iterKey().text(), visited.back()) << "still the entry's key";
        if (visited.size() == 10) {
            for (std::uint32_t i = 100; i < 400; ++i) { // a rebuild
                thing_->keyIs({i});
            }
            for (std::uint32_t i = 100; i < 400; ++i) {
                thing_->keyDel({i});
            }
        }
    }
    EXPECT_EQ(visited.size(), 20U);
    EXPECT_EQ(done(17, OpCode::size).text(), "0");
}

TEST_F(GenericIfTest, OnlyACollectionIsWalked) {
    EXPECT_EQ(GenericIf::genericIfIterator(*thing_, 10), nullptr);
    EXPECT_EQ(GenericIf::genericIfIterator(*thing_, 99), nullptr);
    EXPECT_EQ(GenericIf::genericIfIterator(*make<Stranger>(), 16), nullptr);
    EXPECT_FALSE(GenericIf::genericIfIterator(*thing_, 16)->iterNonnull());
}

TEST_F(GenericIfTest, UnknownNumbersAndCodesDoNothing) {
    EXPECT_EQ(status(9, OpCode::read), Status::unknownAttribute);
    EXPECT_EQ(status(23, OpCode::invoke), Status::unknownAttribute);
    Operation read{OpCode::read, {}, {}};
    EXPECT_EQ(GenericIf::operate(*make<Stranger>(), 10, read), Status::unknownAttribute);
    for (int const wanted : {10, 11, 12, 13, 14, 16, 17, 18, 19, 20, 21, 22}) {
        for (int const code : {-1, 6, 7, 9, 11, 12}) {
            EXPECT_EQ(status(wanted, static_cast<OpCode>(code)), Status::notAccepted) << wanted;
        }
    }
    EXPECT_EQ(thing_->calls, 0);
}

TEST_F(GenericIfTest, AWrongNumberOfArgumentsIsATypeException) {
    Value const flag = Value::of(true);
    for (auto const code : {OpCode::read, OpCode::del}) {
        EXPECT_THROW((void)status(11, code, {flag}), TypeException);
        EXPECT_THROW((void)status(14, code, {flag}), TypeException);
    }
    for (auto const code : {OpCode::size, OpCode::capacity}) {
        EXPECT_THROW((void)status(16, code, {key(1)}), TypeException);
    }
    for (auto const code : {OpCode::read, OpCode::index, OpCode::del, OpCode::write}) {
        EXPECT_THROW((void)status(16, code), TypeException);
        EXPECT_THROW((void)status(17, code), TypeException);
    }
    EXPECT_THROW((void)status(10, OpCode::write), TypeException);
    EXPECT_THROW((void)status(19, OpCode::invoke, {flag}), TypeException);
    try {
        (void)status(20, OpCode::invoke, {flag});
        FAIL() << "it was called";
    } catch (TypeException const &error) {
        EXPECT_STREQ(error.what(), "GenericIfTest::Thing.join: wants 4 arguments, got 1");
    }
    EXPECT_EQ(thing_->calls, 0);
}

TEST_F(GenericIfTest, AValueOrObjectOfAnotherTypeIsATypeException) {
    EXPECT_THROW((void)status(10, OpCode::write, {number(1)}), TypeException);
    EXPECT_THROW((void)status(11, OpCode::write, {number(1)}), TypeException);
    try {
        (void)status(11, OpCode::write, {Value::of(make<Stranger>())});
        FAIL() << "a stranger was stored";
    } catch (TypeException const &error) {
        EXPECT_THAT(error.what(), HasSubstr("next: wants GenericIfTest::Thing, got GenericIfTest::"
                                            "Stranger"));
    }
    EXPECT_EQ(thing_->next, nullptr);
}

TEST_F(GenericIfTest, ANullPointerIsRefusedWhereNoneIsAllowed) {
    Value const null = Value::of(Ptr<Thing>());
    thing_->next = make<Thing>();
    EXPECT_THROW((void)status(15, OpCode::write, {null}), MutatorArgNullPointerException);
    EXPECT_THROW((void)status(21, OpCode::invoke, {null}), MutatorArgNullPointerException);
    EXPECT_NE(thing_->next, nullptr);
    auto const other = make<Thing>();
    done(21, OpCode::invoke, {Value::of(other)});
    EXPECT_EQ(thing_->next, other);
}

TEST_F(GenericIfTest, HoldsTheObjectUntilTheOperationReturns) {
    auto *const thing = thing_.get();
    bool outlived = false;
    thing->reaction = [this, thing, &outlived] {
        thing_ = nullptr;
        outlived = thing->refCount() == 1;
    };
    Operation run{OpCode::invoke, {}, {}};
    EXPECT_EQ(GenericIf::operate(*thing, 22, run), Status::done);
    EXPECT_TRUE(outlived);
}

TEST_F(GenericIfTest, AValueWithAttributesIsChangedInPlace) {
    Value pair = Value::of(Pair{true, 5});
    Value const copy = pair;
    Value const arguments[] = {number(7)};
    Operation write{OpCode::write, arguments, {}};
    EXPECT_EQ(GenericIf::operate(pair, 1, write), Status::done);
    EXPECT_EQ(pair.get<Pair>()->second, 7U);
    EXPECT_EQ(copy.get<Pair>()->second, 5U);
    Operation sum{OpCode::invoke, {}, {}};
    EXPECT_EQ(GenericIf::operate(pair, 2, sum), Status::done);
    EXPECT_EQ(sum.result.text(), "8");
    EXPECT_EQ(GenericIf::typeOf(pair), &pairTypeImpl);
}

TEST_F(GenericIfTest, AValueThatPointsToAnObjectIsOperatedOnAsTheObject) {
    Value target = Value::of(thing_);
    Operation read{OpCode::read, {}, {}};
    EXPECT_EQ(GenericIf::operate(target, 12, read), Status::done);
    EXPECT_EQ(read.result.text(), "5");
    EXPECT_EQ(GenericIf::typeOf(target), &thingType);
    for (Value nothing : {Value(), Value::of(Ptr<Thing>()), number(1)}) {
        EXPECT_EQ(GenericIf::typeOf(nothing), nullptr);
        EXPECT_EQ(GenericIf::operate(nothing, 12, read), Status::unknownAttribute);
    }
}

TEST_F(GenericIfTest, TheTypeAnswersForItsBaseByName) {
    EXPECT_TRUE(QorTypeBase::isDerived(thingType, "GenericIfTest::Base"));
    EXPECT_EQ(thingType.self(*thing_), thing_.get());
}

} // namespace
} // namespace Qor
