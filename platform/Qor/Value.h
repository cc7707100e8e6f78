// A value whose type is known only while the program runs: what the generic interface passes
// around.
//
// A Value holds a copy of one C++ value, or a counted reference on an object, or nothing. Its
// ValueType gives the type's name and its text form both ways, so a tool can print and enter values
// of types that it was not compiled with. Pointers to objects of every type are one kind of value;
// an object's own type is what its fwkType() says. Constness is not carried: the tables of
// attributes say what may be written.
//
// A type joins by specialising ValueTraits: name, text() and, where it can be entered, parse(),
// which throws RangeException.
#pragma once

#include "platform/Nuvio/Export.h"
#include "platform/Nuvio/String.h"
#include "platform/Qor/Exceptions.h"
#include "platform/Qor/Optional.h"
#include "platform/Qor/PtrInterface.h"
#include "platform/Qor/Text.h"

#include <algorithm>
#include <any>
#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace Qor {

/// Name and text form of a type of values.
struct ValueType {
    std::string_view name;
    std::string (*text)(std::any const &value);
    /// Null for a type that has no text to be read from.
    std::any (*parse)(std::string_view text);
    /// The attributes of a value type that has some; null for any other.
    TypeImpl const *(*attributes)();
    /// The value itself inside `value`.
    void *(*address)(std::any &value);
};

template <class T> struct ValueTraits;

using ObjectPtr = Ptr<PtrInterface>;

namespace Impl {

template <class T> struct IsPtr : std::false_type {};
template <class T> struct IsPtr<Ptr<T>> : std::true_type {};

template <class T>
concept Enterable = requires(std::string_view text) {
    ValueTraits<T>::parse(text);
};

template <class T>
concept WithAttributes = requires {
    ValueTraits<T>::attributes();
};

/// "Optional<...>", so that a message tells an optional value from the value itself.
template <class T>
inline constexpr auto optionalName = [] {
    constexpr std::string_view head = "Optional<";
    constexpr std::string_view inner = ValueTraits<T>::name;
    std::array<char, head.size() + inner.size() + 1> joined{};
    *std::ranges::copy(inner, std::ranges::copy(head, joined.begin()).out).out = '>';
    return joined;
}();

template <class T> std::string textOf(std::any const &value) {
    return ValueTraits<T>::text(*std::any_cast<T>(&value));
}
template <class T> std::any parsed(std::string_view text) {
    return std::any(ValueTraits<T>::parse(text));
}
template <class T> void *addressOf(std::any &value) {
    return std::any_cast<T>(&value);
}
template <class T> TypeImpl const *attributesOf() {
    return &ValueTraits<T>::attributes();
}
template <class T> constexpr ValueType makeValueType() {
    using Held = std::conditional_t<IsPtr<T>::value, ObjectPtr, T>;
    ValueType type{ValueTraits<T>::name, textOf<Held>, nullptr, nullptr, addressOf<Held>};
    if constexpr (Enterable<Held>) {
        type.parse = parsed<Held>;
    }
    if constexpr (WithAttributes<T>) {
        type.attributes = attributesOf<T>;
    }
    return type;
}

} // namespace Impl

/// The type of values of C++ type T. A pointer's type has the name of what it may point to.
template <class T> inline constexpr ValueType valueTypeOf = Impl::makeValueType<T>();

class NUVIO_EXPORT Value {
  public:
    /// Nothing.
    Value() = default;
    /// A copy of `value`, or a reference on the object that it points to.
    template <class T> [[nodiscard]] static Value of(T const &value) {
        Value result;
        result.type_ = &valueTypeOf<T>;
        if constexpr (Impl::IsPtr<T>::value) {
            using Object = std::remove_const_t<typename T::element_type>;
            result.any_ = ObjectPtr(const_cast<Object *>(value.get()));
        } else {
            result.any_ = value;
        }
        return result;
    }
    /// The value of that type with that text; throws RangeException, also for a type without text.
    [[nodiscard]] static Value parse(ValueType const &type, std::string_view text);

    [[nodiscard]] bool empty() const noexcept { return !any_.has_value(); }
    /// Null for nothing.
    [[nodiscard]] ValueType const *type() const noexcept { return type_; }
    /// "-" for nothing.
    [[nodiscard]] std::string text() const;

    /// The value as a T that is no pointer; null when it is none.
    template <class T> [[nodiscard]] T const *get() const noexcept {
        return std::any_cast<T>(&any_);
    }
    /// Address of the value inside; valid as long as this Value. Requires: not empty().
    [[nodiscard]] void *address() { return type_->address(any_); }
    /// Whether it holds a pointer, null included.
    [[nodiscard]] bool isObject() const noexcept { return get<ObjectPtr>() != nullptr; }
    /// The object; null for a null pointer and for what is no pointer.
    [[nodiscard]] ObjectPtr object() const noexcept {
        auto const *const held = get<ObjectPtr>();
        return held ? *held : nullptr;
    }

  private:
    ValueType const *type_ = nullptr;
    std::any any_;
};

// The runtime's own types.

template <> struct NUVIO_EXPORT ValueTraits<bool> {
    static constexpr std::string_view name = "bool";
    static std::string text(bool value) { return value ? "true" : "false"; }
    static bool parse(std::string_view text);
};
template <> struct NUVIO_EXPORT ValueTraits<std::uint32_t> {
    static constexpr std::string_view name = "uint32";
    static std::string text(std::uint32_t value) { return std::to_string(value); }
    static std::uint32_t parse(std::string_view text);
};
template <> struct NUVIO_EXPORT ValueTraits<std::uint64_t> {
    static constexpr std::string_view name = "uint64";
    static std::string text(std::uint64_t value) { return std::to_string(value); }
    static std::uint64_t parse(std::string_view text);
};
template <> struct ValueTraits<String> {
    static constexpr std::string_view name = "string";
    static std::string text(String const &value) { return std::string(value.view()); }
    static String parse(std::string_view text) { return {text}; }
};
/// Prints as its type's name, or "null". The only pointer that can be entered is null.
template <> struct NUVIO_EXPORT ValueTraits<ObjectPtr> {
    static constexpr std::string_view name = "object";
    static std::string text(ObjectPtr const &value);
    static ObjectPtr parse(std::string_view text);
};
template <class T> struct ValueTraits<Ptr<T>> {
    static constexpr std::string_view name = T::qorTypeName;
};
template <class T> struct ValueTraits<Optional<T>> {
    static constexpr std::string_view name{Impl::optionalName<T>.data(),
                                           Impl::optionalName<T>.size()};
    static std::string text(Optional<T> const &value) {
        if (!value) {
            return "None";
        }
        if constexpr (Impl::IsPtr<T>::value) {
            return Value::of(*value).text();
        } else {
            return ValueTraits<T>::text(*value);
        }
    }
    static Optional<T>
    parse(std::string_view text) requires Impl::Enterable<T> || Impl::IsPtr<T>::value {
        if (text == "None") {
            return {};
        }
        if constexpr (Impl::IsPtr<T>::value) {
            ValueTraits<ObjectPtr>::parse(text);
            return T();
        } else {
            return ValueTraits<T>::parse(text);
        }
    }
};

} // namespace Qor
