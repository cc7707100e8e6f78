// Type descriptors and modules.
//
// A module is one library's table of the types that it registers with the runtime; a type is known
// by its module and its index in that table. fwkType() of an object answers this pair, so that
// generic code can name the type and ask what it derives from. Descriptors are constants with
// static storage: pointers to them stay valid for ever.
#pragma once

#include "platform/Nuvio/Export.h"

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace Qor {

/// A type's name and its base type.
class NUVIO_EXPORT QorTypeBase {
  public:
    constexpr QorTypeBase(std::string_view typeName, QorTypeBase const *baseType = nullptr) noexcept
        : name_(typeName), base_(baseType) {}

    [[nodiscard]] constexpr std::string_view name() const noexcept { return name_; }
    [[nodiscard]] constexpr QorTypeBase const *base() const noexcept { return base_; }

    /// True when `type` is `ancestor` or derives from it.
    static bool isDerived(QorTypeBase const &type, QorTypeBase const &ancestor) noexcept;
    /// The same for the ancestor of that name.
    static bool isDerived(QorTypeBase const &type, std::string_view ancestor) noexcept;

  private:
    std::string_view name_;
    QorTypeBase const *base_;
};

struct Attribute;
class PtrInterface;

/// A type as it registers: with its attributes, see platform/Qor/Attribute.h.
class NUVIO_EXPORT TypeImpl : public QorTypeBase {
  public:
    /// The type's attributes in the order of their numbers, without its base's.
    using Attributes = std::span<Attribute const> (*)() noexcept;
    /// The object as what the operations of its attributes take.
    using Self = void *(*)(PtrInterface &object) noexcept;

    constexpr TypeImpl(std::string_view typeName, QorTypeBase const *baseType = nullptr,
                       Attributes ownAttributes = nullptr, Self ownSelf = nullptr) noexcept
        : QorTypeBase(typeName, baseType), attributes_(ownAttributes), self_(ownSelf) {}

    [[nodiscard]] std::span<Attribute const> attributes() const noexcept;
    /// Requires: the type has attributes, and `object` is of this type.
    [[nodiscard]] void *self(PtrInterface &object) const noexcept { return self_(object); }

  private:
    Attributes attributes_;
    Self self_;
};

/// One library's type table; a type's index in it is its framework kind.
struct Module {
    std::string_view name;
    std::span<TypeImpl const *const> types;
};

/// What fwkType() answers.
struct FwkType {
    Module const *module;
    std::uint16_t kind; ///< index in module->types

    [[nodiscard]] TypeImpl const &type() const noexcept { return *module->types[kind]; }
    friend bool operator==(FwkType const &, FwkType const &) = default;
};

/// Register a module; each library does it once, at load time. Returns true, for the initialiser of
/// a static flag.
NUVIO_EXPORT bool qorModuleIs(Module const &module);

/// The registered modules in order of registration.
NUVIO_EXPORT std::vector<Module const *> const &modules();

} // namespace Qor
