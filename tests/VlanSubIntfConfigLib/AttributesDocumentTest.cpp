// docs/ATTRIBUTES.md and the type tables say the same, in both directions; so do its example and
// the one that is compiled here.
#include "tests/VlanSubIntfConfigLib/Reflected.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace VlanSubIntfConfigLib {
namespace {

using TestSupport::Reflected;
using World = TestSupport::ReflectedWorld;

std::vector<std::string> linesOf(std::string const &path) {
    std::ifstream in(PROJECT_SOURCE_DIR_FOR_TESTS + path);
    EXPECT_TRUE(in) << path;
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::string trimmed(std::string const &text) {
    auto const begin = text.find_first_not_of(' ');
    auto const end = text.find_last_not_of(' ');
    return begin == std::string::npos ? "" : text.substr(begin, end - begin + 1);
}

std::vector<std::string> split(std::string const &text, char separator) {
    std::vector<std::string> parts;
    std::istringstream in(text);
    for (std::string part; std::getline(in, part, separator);) {
        parts.push_back(trimmed(part));
    }
    return parts;
}

/// One row of a table, with the marks of its words as code taken off.
struct Row {
    std::string number;
    std::string name;
    std::string kind;
    std::string value;
    /// By code, the arguments that stand behind it; none when no parentheses do.
    std::map<int, std::optional<std::string>> codes;
};

std::map<int, std::optional<std::string>> codesOf(std::string const &cell) {
    std::map<int, std::optional<std::string>> codes;
    for (std::string const &item : split(cell, ';')) {
        std::optional<std::string> arguments;
        if (auto const open = item.find('('); open != std::string::npos) {
            EXPECT_EQ(item.back(), ')') << item;
            arguments = item.substr(open + 1, item.size() - open - 2);
        }
        bool const isNew = codes.emplace(std::stoi(item), arguments).second;
        EXPECT_TRUE(isNew) << cell;
    }
    return codes;
}

/// The rows of the tables by the type that heads their section.
std::map<std::string, std::vector<Row>> documentedTypes() {
    std::map<std::string, std::vector<Row>> types;
    std::vector<Row> *section = nullptr;
    bool inTable = false;
    for (std::string line : linesOf("/docs/ATTRIBUTES.md")) {
        std::erase(line, '`');
        if (line.starts_with("## ")) {
            bool const isType = line.find("::") != std::string::npos;
            section = isType ? &types[line.substr(3)] : nullptr;
            EXPECT_TRUE(!section || section->empty()) << "two sections: " << line;
        } else if (line == "| number | name | kind | value | codes |") {
            inTable = true;
        } else if (!line.starts_with('|')) {
            inTable = false;
        } else if (section && inTable && !line.starts_with("|-")) {
            auto const cells = split(line, '|');
            EXPECT_EQ(cells.size(), 6U) << line;
            section->push_back(
                {cells.at(1), cells.at(2), cells.at(3), cells.at(4), codesOf(cells.at(5))});
        }
    }
    return types;
}

std::string kindOf(Qor::Attribute const &attribute) {
    static constexpr char const *words[] = {"value", "pointer", "collection", "method", "computed"};
    return words[static_cast<std::size_t>(attribute.kind)];
}

bool isSet(Qor::Attribute const &attribute) {
    return attribute.keyType && attribute.valueType == &Qor::valueTypeOf<bool>;
}

std::string valueOf(Qor::Attribute const &attribute) {
    std::string const value(attribute.valueType ? attribute.valueType->name : "-");
    if (!attribute.keyType) {
        return value;
    }
    std::string const key(attribute.keyType->name);
    return isSet(attribute) ? "set of " + key : key + " to " + value;
}

std::string argumentsOf(Qor::Attribute const &attribute) {
    std::string names;
    for (Qor::ValueType const *const type : attribute.argumentTypes) {
        if (type) {
            names += (names.empty() ? "" : ", ") + std::string(type->name);
        }
    }
    return names;
}

/// What a code takes where the document says nothing.
std::string defaultArguments(Qor::Attribute const &attribute, int code) {
    if (code != 1) {
        return "";
    }
    return std::string((isSet(attribute) ? attribute.keyType : attribute.valueType)->name);
}

/// The codes that an attribute takes: those that find fault with the arguments.
std::set<int> acceptedCodes(Reflected &at, int number) {
    Reflected::Arguments const tooMany(Qor::Attribute::maxArguments + 1, Qor::Value::of(true));
    std::set<int> accepted;
    for (int const code : TestSupport::probedCodes) {
        if (at.operate(number, code, tooMany).name == "TypeException") {
            accepted.insert(code);
        }
    }
    return accepted;
}

void expectSame(Row const &row, Qor::Attribute const &attribute, Reflected &at) {
    SCOPED_TRACE(std::string(at.type().name()) + '.' + row.name);
    EXPECT_EQ(row.number, std::to_string(attribute.number));
    EXPECT_EQ(row.name, attribute.name);
    EXPECT_EQ(row.kind, kindOf(attribute));
    EXPECT_EQ(row.value, valueOf(attribute));
    std::set<int> documented;
    for (auto const &[code, arguments] : row.codes) {
        documented.insert(code);
        if (code == 1 || code == 10) {
            EXPECT_EQ(arguments.value_or(defaultArguments(attribute, code)), argumentsOf(attribute))
                << "code " << code;
        } else {
            EXPECT_EQ(arguments.value_or("string"), "string") << "code " << code;
        }
    }
    EXPECT_EQ(documented, acceptedCodes(at, attribute.number));
}

class AttributesDocument : public TestSupport::CensusTest {
  protected:
    ~AttributesDocument() override { Osk::TaskSchedulerRoot::schedulerDelForTest(); }
};

TEST_F(AttributesDocument, ListsTheTypesThatHaveAttributesAndNoOther) {
    std::vector<std::string> registered;
    for (Qor::Module const *const module : Qor::modules()) {
        for (Qor::TypeImpl const *const type : module->types) {
            if (!type->attributes().empty()) {
                registered.emplace_back(type->name());
            }
        }
    }
    std::vector<std::string> documented;
    for (auto const &[type, rows] : documentedTypes()) {
        documented.push_back(type);
    }
    EXPECT_THAT(documented, testing::UnorderedElementsAreArray(registered));
}

TEST_F(AttributesDocument, ListsEveryAttributeAsItsTableHasIt) {
    World const world;
    for (auto const &[type, rows] : documentedTypes()) {
        Reflected at = world.first(type);
        auto const table = at.type().attributes();
        ASSERT_EQ(rows.size(), table.size()) << type;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            expectSame(rows[i], table[i], at);
        }
    }
}

TEST_F(AttributesDocument, ItsExampleIsCompiledAndDoesWhatItSays) {
    World const world;
    auto const &machine = world.machine;
    machine->inputSmScanState()->idleIs(false);
    // example begin
    // Read a flag of the machine's scan state, mark it, and ask for all VLANs that have a machine.
    Qor::Operation readState{Qor::OpCode::read, {}, {}};
    Qor::GenericIf::operate(*machine, 133, readState);
    Qor::ObjectPtr const state = readState.result.object();

    Qor::Value const arguments[] = {Qor::Value::of(true)};
    Qor::Operation writeIdle{Qor::OpCode::write, arguments, {}};
    Qor::Status const status = Qor::GenericIf::operate(*state, 133, writeIdle);

    Qor::Operation readVlans{Qor::OpCode::read, {}, {}};
    Qor::GenericIf::operate(*machine, 136, readVlans);
    Qor::ObjectPtr const vlans = readVlans.result.object();
    std::string walked;
    auto const walk = Qor::GenericIf::genericIfIterator(*vlans, 265);
    for (; walk->iterNonnull(); walk->iterInc()) {
        walked += walk->iterKey().text() + ' ' + walk->iterObj().text() + '\n';
    }
    // example end
    EXPECT_EQ(status, Qor::Status::done);
    EXPECT_TRUE(machine->inputSmScanState()->idle());
    std::string const childType = " VlanSubIntfConfigLib::DovraCode::ConfigSm::IntfSm1";
    EXPECT_THAT(split(walked, '\n'),
                testing::UnorderedElementsAre("100" + childType, "200" + childType));
}

/// The lines between the first that is `begin` and the next that is `end`, trimmed.
std::vector<std::string> between(std::vector<std::string> const &lines, std::string const &begin,
                                 std::string const &end) {
    auto const is = [](std::string const &wanted) {
        return [wanted](std::string const &line) { return trimmed(line) == wanted; };
    };
    auto const first = std::ranges::find_if(lines, is(begin));
    EXPECT_NE(first, lines.end()) << begin;
    std::vector<std::string> inside;
    for (auto it = first; it != lines.end() && ++it != lines.end() && !is(end)(*it);) {
        inside.push_back(trimmed(*it));
    }
    return inside;
}

TEST_F(AttributesDocument, ItsExampleIsTheOneAbove) {
    auto const documented = between(linesOf("/docs/ATTRIBUTES.md"), "```cpp", "```");
    EXPECT_GT(documented.size(), 10U);
    EXPECT_EQ(documented, between(linesOf("/tests/VlanSubIntfConfigLib/AttributesDocumentTest.cpp"),
                                  "// example begin", "// example end"));
}

} // namespace
} // namespace VlanSubIntfConfigLib
