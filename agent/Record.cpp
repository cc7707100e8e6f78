#include "agent/Record.h"

#include "agent/Error.h"
#include "agent/JsonText.h"
#include "agent/VlanNumber.h"

#include <limits>

namespace Agent {
namespace {

/// The value if it is a whole number that fits.
std::optional<std::int64_t> integerOf(nlohmann::json const &value) {
    if (!value.is_number_integer()) {
        return std::nullopt;
    }
    if (value.is_number_unsigned() &&
        value.get<std::uint64_t>() > std::numeric_limits<std::int64_t>::max()) {
        return std::nullopt;
    }
    return value.get<std::int64_t>();
}

} // namespace

nlohmann::json const *Record::find(char const *member) const {
    auto const found = object_->find(member);
    return found == object_->end() ? nullptr : &*found;
}

nlohmann::json const *Record::findIf(char const *member) const {
    nlohmann::json const *const value = find(member);
    return value && !value->is_null() ? value : nullptr;
}

nlohmann::json const &Record::required(char const *member, std::string_view expected) const {
    nlohmann::json const *const value = find(member);
    if (!value) {
        fail(member, fmt::format("expected {}, but the member is missing", expected));
    }
    return *value;
}

std::string const &Record::name(char const *member) const {
    nlohmann::json const &value = required(member, "a name");
    if (!value.is_string() || value.get_ref<std::string const &>().empty()) {
        failExpecting(member, "a name");
    }
    return value.get_ref<std::string const &>();
}

bool Record::boolean(char const *member) const {
    if (!required(member, "true or false").is_boolean()) {
        failExpecting(member, "true or false");
    }
    return find(member)->get<bool>();
}

std::int64_t Record::integer(char const *member, std::int64_t min, std::int64_t max,
                             std::string_view what) const {
    auto const value = integerOf(required(member, what));
    if (!value || *value < min || *value > max) {
        failExpecting(member, what);
    }
    return *value;
}

std::uint16_t Record::vlan(char const *member) const {
    return static_cast<std::uint16_t>(
        integer(member, firstVlan, lastVlan, "a VLAN number from 1 to 4094"));
}

void Record::needVersion(std::int64_t supported) const {
    std::string const expected = fmt::format("version {} of the format", supported);
    static_cast<void>(integer("version", supported, supported, expected));
}

std::string const *Record::stringIf(char const *member) const {
    nlohmann::json const *const value = findIf(member);
    if (value && !value->is_string()) {
        failExpecting(member, "a string");
    }
    return value ? value->get_ptr<std::string const *>() : nullptr;
}

std::optional<std::int64_t> Record::integerIf(char const *member) const {
    nlohmann::json const *const value = findIf(member);
    if (!value) {
        return std::nullopt;
    }
    auto const number = integerOf(*value);
    if (!number) {
        failExpecting(member, "a whole number");
    }
    return number;
}

std::optional<Record> Record::recordIf(char const *member) const {
    nlohmann::json const *const value = findIf(member);
    if (!value) {
        return std::nullopt;
    }
    if (!value->is_object()) {
        failExpecting(member, "an object");
    }
    Record inner(*value, *origin_, value->empty());
    inner.suffix_ = suffix_ + "." + member;
    return inner;
}

void Record::stringsIf(char const *member,
                       std::function<void(std::string const &)> const &each) const {
    nlohmann::json const *const values = findIf(member);
    if (values && !values->is_array()) {
        failExpecting(member, "an array of strings");
    }
    for (std::size_t i = 0; values && i < values->size(); ++i) {
        if (!(*values)[i].is_string()) {
            fail(fmt::format("{}[{}]", member, i),
                 "expected a string, found " + quote((*values)[i]));
        }
        each((*values)[i].get_ref<std::string const &>());
    }
}

void Record::fail(std::string_view member, std::string_view message) const {
    Agent::fail("{}: {}.{}: {}", origin_->file, path(), member, message);
}

void Record::failExpecting(char const *member, std::string_view expected) const {
    fail(member, fmt::format("expected {}, found {}", expected, quote(*find(member))));
}

} // namespace Agent
