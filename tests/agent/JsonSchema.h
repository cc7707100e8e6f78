// As much of JSON Schema as the project's schemas use. A keyword that it does not know throws, so a
// schema cannot say anything that is not checked.
#pragma once

#include <nlohmann/json.hpp>

#include <algorithm>
#include <stdexcept>
#include <string>

namespace Agent {

class JsonSchema {
  public:
    explicit JsonSchema(nlohmann::json root) : root_(std::move(root)) {}

    [[nodiscard]] bool accepts(nlohmann::json const &value) const { return accepts(root_, value); }

  private:
    using Json = nlohmann::json;

    [[nodiscard]] bool accepts(Json const &schema, Json const &value) const {
        return std::all_of(schema.items().begin(), schema.items().end(), [&](auto const &item) {
            return acceptsKeyword(schema, item.key(), item.value(), value);
        });
    }

    [[nodiscard]] bool acceptsKeyword(Json const &schema, std::string const &keyword,
                                      Json const &rule, Json const &value) const {
        if (keyword == "$schema" || keyword == "title" || keyword == "description" ||
            keyword == "$defs" || keyword == "then" || keyword == "else") {
            return true; // for people, or looked at by another keyword
        }
        if (keyword == "type") {
            return acceptsType(rule, value);
        }
        if (keyword == "const") {
            return value == rule;
        }
        if (keyword == "enum") {
            return std::find(rule.begin(), rule.end(), value) != rule.end();
        }
        if (keyword == "minimum" || keyword == "maximum") {
            return !value.is_number() || (keyword == "minimum" ? value >= rule : value <= rule);
        }
        if (keyword == "minLength") {
            return !value.is_string() ||
                   value.get_ref<std::string const &>().size() >= rule.get<std::size_t>();
        }
        return acceptsStructure(schema, keyword, rule, value);
    }

    [[nodiscard]] bool acceptsStructure(Json const &schema, std::string const &keyword,
                                        Json const &rule, Json const &value) const {
        if (keyword == "required") {
            return !value.is_object() ||
                   std::all_of(rule.begin(), rule.end(), [&](Json const &name) {
                       return value.contains(name.get_ref<std::string const &>());
                   });
        }
        if (keyword == "properties") {
            return !value.is_object() ||
                   std::all_of(rule.items().begin(), rule.items().end(), [&](auto const &property) {
                       return !value.contains(property.key()) ||
                              accepts(property.value(), value[property.key()]);
                   });
        }
        if (keyword == "items") {
            return !value.is_array() ||
                   std::all_of(value.begin(), value.end(),
                               [&](Json const &element) { return accepts(rule, element); });
        }
        if (keyword == "if") {
            char const *const branch = accepts(rule, value) ? "then" : "else";
            return !schema.contains(branch) || accepts(schema[branch], value);
        }
        if (keyword == "not") {
            return !accepts(rule, value);
        }
        if (keyword == "$ref") {
            std::string const pointer = rule.get<std::string>().substr(1);
            return accepts(root_.at(Json::json_pointer(pointer)), value);
        }
        throw std::logic_error("unknown keyword " + keyword);
    }

    [[nodiscard]] static bool acceptsType(std::string const &type, Json const &value) {
        return (type == "object" && value.is_object()) || (type == "array" && value.is_array()) ||
               (type == "string" && value.is_string()) ||
               (type == "boolean" && value.is_boolean()) ||
               (type == "integer" && value.is_number_integer());
    }

    Json root_;
};

} // namespace Agent
