#include "agent/AttributeView.h"

#include "agent/AttributePath.h"
#include "agent/JsonText.h"
#include "agent/NaturalOrder.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>

namespace Agent {

using Qor::AttributeKind;
using Qor::Value;

Json jsonOf(Value const &value) {
    if (value.empty() || (value.isObject() && !value.object())) {
        return nullptr;
    }
    if (auto const *const flag = value.get<bool>()) {
        return *flag;
    }
    if (auto const *const number = value.get<std::uint32_t>()) {
        return *number;
    }
    if (auto const *const number = value.get<std::uint64_t>()) {
        return *number;
    }
    return value.text();
}

std::vector<Entry> entriesOf(Qor::GenericIterator &walk) {
    std::vector<Entry> entries;
    for (; walk.iterNonnull(); walk.iterInc()) {
        Value const key = walk.iterKey();
        entries.push_back({key.text(), key.isObject(), walk.iterObj()});
    }
    std::ranges::stable_sort(entries, naturallyBefore, &Entry::key);
    return entries;
}

bool isSet(Qor::Attribute const &attribute) {
    return attribute.kind == AttributeKind::collection &&
           attribute.valueType->name == Qor::ValueTraits<bool>::name;
}

Json treeOf(Value const &value) {
    auto const *const type = Qor::GenericIf::typeOf(value);
    if (!type) {
        return jsonOf(value);
    }
    Json tree = Json::object();
    for (Qor::Attribute const &attribute : type->attributes()) {
        std::string const name(attribute.name);
        if (attribute.kind == AttributeKind::collection) {
            auto const walk = Qor::GenericIf::genericIfIterator(*value.object(), attribute.number);
            Json entries = isSet(attribute) ? Json::array() : Json::object();
            for (Entry const &entry : entriesOf(*walk)) {
                if (isSet(attribute)) {
                    entries.push_back(entry.key);
                } else {
                    entries[entry.key] = treeOf(entry.value);
                }
            }
            tree[name] = std::move(entries);
        } else if (attribute.kind == AttributeKind::value) {
            tree[name] = jsonOf(readStep({value, &attribute, std::nullopt, name}));
        }
    }
    return tree;
}

void appendTree(std::string &text, Json const &tree, std::size_t depth) {
    for (auto const &[name, value] : tree.items()) {
        text.append(2 * depth, ' ');
        text += printable(name);
        if (value.is_object()) {
            text += '\n';
            appendTree(text, value, depth + 1);
            continue;
        }
        text += ':';
        if (value.is_array()) {
            for (Json const &key : value) {
                text += ' ' + printable(key.get<std::string>());
            }
        } else {
            text += ' ' + (value.is_string() ? printable(value.get<std::string>()) : value.dump());
        }
        text += '\n';
    }
}

} // namespace Agent
