// What attributes hold, for people and as JSON. Everything goes through the generic interface:
// nothing here knows a type.
#pragma once

#include "platform/Qor/GenericIf.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace Agent {

/// Members stay in the order in which they were added.
using Json = nlohmann::ordered_json;

/// A value as JSON: flags and numbers as such, null for nothing and for a null pointer, all else by
/// its text.
[[nodiscard]] Json jsonOf(Qor::Value const &value);

/// One entry of a collection.
struct Entry {
    std::string key;
    bool isObject; ///< the key points to an object: its text is not its own
    Qor::Value value;
};

/// The rest of a walk in natural order of the keys: the collection's own order differs from run to
/// run.
[[nodiscard]] std::vector<Entry> entriesOf(Qor::GenericIterator &walk);

/// A collection that has nothing but keys.
[[nodiscard]] bool isSet(Qor::Attribute const &attribute);

/// Everything below a value that is data: collections and values, not pointers elsewhere. No entry
/// may lead back to where the tree began.
[[nodiscard]] Json treeOf(Qor::Value const &value);

/// Append a tree for people: one line a value or set, one level of indentation a step. Control
/// characters are escaped.
void appendTree(std::string &text, Json const &tree, std::size_t depth);

} // namespace Agent
