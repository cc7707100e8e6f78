// One object of a JSON document, as a JsonReader hands it out: typed reading of its members, where
// everything that is not as it must be throws an Error with file, path and value:
//
//     vlans.json: $[3].vlans[2].vlanEnd: expected a VLAN number from 1 to 4094, found 5000
//
// It borrows from the reader and is valid during the handler's call only.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace Agent {

/// Where records come from.
struct RecordOrigin {
    std::string file;
    /// Path of the record that is being handed out.
    std::function<std::string()> path;
};

class Record {
  public:
    /// `empty`: the object in the document has no member at all, not even one that is not kept.
    Record(nlohmann::json const &object, RecordOrigin const &origin, bool empty)
        : object_(&object), origin_(&origin), empty_(empty) {}

    [[nodiscard]] bool empty() const noexcept { return empty_; }
    [[nodiscard]] bool has(char const *member) const { return find(member) != nullptr; }

    // Required members.

    /// A string that is not empty.
    [[nodiscard]] std::string const &name(char const *member) const;
    [[nodiscard]] bool boolean(char const *member) const;
    /// A whole number in that range; `what` says what it is, for the message.
    [[nodiscard]] std::int64_t integer(char const *member, std::int64_t min, std::int64_t max,
                                       std::string_view what) const;
    /// A VLAN number.
    [[nodiscard]] std::uint16_t vlan(char const *member) const;
    /// Throws unless the member "version" is `supported`.
    void needVersion(std::int64_t supported) const;
    /// Requires the member; its value does not matter.
    void need(char const *member) const { static_cast<void>(required(member, "a value")); }

    // Members that may be missing or null.

    [[nodiscard]] std::string const *stringIf(char const *member) const;
    [[nodiscard]] std::optional<std::int64_t> integerIf(char const *member) const;
    [[nodiscard]] std::optional<Record> recordIf(char const *member) const;
    /// Call `each` for every string of an array of strings.
    void stringsIf(char const *member, std::function<void(std::string const &)> const &each) const;

    // Failing.

    /// The path of the record in its document.
    [[nodiscard]] std::string path() const { return origin_->path() + suffix_; }
    /// Throw an Error about a member.
    [[noreturn]] void fail(std::string_view member, std::string_view message) const;
    /// Throw an Error that says what was expected of a member, and quotes what stands there.
    [[noreturn]] void failExpecting(char const *member, std::string_view expected) const;

  private:
    [[nodiscard]] nlohmann::json const *find(char const *member) const;
    [[nodiscard]] nlohmann::json const *findIf(char const *member) const;
    [[nodiscard]] nlohmann::json const &required(char const *member,
                                                 std::string_view expected) const;

    nlohmann::json const *object_;
    RecordOrigin const *origin_;
    std::string suffix_; ///< path from the reader's record to this one
    bool empty_;
};

} // namespace Agent
