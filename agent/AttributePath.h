// Paths to attributes: how an operator names what is inside a machine.
//
//     136/265/[100]/266
//     vlanConfigSm0/childSm/[100]/handleIntf
//
// From an object, each step names an attribute by number or name; [key] behind a collection names
// one of its entries, by the text of its key or, as [@path], by the value that this other path from
// the same object leads to. A key ends at the bracket before the next slash or the end, [@path] at
// the bracket that closes it. The empty path is the object itself; a slash may begin or end any
// path. Everything goes through the generic interface: nothing here knows a type.
#pragma once

#include "platform/Qor/GenericIf.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Agent {

/// One attribute of one object or value on the way, with the entry's key where one is named.
struct PathStep {
    Qor::Value owner;
    Qor::Attribute const *attribute;
    std::optional<Qor::Value> key;
    std::string path; ///< the path up to here, printable
};

/// A path that was followed: every step but the last has been read.
class AttributePath {
  public:
    /// How deep [@path] may stand inside [@path]; each level takes a piece of the stack.
    static constexpr std::size_t deepestKey = 16;

    /// Follow `path` from `root`. Throws an Error that names the step that leads nowhere.
    AttributePath(Qor::Value root, std::string_view path)
        : AttributePath(std::move(root), path, 0) {}

    /// The path names the object that it starts from.
    [[nodiscard]] bool isRoot() const noexcept { return steps_.empty(); }
    /// Requires: not isRoot().
    [[nodiscard]] PathStep const &last() const noexcept { return steps_.back(); }

    /// The path names a collection, not one of its entries.
    [[nodiscard]] bool isCollection() const noexcept {
        return !isRoot() && last().attribute->keyType && !last().key;
    }

    /// Throws an Error when it does not.
    void needCollection() const;

    /// The value at the end: the object itself, an attribute's value, or an entry. Throws an Error
    /// for a method, a whole collection, and an entry that is not there.
    [[nodiscard]] Qor::Value read() const;
    /// Do one operation on the last attribute; the key comes before `arguments`. A value that was
    /// changed inside another attribute's value is written back to that. Throws an Error for a code
    /// that is not accepted.
    Qor::Value operate(Qor::OpCode code, std::vector<Qor::Value> arguments);
    /// A walk over the collection at the end. Throws an Error when it is none.
    [[nodiscard]] std::unique_ptr<Qor::GenericIterator> walk() const;

  private:
    AttributePath(Qor::Value root, std::string_view path, std::size_t depth);
    void addStep(Qor::Value owner, std::string_view name, std::string path);
    void addKey(std::string_view text, std::string path);
    Qor::Value operateAt(std::size_t step, Qor::OpCode code, std::vector<Qor::Value> arguments);

    Qor::Value root_;
    std::size_t depth_; ///< of keys around this path
    std::vector<PathStep> steps_;
};

/// Read one attribute's value, or one entry. Throws an Error as AttributePath::read() does.
[[nodiscard]] Qor::Value readStep(PathStep const &step);

/// The type of the attributes of the value at `path`. Throws an Error when it is null or has none.
[[nodiscard]] Qor::TypeImpl const &attributedTypeOf(Qor::Value const &value, std::string_view path);

/// The name of a value's type as the interface knows it.
[[nodiscard]] std::string typeNameOf(Qor::Value const &value);

} // namespace Agent
