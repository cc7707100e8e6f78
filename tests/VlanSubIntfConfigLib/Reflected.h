// What the reflection tests share: an object or key seen through its numbers alone, and a machine
// from which everything that has numbers can be reached.
//
// A Reflected holds a target and operates on it by number and code; arguments are Values, or texts
// that are read with the types of the attribute's table:
//
//     Reflected const root(Qor::Value::of(machine));
//     root.write(158, {Qor::Value::of(scheduler)});
//     EXPECT_EQ(root.text(163), "false");
//     Reflected(root.read(136)).call(266, {"100"});
#pragma once

#include "platform/Qor/GenericIf.h"
#include "tests/support/MachineFixture.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <deque>
#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace TestSupport {

/// Every code that means something, and some that mean nothing.
inline constexpr int probedCodes[] = {-1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 256};
inline constexpr int meaningfulCodes[] = {0, 1, 2, 3, 4, 5, 10, 11};

/// What came of an operation: "done", "notAccepted", "unknownAttribute", or the exception's type.
struct Outcome {
    std::string name;
    std::string message; ///< of an exception
    Qor::Value result;
    /// Another outcome than expected says why.
    friend std::ostream &operator<<(std::ostream &out, Outcome const &outcome) {
        return out << outcome.name << ' ' << outcome.message << ", result "
                   << outcome.result.text();
    }
};

class Reflected {
  public:
    using Argument = std::variant<Qor::Value, char const *>;
    using Arguments = std::vector<Argument>;

    explicit Reflected(Qor::Value target) : target_(std::move(target)) {}
    template <class T>
    explicit Reflected(Qor::Ptr<T> const &object) : Reflected(Qor::Value::of(object)) {}

    [[nodiscard]] Qor::Value const &target() const { return target_; }
    [[nodiscard]] Qor::PtrInterface &object() const { return *target_.object(); }
    [[nodiscard]] Qor::TypeImpl const &type() const { return *Qor::GenericIf::typeOf(target_); }

    /// Any operation; never throws.
    [[nodiscard]] Outcome operate(int number, int code, Arguments const &arguments = {}) {
        std::vector<Qor::Value> const values = valuesOf(number, code, arguments);
        Qor::Operation operation{static_cast<Qor::OpCode>(code), values, {}};
        try {
            static constexpr char const *statuses[] = {"done", "notAccepted", "unknownAttribute"};
            auto const status = Qor::GenericIf::operate(target_, number, operation);
            return {statuses[static_cast<std::size_t>(status)], "", operation.result};
        } catch (Qor::TypeException const &error) {
            return {"TypeException", error.what(), operation.result};
        } catch (Qor::MutatorArgNullPointerException const &error) {
            return {"MutatorArgNullPointerException", error.what(), operation.result};
        } catch (Qor::MutatorReinstantiatingException const &error) {
            return {"MutatorReinstantiatingException", error.what(), operation.result};
        } catch (Qor::SetFalseValueException const &error) {
            return {"SetFalseValueException", error.what(), operation.result};
        } catch (Qor::BadOptionalAccess const &error) {
            return {"BadOptionalAccess", error.what(), operation.result};
        } catch (Qor::RangeException const &error) {
            return {"RangeException", error.what(), operation.result};
        }
    }

    // Operations that must succeed; each returns the result.

    Qor::Value done(int number, int code, Arguments const &arguments = {}) {
        Outcome const outcome = operate(number, code, arguments);
        EXPECT_EQ(outcome.name, "done")
            << "attribute " << number << " code " << code << ": " << outcome.message;
        return outcome.result;
    }
    Qor::Value read(int number, Arguments const &key = {}) { return done(number, 0, key); }
    Qor::Value write(int number, Arguments const &arguments = {}) {
        return done(number, 1, arguments);
    }
    Qor::Value del(int number, Arguments const &key = {}) { return done(number, 2, key); }
    Qor::Value call(int number, Arguments const &arguments = {}) {
        return done(number, 10, arguments);
    }
    std::string text(int number, Arguments const &key = {}) { return read(number, key).text(); }
    std::string size(int number) { return done(number, 3).text(); }
    /// What an attribute points to, or the entry of a key.
    [[nodiscard]] Reflected at(int number, Arguments const &key = {}) {
        return Reflected(read(number, key));
    }

    /// The keys of a collection as texts, in the order of the walk.
    [[nodiscard]] std::vector<std::string> keys(int number) const {
        std::vector<std::string> texts;
        auto const walk = Qor::GenericIf::genericIfIterator(object(), number);
        for (; walk->iterNonnull(); walk->iterInc()) {
            texts.push_back(walk->iterKey().text());
        }
        return texts;
    }

    friend bool operator==(Reflected const &a, Reflected const &b) {
        return a.target_.object() == b.target_.object();
    }

  private:
    /// Null where the attribute takes no such argument.
    [[nodiscard]] Qor::ValueType const *argumentType(int number, int code,
                                                     std::size_t index) const {
        Qor::Attribute const *const described = Qor::GenericIf::attribute(type(), number);
        if (code == 11 || !described) {
            return code == 11 ? &Qor::valueTypeOf<Qor::String> : nullptr;
        }
        bool const fromTable = code == 1 || code == 10;
        return fromTable ? described->argumentTypes.at(index) : described->keyType;
    }
    [[nodiscard]] std::vector<Qor::Value> valuesOf(int number, int code,
                                                   Arguments const &arguments) const {
        std::vector<Qor::Value> values;
        for (Argument const &argument : arguments) {
            if (auto const *const value = std::get_if<Qor::Value>(&argument)) {
                values.push_back(*value);
            } else if (auto const *const wanted = argumentType(number, code, values.size())) {
                values.push_back(Qor::Value::parse(*wanted, std::get<char const *>(argument)));
            } else {
                ADD_FAILURE() << "attribute " << number << " code " << code << ": no type to read "
                              << std::get<char const *>(argument);
            }
        }
        return values;
    }

    Qor::Value target_;
};

/// Everything with attributes that can be reached from `start`, each object once, in a fixed order.
inline std::vector<Reflected> reachable(Qor::Value const &start) {
    std::vector<Reflected> found;
    std::deque<Qor::Value> waiting{start};
    std::set<Qor::PtrInterface const *> known;
    auto const visit = [&waiting](Qor::Value value) {
        if (Qor::GenericIf::typeOf(value)) {
            waiting.push_back(std::move(value));
        }
    };
    for (; !waiting.empty(); waiting.pop_front()) {
        Qor::ObjectPtr const object = waiting.front().object();
        if (object && !known.insert(object.get()).second) {
            continue;
        }
        Reflected at(waiting.front());
        found.push_back(at);
        for (Qor::Attribute const &attribute : at.type().attributes()) {
            if (attribute.kind == Qor::AttributeKind::collection) {
                auto const walk = Qor::GenericIf::genericIfIterator(at.object(), attribute.number);
                for (; walk->iterNonnull(); walk->iterInc()) {
                    visit(walk->iterKey());
                    visit(walk->iterObj());
                }
            } else if (attribute.kind != Qor::AttributeKind::method) {
                bool const isComputed = attribute.kind == Qor::AttributeKind::computed;
                visit(at.done(attribute.number, isComputed ? 10 : 0));
            }
        }
    }
    return found;
}

/// A value as a text in which objects have an identity.
inline std::string identified(Qor::Value const &value) {
    Qor::ObjectPtr const object = value.object();
    return object ? value.text() + '#' + std::to_string(object->creationSerial()) : value.text();
}

/// All that the interface shows of what can be reached from `start`, one line an attribute or
/// entry: equal before and after an operation that changes nothing.
inline std::vector<std::string> stateOf(Qor::Value const &start) {
    std::vector<std::string> lines;
    for (Reflected &at : reachable(start)) {
        std::string const owner = identified(at.target()) + '.';
        for (Qor::Attribute const &attribute : at.type().attributes()) {
            std::string const name = owner + std::string(attribute.name) + ": ";
            if (attribute.kind == Qor::AttributeKind::collection) {
                auto const walk = Qor::GenericIf::genericIfIterator(at.object(), attribute.number);
                for (; walk->iterNonnull(); walk->iterInc()) {
                    lines.push_back(name + identified(walk->iterKey()) + " -> " +
                                    identified(walk->iterObj()));
                }
            } else if (attribute.kind != Qor::AttributeKind::method) {
                bool const isComputed = attribute.kind == Qor::AttributeKind::computed;
                lines.push_back(name + identified(at.done(attribute.number, isComputed ? 10 : 0)));
            }
        }
    }
    return lines;
}

/// A ready machine over two VLANs and a LAG, from which an object of every type with attributes can
/// be reached: one subinterface is marked as seen.
class ReflectedWorld {
  public:
    ReflectedWorld() {
        bridging->vlanConfigIs(Bridging::VlanId(100))
            ->intfIs(po10sub, {true, false, Bridging::AllowedTrafficDirection::both});
        bridging->vlanConfigIs(Bridging::VlanId(200))->intfIs(et4sub, {});
        lagMapping->lagPhyIntfConfigIs(po10)->phyIntfIs(
            et1, Lag::EthPhyIntfLagConfig::EthPhyIntfLagConfigIs());
        scheduler->shareIs(std::make_unique<Osk::UnlimitedShare>());
        Quam::SmControl control;
        control.schedulerIs(scheduler);
        machine = VlanSubIntfConfigLib::configSmFactory(bridging, lagMapping, dir, control);
        scheduler->runUntilIdle();
        EXPECT_TRUE(machine->ready());
        machine->vlanSubIntfConfigDirConfigIntfOutputSeenIs(
            {Bridging::VlanId(100), po10sub, true, true});
        machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenIs(subIntf())->seenIs(
            {et1, true});
    }

    [[nodiscard]] Qor::Ptr<VlanSubIntfConfigLib::VlanSubIntf> subIntf() const {
        return *(*dir->config(Bridging::VlanId(100)))->intf(po10sub);
    }
    [[nodiscard]] Qor::Value root() const { return Qor::Value::of(machine); }
    /// The first object, or key, of that type that can be reached.
    [[nodiscard]] Reflected first(std::string_view typeName) const {
        for (Reflected const &at : reachable(root())) {
            if (at.type().name() == typeName) {
                return at;
            }
        }
        ADD_FAILURE() << typeName << " cannot be reached";
        return Reflected(Qor::Value());
    }

    Iftel::IntfId po10{"PortChannel10"};
    Iftel::IntfId po10sub{"PortChannel10.100"};
    Iftel::IntfId et1{"Ethernet1"};
    Iftel::IntfId et4sub{"Ethernet4.20"};
    Qor::Ptr<Bridging::Config> bridging = Bridging::Config::ConfigIs();
    Qor::Ptr<Lag::LagPhyIntfMapping> lagMapping = Lag::LagPhyIntfMapping::LagPhyIntfMappingIs();
    Qor::Ptr<VlanSubIntfConfigLib::VlanSubIntfConfigDir> dir =
        VlanSubIntfConfigLib::VlanSubIntfConfigDir::VlanSubIntfConfigDirIs();
    Qor::Ptr<Osk::TaskScheduler> scheduler = Osk::TaskScheduler::TaskSchedulerIs();
    Qor::Ptr<VlanSubIntfConfigLib::ConfigSm> machine;
};

} // namespace TestSupport
