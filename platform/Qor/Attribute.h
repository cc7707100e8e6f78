// Attributes by number: the tables from which the generic interface comes.
//
// A type registers one table of Attribute descriptors. Each says number, name, kind and value
// types, and has one operation that takes an operation code. Everything generic (reading, writing,
// deleting, walking, invoking, listing) goes through these tables; see platform/Qor/GenericIf.h.
//
//     code  meaning                                          accepted by
//     0     read; of a collection, the entry of a key        stored, property, collection
//     1     write; of a collection, insert or replace        writable attributes, collection
//     2     delete; of a collection, the entry of a key      pointers, collection
//     3, 4  number of entries; capacity                      collection
//     5     the entry of a key, which must exist             collection
//     10    invoke a method, read a computed attribute       method, computed
//     11    build a value from its text                      key types
//
// A code that an attribute does not accept returns Status::notAccepted and does nothing. Misuse
// throws the runtime's typed exceptions before anything is changed: TypeException for a value of
// another type or a wrong number of arguments, MutatorArgNullPointerException for a null pointer
// where none is allowed, SetFalseValueException for writing false into a set, BadOptionalAccess for
// code 5 of an absent key.
//
// The builders below make one descriptor each, so an attribute is one line of a table:
//
//     constexpr Attribute table[] = {
//         stored<&ConfigSm::initialScanDone_>(163, "initialScanDone"),
//         method<&ConfigSm::handleInitialScanDone>(164, "handleInitialScanDone"),
#pragma once

#include "platform/Nuvio/Export.h"
#include "platform/Qor/Exceptions.h"
#include "platform/Qor/HashMap2018.h"
#include "platform/Qor/Optional.h"
#include "platform/Qor/Type.h"
#include "platform/Qor/Value.h"

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

namespace Qor {

enum class OpCode : int {
    read = 0,
    write = 1,
    del = 2,
    size = 3,
    capacity = 4,
    index = 5,
    invoke = 10,
    fromText = 11
};

enum class Status : int {
    done = 0,
    notAccepted = 1,     ///< the attribute does not take this code
    unknownAttribute = 2 ///< the type has no attribute of this number
};

enum class AttributeKind : std::uint8_t { value, pointer, collection, method, computed };

/// One operation: code and arguments go in, the result comes out.
struct Operation {
    OpCode code;
    std::span<Value const> arguments; ///< a collection's key comes first
    Value result;                     ///< empty when there is none, also for an absent entry
};

/// A walk over one collection, in the collection's own order. It stands any change of the
/// collection, and must not outlive the object.
class NUVIO_EXPORT GenericIterator {
  public:
    virtual ~GenericIterator() = default;
    /// Not at the end.
    [[nodiscard]] virtual bool iterNonnull() const = 0;
    /// Key of the entry. Requires: iterNonnull().
    [[nodiscard]] virtual Value iterKey() const = 0;
    /// Value of the entry; true for a set; nothing after the entry was deleted.
    [[nodiscard]] virtual Value iterObj() = 0;
    /// Step to the next entry. Requires: iterNonnull().
    virtual void iterInc() = 0;
    /// Delete the entry through the collection's remover; the walk goes on at the next iterInc().
    virtual void iterDel() = 0;
};

/// One attribute of one type.
struct Attribute {
    using Operate = Status (*)(Attribute const &attribute, TypeImpl const &type, void *object,
                               Operation &operation);
    using Iterate = std::unique_ptr<GenericIterator> (*)(void *object);

    static constexpr std::size_t maxArguments = 4;

    int number;
    std::string_view name;
    AttributeKind kind;
    ValueType const *valueType; ///< of the value, entry or result; null for none
    ValueType const *keyType;   ///< of a collection's keys; null for any other
    /// What a method, or the creator behind a pointer, is called with; null behind the last.
    std::array<ValueType const *, maxArguments> argumentTypes;
    bool writable;
    Operate operate;
    Iterate iterate; ///< null for what is no collection
};

namespace Impl {

NUVIO_EXPORT void needArguments(Attribute const &attribute, TypeImpl const &type,
                                Operation const &operation, std::size_t count);
[[noreturn]] NUVIO_EXPORT void wrongType(Attribute const &attribute, TypeImpl const &type,
                                         std::string_view expected, Value const &actual);
[[noreturn]] NUVIO_EXPORT void nullPointer(Attribute const &attribute, TypeImpl const &type,
                                           std::size_t argument);

template <class T> struct IsOptional : std::false_type {};
template <class T> struct IsOptional<Optional<T>> : std::true_type {};

/// The argument of that index as a T. Pointers are checked against the object's own type; where an
/// Optional is wanted, the value itself will do.
template <class T>
T argument(Attribute const &attribute, TypeImpl const &type, Operation const &operation,
           std::size_t index) {
    Value const &value = operation.arguments[index];
    if constexpr (IsPtr<T>::value) {
        using Object = std::remove_const_t<typename T::element_type>;
        ObjectPtr const object = value.object();
        if (!value.isObject() ||
            (object && !QorTypeBase::isDerived(object->fwkType().type(), Object::qorTypeName))) {
            wrongType(attribute, type, Object::qorTypeName, value);
        }
        return T(static_cast<Object *>(object.get()));
    } else {
        T const *const held = value.get<T>();
        if constexpr (IsOptional<T>::value) {
            if (!held) {
                using Inner = std::remove_cvref_t<decltype(*std::declval<T>())>;
                return T(argument<Inner>(attribute, type, operation, index));
            }
        }
        if (!held) {
            wrongType(attribute, type, ValueTraits<T>::name, value);
        }
        return *held;
    }
}

/// Refuse a null pointer among the arguments.
template <class... Parameters>
void needNoNull(Attribute const &attribute, TypeImpl const &type, Operation const &operation) {
    std::size_t index = 0;
    [[maybe_unused]] auto const check = [&](bool isPointer) {
        if (isPointer && !operation.arguments[index].object()) {
            nullPointer(attribute, type, index);
        }
        ++index;
    };
    (check(IsPtr<Parameters>::value), ...);
}

template <class Function> struct Signature;
template <class R, class C, class... P> struct Signature<R (C::*)(P...)> {
    using Class = C;
    using Result = std::remove_cvref_t<R>;
    using Parameters = std::tuple<std::remove_cvref_t<P>...>;
};
template <class R, class C, class... P>
struct Signature<R (C::*)(P...) const> : Signature<R (C::*)(P...)> {};
template <class R, class C, class... P>
struct Signature<R (C::*)(P...) noexcept> : Signature<R (C::*)(P...)> {};
template <class R, class C, class... P>
struct Signature<R (C::*)(P...) const noexcept> : Signature<R (C::*)(P...)> {};
template <class R, class C, class... P>
struct Signature<R (*)(C &, P...)> : Signature<R (C::*)(P...)> {};
template <class R, class C> struct Signature<R C::*> {
    using Class = C;
    using Result = R;
};

/// What an operation code calls: a member function or a free function whose first parameter is the
/// object, with its arguments unpacked and checked first.
template <auto Function> struct Call {
    using Types = Signature<decltype(Function)>;
    using Class = typename Types::Class;
    using Result = typename Types::Result;
    using Parameters = typename Types::Parameters;
    static constexpr std::size_t arity = std::tuple_size_v<Parameters>;

    static constexpr std::array<ValueType const *, Attribute::maxArguments> argumentTypes() {
        static_assert(arity <= Attribute::maxArguments);
        return []<std::size_t... I>(std::index_sequence<I...>) {
            return std::array<ValueType const *, Attribute::maxArguments>{
                &valueTypeOf<std::tuple_element_t<I, Parameters>>...};
        }
        (std::make_index_sequence<arity>());
    }
    static constexpr ValueType const *resultType() {
        if constexpr (std::is_void_v<Result>) {
            return nullptr;
        } else {
            return &valueTypeOf<Result>;
        }
    }
    static void invoke(Attribute const &attribute, TypeImpl const &type, void *object,
                       Operation &operation, bool nullAllowed) {
        needArguments(attribute, type, operation, arity);
        [&]<std::size_t... I>(std::index_sequence<I...>) {
            Parameters arguments{
                argument<std::tuple_element_t<I, Parameters>>(attribute, type, operation, I)...};
            if (!nullAllowed) {
                needNoNull<std::tuple_element_t<I, Parameters>...>(attribute, type, operation);
            }
            auto const call = [&]() -> decltype(auto) {
                auto &target = *static_cast<Class *>(object);
                if constexpr (std::is_member_function_pointer_v<decltype(Function)>) {
                    return (target.*Function)(std::get<I>(arguments)...);
                } else {
                    return Function(target, std::get<I>(arguments)...);
                }
            };
            if constexpr (std::is_void_v<Result>) {
                call();
            } else {
                operation.result = Value::of<Result>(call());
            }
        }
        (std::make_index_sequence<arity>());
    }
};

template <auto Member>
Status storedOperate(Attribute const &attribute, TypeImpl const &type, void *object,
                     Operation &operation) {
    using Types = Signature<decltype(Member)>;
    using Stored = typename Types::Result;
    auto &stored = static_cast<typename Types::Class *>(object)->*Member;
    switch (operation.code) {
    case OpCode::read:
        needArguments(attribute, type, operation, 0);
        operation.result = Value::of<Stored>(stored);
        return Status::done;
    case OpCode::write:
        needArguments(attribute, type, operation, 1);
        stored = argument<Stored>(attribute, type, operation, 0);
        return Status::done;
    case OpCode::del:
        if constexpr (IsPtr<Stored>::value) {
            needArguments(attribute, type, operation, 0);
            operation.result = Value::of<Stored>(std::exchange(stored, nullptr));
            return Status::done;
        }
        return Status::notAccepted;
    default:
        return Status::notAccepted;
    }
}

template <auto Read, auto Write, auto Del, bool NullAllowed>
Status propertyOperate(Attribute const &attribute, TypeImpl const &type, void *object,
                       Operation &operation) {
    switch (operation.code) {
    case OpCode::read:
        Call<Read>::invoke(attribute, type, object, operation, NullAllowed);
        return Status::done;
    case OpCode::write:
        if constexpr (!std::is_null_pointer_v<decltype(Write)>) {
            Call<Write>::invoke(attribute, type, object, operation, NullAllowed);
            return Status::done;
        }
        return Status::notAccepted;
    case OpCode::del:
        if constexpr (!std::is_null_pointer_v<decltype(Del)>) {
            Call<Del>::invoke(attribute, type, object, operation, NullAllowed);
            return Status::done;
        }
        return Status::notAccepted;
    default:
        return Status::notAccepted;
    }
}

template <auto Function, bool NullAllowed>
Status invokeOperate(Attribute const &attribute, TypeImpl const &type, void *object,
                     Operation &operation) {
    if (operation.code != OpCode::invoke) {
        return Status::notAccepted;
    }
    Call<Function>::invoke(attribute, type, object, operation, NullAllowed);
    return Status::done;
}

template <class T> void *selfOf(PtrInterface &object) noexcept {
    return static_cast<T *>(&object);
}

} // namespace Impl

/// The registration of object type T: T::qorTypeName, and the table T::qorAttributes().
template <std::derived_from<PtrInterface> T>
constexpr TypeImpl typeOf(QorTypeBase const *base = nullptr) {
    return TypeImpl(T::qorTypeName, base, T::qorAttributes, Impl::selfOf<T>);
}

/// The numbers of a table grow: none stands for two attributes.
template <std::size_t Size> constexpr bool numbersGrow(Attribute const (&table)[Size]) {
    for (std::size_t i = 1; i < Size; ++i) {
        if (table[i - 1].number >= table[i].number) {
            return false;
        }
    }
    return true;
}

// Builders. `Read`, `Write` and so on are members of the type, or free functions whose first
// parameter is the object.

/// A data member: codes 0 and 1, and 2 for a pointer.
template <auto Member> constexpr Attribute stored(int number, std::string_view name) {
    using Stored = typename Impl::Signature<decltype(Member)>::Result;
    return {number,
            name,
            Impl::IsPtr<Stored>::value ? AttributeKind::pointer : AttributeKind::value,
            &valueTypeOf<Stored>,
            nullptr,
            {&valueTypeOf<Stored>},
            true,
            Impl::storedOperate<Member>,
            nullptr};
}

/// Codes 0, 1 (where Write is given) and 2 (where Del is given), each through its function. With
/// NullAllowed the writer takes null pointers.
template <auto Read, auto Write = nullptr, auto Del = nullptr, bool NullAllowed = true>
constexpr Attribute property(int number, std::string_view name) {
    using Result = typename Impl::Call<Read>::Result;
    Attribute attribute{number,
                        name,
                        Impl::IsPtr<Result>::value ? AttributeKind::pointer : AttributeKind::value,
                        &valueTypeOf<Result>,
                        nullptr,
                        {},
                        false,
                        Impl::propertyOperate<Read, Write, Del, NullAllowed>,
                        nullptr};
    if constexpr (!std::is_null_pointer_v<decltype(Write)>) {
        attribute.argumentTypes = Impl::Call<Write>::argumentTypes();
        attribute.writable = true;
    }
    return attribute;
}

/// Code 10 reads it.
template <auto Read> constexpr Attribute computed(int number, std::string_view name) {
    return {number,
            name,
            AttributeKind::computed,
            Impl::Call<Read>::resultType(),
            nullptr,
            {},
            false,
            Impl::invokeOperate<Read, true>,
            nullptr};
}

/// Code 10 calls it. With NullAllowed it takes null pointers.
template <auto Function, bool NullAllowed = true>
constexpr Attribute method(int number, std::string_view name) {
    return {number,
            name,
            AttributeKind::method,
            Impl::Call<Function>::resultType(),
            nullptr,
            Impl::Call<Function>::argumentTypes(),
            false,
            Impl::invokeOperate<Function, NullAllowed>,
            nullptr};
}

namespace Impl {

/// The collection that Map (a data member, or a function of the object) leads to.
template <auto Map> struct MapOf {
    using Types = Signature<decltype(Map)>;
    using Class = typename Types::Class;
    using Type = std::remove_cvref_t<typename Types::Result>;
    using Key = typename Type::Key;
    static constexpr bool isSet = Impl::isSet<typename Type::Node>;

    static Type const &get(void *object) {
        auto const &owner = *static_cast<Class *>(object);
        if constexpr (std::is_member_object_pointer_v<decltype(Map)>) {
            return owner.*Map;
        } else {
            return (owner.*Map)();
        }
    }
    static Value valueOf(typename Type::Node const &node) {
        if constexpr (isSet) {
            return Value::of(true);
        } else {
            return Value::of<std::remove_cvref_t<decltype(node.value())>>(node.value());
        }
    }
    static constexpr ValueType const *valueType() {
        if constexpr (isSet) {
            return &valueTypeOf<bool>;
        } else {
            using Node = typename Type::Node;
            return &valueTypeOf<
                std::remove_cvref_t<decltype(std::declval<Node const &>().value())>>;
        }
    }
};

template <auto Map, auto Remove> class CollectionIterator final : public GenericIterator {
  public:
    using Collection = MapOf<Map>;

    explicit CollectionIterator(void *object)
        : object_(object), position_(Collection::get(object).iterator()) {}

    [[nodiscard]] bool iterNonnull() const override { return bool(position_); }
    [[nodiscard]] Value iterKey() const override {
        return Value::of<typename Collection::Key>(position_.key());
    }
    [[nodiscard]] Value iterObj() override {
        auto const *const node = position_.node();
        return node ? Collection::valueOf(*node) : Value();
    }
    void iterInc() override { position_.advance(); }
    void iterDel() override {
        if constexpr (!std::is_null_pointer_v<decltype(Remove)>) {
            auto &owner = *static_cast<typename Collection::Class *>(object_);
            (owner.*Remove)(position_.key());
        }
    }

  private:
    void *object_;
    typename Collection::Type::Iterator position_;
};

template <auto Map>
Status lookUp(Attribute const &attribute, TypeImpl const &type, void *object,
              Operation &operation) {
    needArguments(attribute, type, operation, 1);
    using Collection = MapOf<Map>;
    auto const key = argument<typename Collection::Key>(attribute, type, operation, 0);
    using Traits = KeyTraits<typename Collection::Key>;
    auto const *const node = Collection::get(object).lookupNodeG(Traits::view(key));
    if (node) {
        operation.result = Collection::valueOf(*node);
    } else if (operation.code == OpCode::index) {
        throwBadOptionalAccess();
    } else if constexpr (Collection::isSet) {
        operation.result = Value::of(false);
    }
    return Status::done;
}

/// A set takes the key, or the key and true.
template <auto Insert>
void insertKey(Attribute const &attribute, TypeImpl const &type, void *object,
               Operation &operation) {
    if (operation.arguments.size() == 2) {
        if (!argument<bool>(attribute, type, operation, 1)) {
            throwSetFalseValueException(type, attribute.name);
        }
        Operation keyOnly{OpCode::write, operation.arguments.first(1), {}};
        Call<Insert>::invoke(attribute, type, object, keyOnly, true);
        return;
    }
    Call<Insert>::invoke(attribute, type, object, operation, true);
}

template <auto Map, auto Insert, auto Remove>
Status collectionOperate(Attribute const &attribute, TypeImpl const &type, void *object,
                         Operation &operation) {
    constexpr bool writable = !std::is_null_pointer_v<decltype(Insert)>;
    switch (operation.code) {
    case OpCode::read:
    case OpCode::index:
        return lookUp<Map>(attribute, type, object, operation);
    case OpCode::size:
        needArguments(attribute, type, operation, 0);
        operation.result = Value::of(MapOf<Map>::get(object).size());
        return Status::done;
    case OpCode::capacity:
        needArguments(attribute, type, operation, 0);
        operation.result = Value::of(MapOf<Map>::get(object).capacity());
        return Status::done;
    case OpCode::write:
        if constexpr (writable && MapOf<Map>::isSet) {
            insertKey<Insert>(attribute, type, object, operation);
            return Status::done;
        } else if constexpr (writable) {
            Call<Insert>::invoke(attribute, type, object, operation, true);
            return Status::done;
        }
        return Status::notAccepted;
    case OpCode::del:
        if constexpr (writable) {
            Call<Remove>::invoke(attribute, type, object, operation, true);
            return Status::done;
        }
        return Status::notAccepted;
    default:
        return Status::notAccepted;
    }
}

} // namespace Impl

/// A collection: codes 0 to 5, of which 1 and 2 only where Insert and Remove are given. Insert's
/// parameters are what code 1 takes; Remove takes the key.
template <auto Map, auto Insert = nullptr, auto Remove = nullptr>
constexpr Attribute collection(int number, std::string_view name) {
    Attribute attribute{number,
                        name,
                        AttributeKind::collection,
                        Impl::MapOf<Map>::valueType(),
                        &valueTypeOf<typename Impl::MapOf<Map>::Key>,
                        {},
                        false,
                        Impl::collectionOperate<Map, Insert, Remove>,
                        [](void *object) -> std::unique_ptr<GenericIterator> {
                            return std::make_unique<Impl::CollectionIterator<Map, Remove>>(object);
                        }};
    if constexpr (!std::is_null_pointer_v<decltype(Insert)>) {
        attribute.argumentTypes = Impl::Call<Insert>::argumentTypes();
        attribute.writable = true;
    }
    return attribute;
}

} // namespace Qor
