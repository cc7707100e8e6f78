// What explain() says, as scripts with their expected text: tests/scenarios/explain/*.txt.
//
//     # What the script shows.
//     lag bond0 eth1 eth2                a LAG of the mapping, with its members
//     sub bond0.100 bond0                a subinterface; without a parent: of one that is not known
//     plain eth9
//     member 100 bond0.100 untagged pvid both
//     earlier 100 bond0.100 eth9         an entry of an earlier run, with its members
//     fact link 7, vlan 100 on bond0     what the source says
//     > bond0.100 100
//
// The machine comes up at the first line behind "> ", which is an interface and perhaps a VLAN; the
// lines after it are the explanation, or behind "! " the message of an Error. "by-hand 100
// bond0.100" between them takes an entry out of the directory. A word with blanks stands in quotes.
// With UPDATE_SCENARIOS=1 in the environment the scripts are rewritten as they went.
#include "agent/service/Explain.h"

#include "agent/Error.h"
#include "agent/Members.h"
#include "tests/agent/TempDir.h"
#include "tests/agent/service/MachineSite.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

namespace Agent {
namespace {

std::string const folder = std::string(PROJECT_SOURCE_DIR_FOR_TESTS) + "/tests/scenarios/explain/";

using Words = std::vector<std::string>;

Words wordsOf(std::string const &line) {
    std::istringstream in(line);
    Words words;
    for (std::string word; in >> std::quoted(word);) {
        words.push_back(word);
    }
    return words;
}

class ExplainTest : public MachineSite {
  protected:
    [[nodiscard]] nlohmann::json document(std::string const &intf,
                                          std::optional<std::uint16_t> vlanId = {}) const {
        auto const vlan = vlanId ? std::optional(Bridging::VlanId(*vlanId)) : std::nullopt;
        auto const result = explain(inputs, *dir, kept, intf, vlan, facts);
        // As it comes out of the socket.
        return nlohmann::json::parse(result.dump());
    }
    [[nodiscard]] std::string text(std::string const &intf,
                                   std::optional<std::uint16_t> vlanId = {}) const {
        return explanationText(document(intf, vlanId));
    }

    std::vector<std::string> facts;
};

class ExplainScenarioTest : public ExplainTest, public testing::WithParamInterface<std::string> {
  protected:
    /// The script as it goes.
    std::string replay(std::string const &script) {
        std::string actual;
        std::istringstream lines(script);
        for (std::string line; std::getline(lines, line);) {
            bool const isCommand = line.starts_with("> ");
            if (isCommand || machine == nullptr || line.starts_with("by-hand ")) {
                actual += line + '\n';
            }
            if (isCommand) {
                actual += command(wordsOf(line.substr(2)));
            } else if (!line.empty() && !line.starts_with("#")) {
                prepare(line);
            }
        }
        return actual;
    }

  private:
    std::string command(Words const &words) {
        if (!machine) {
            startReady();
            noteKept();
        }
        try {
            return words.size() == 1 ? text(words[0]) : text(words[0], number(words[1]));
        } catch (Error const &error) {
            return std::string("! ") + error.what() + '\n';
        }
    }
    void prepare(std::string const &line) {
        Words const words = wordsOf(line);
        if (words[0] == "fact") {
            facts.push_back(line.substr(5));
        } else if (words[0] == "lag") {
            lagIs(words);
        } else if (words[0] == "plain") {
            link(words.at(1).c_str());
        } else if (words[0] == "sub") {
            subLink(words.at(1).c_str(), words.size() > 2 ? id(words[2]) : Iftel::IntfId());
        } else if (words[0] == "member") {
            memberIs(words);
        } else if (words[0] == "earlier") {
            earlierIs(words);
        } else if (words[0] == "by-hand") {
            dir->configIs(Bridging::VlanId(number(words.at(1))))->intfDel(id(words.at(2)));
        } else {
            ASSERT_NE(machine, nullptr) << "unknown line: " << line;
        }
    }
    void lagIs(Words const &words) {
        auto const config = lagMapping->lagPhyIntfConfigIs(lagLink(words.at(1).c_str()));
        for (std::size_t i = 2; i < words.size(); ++i) {
            config->phyIntfIs(link(words[i].c_str()), nullptr);
        }
    }
    void memberIs(Words const &words) {
        Bridging::VlanPortConfig config{words.at(3) == "tagged", words.at(4) == "pvid", none};
        config.allowedTrafficDirection = directionOf(words.back()).value();
        vlan(number(words[1]))->intfIs(id(words[2]), config);
    }
    void earlierIs(Words const &words) {
        auto const entry =
            dir->configIs(Bridging::VlanId(number(words.at(1))))->intfIs(id(words.at(2)));
        for (std::size_t i = 3; i < words.size(); ++i) {
            entry->lagPhyIntfIs(link(words[i].c_str()));
        }
    }
    static std::uint16_t number(std::string const &word) {
        return static_cast<std::uint16_t>(std::stoul(word));
    }
};

std::vector<std::string> scenarios() {
    std::vector<std::string> names;
    for (auto const &file : std::filesystem::directory_iterator(folder)) {
        names.push_back(file.path().stem().string());
    }
    std::ranges::sort(names);
    return names;
}

TEST_P(ExplainScenarioTest, GoesAsWritten) {
    std::string const path = folder + GetParam() + ".txt";
    std::string const expected = readFile(path);
    std::string const actual = replay(expected);
    ASSERT_NE(machine, nullptr) << "no command";
    if (std::getenv("UPDATE_SCENARIOS")) {
        std::ofstream(path, std::ios::binary) << actual;
    } else {
        EXPECT_EQ(actual, expected);
    }
}

INSTANTIATE_TEST_SUITE_P(All, ExplainScenarioTest, testing::ValuesIn(scenarios()),
                         [](auto const &scenario) {
                             std::string name = scenario.param;
                             std::ranges::replace(name, '-', '_');
                             return name;
                         });

TEST_F(ExplainTest, TheDocumentHasTheFormThatIsDescribed) {
    auto const bond = lagLink("bond0");
    subLink("bond0.100", bond);
    lagMapping->lagPhyIntfConfigIs(bond)->phyIntfIs(link("eth1"), nullptr);
    vlan(100)->intfIs(id("bond0.100"), {true, true, both});
    facts = {"link 7"};
    startReady();
    auto const json = document("bond0.100");
    EXPECT_EQ(json["intf"], "bond0.100");
    EXPECT_EQ(json["is"], nlohmann::json::parse(
                              R"({"kind": "subinterface", "parent": "bond0", "memberOf": []})"));
    EXPECT_EQ(json["source"], nlohmann::json::parse(R"(["link 7"])"));
    EXPECT_EQ(json["otherVlans"], "");
    EXPECT_FALSE(json.contains("lag"));
    ASSERT_EQ(json["vlans"].size(), 1U);
    auto const &part = json["vlans"][0];
    EXPECT_EQ(part["vlan"], 100);
    EXPECT_EQ(part["derived"], true);
    EXPECT_EQ(part["agrees"], true);
    EXPECT_EQ(part["kept"], nlohmann::json::array());
    EXPECT_FALSE(part.contains("clear"));
    EXPECT_EQ(part["steps"].size(), 15U);
    EXPECT_EQ(part["steps"][1],
              nlohmann::json::parse(
                  R"j({"line": 29, "statement": "filter( SubIntfId::isSubIntfId( intfId ) )",
                      "outcome": "passed", "values": "intfId=bond0.100: a subinterface of bond0"
})j"));
    EXPECT_EQ(part["inputs"], nlohmann::json::parse(
                                  R"([{"row": "bridgingConfig.vlanConfig[100].intf[bond0.100]",
                       "tagOnEgress": true, "pvid": true, "allowedTrafficDirection": "both"},
                      {"row": "lagPhyIntfMapping.lagPhyIntfConfig[bond0].phyIntf[eth1]"}])"));
    EXPECT_EQ(part["directory"],
              nlohmann::json::parse(R"({"tagOnEgress": true, "allowedTrafficDirection": "both",
                                        "lagPhyIntf": ["eth1"]})"));
}

std::string documentation() {
    return readFile(std::string(PROJECT_SOURCE_DIR_FOR_TESTS) + "/docs/explain.md");
}

TEST_F(ExplainTest, TheExampleOfTheDocumentationIsAsItSays) {
    subLink("eth5.100", link("eth5"));
    vlan(100)->intfIs(id("eth5.100"), {});
    facts = {"link 9, vlan 100 on eth5, port of br0"};
    startReady();
    EXPECT_THAT(documentation(), testing::HasSubstr("```\n" + text("eth5.100") + "```\n"));
}

TEST_F(ExplainTest, TheDocumentationShowsHowKeptMembersAreListed) {
    auto const bond = lagLink("bond0");
    lagMapping->lagPhyIntfConfigIs(bond);
    subLink("bond0.100", bond);
    vlan(100)->intfIs(id("bond0.100"), {false, true, both});
    auto const entry = dir->configIs(Bridging::VlanId(100))->intfIs(id("bond0.100"));
    entry->lagPhyIntfIs(link("eth9"));
    entry->lagPhyIntfIs(link("eth10"));
    startReady();
    noteKept();
    std::string const shown = text("bond0.100");
    EXPECT_THAT(documentation(),
                testing::HasSubstr("```\n" + shown.substr(shown.find("  directory:")) + "```\n"));
}

TEST_F(ExplainTest, OfManyVlansTheFirstAreExplainedAndTheOthersNamed) {
    for (std::uint16_t number = 1; number <= 20; ++number) {
        member(number, "Ethernet1.10");
    }
    member(4094, "Ethernet1.10");
    auto const json = document("Ethernet1.10");
    EXPECT_EQ(json["vlans"].size(), maxExplainedVlans);
    EXPECT_EQ(json["vlans"][0]["vlan"], 1);
    EXPECT_EQ(json["otherVlans"], "17-20 4094");
    EXPECT_THAT(explanationText(json),
                testing::EndsWith("\nAlso in VLANs 17-20 4094: ask for one of them.\n"));
}

TEST_F(ExplainTest, AnEntryWithoutMembershipIsExplainedToo) {
    stale(100, "Ethernet1.10");
    auto const json = document("Ethernet1.10");
    ASSERT_EQ(json["vlans"].size(), 1U);
    EXPECT_EQ(json["vlans"][0]["derived"], false);
    EXPECT_EQ(json["vlans"][0]["agrees"], false);
}

TEST_F(ExplainTest, ADirectoryThatDiffersInAnyPartDoesNotAgree) {
    lagMember("PortChannel1", "Ethernet1");
    member(100, "PortChannel1.10", {true, both});
    startReady();
    auto const agrees = [&] {
        return document("PortChannel1.10", std::uint16_t{100})["vlans"][0]["agrees"].get<bool>();
    };
    auto const entry = dir->configIs(Bridging::VlanId(100))->intf(id("PortChannel1.10")).value();
    EXPECT_TRUE(agrees());
    entry->tagOnEgressIs(false);
    EXPECT_FALSE(agrees());
    entry->tagOnEgressIs(true);
    entry->allowedTrafficDirectionIs(none);
    EXPECT_FALSE(agrees());
    entry->allowedTrafficDirectionIs(both);
    entry->lagPhyIntfIs(id("Ethernet2"));
    EXPECT_FALSE(agrees());
    entry->lagPhyIntfDel(id("Ethernet2"));
    EXPECT_TRUE(agrees());
    entry->lagPhyIntfDel(id("Ethernet1"));
    EXPECT_FALSE(agrees());
}

TEST_F(ExplainTest, ControlCharactersOfNamesDoNotReachATerminal) {
    auto const bond = lagLink("b\x1b[2J");
    subLink("b\x1b[2J.1\xff", bond);
    lagMapping->lagPhyIntfConfigIs(bond)->phyIntfIs(link("e\n1"), nullptr);
    vlan(100)->intfIs(id("b\x1b[2J.1\xff"), {});
    facts = {"link 7\x1b[2J\xff"};
    startReady();
    std::string const shown = text("b\x1b[2J.1\xff") + text("b\x1b[2J");
    for (char const c : shown) {
        EXPECT_TRUE(c == '\n' || static_cast<unsigned char>(c) >= ' ') << static_cast<int>(c);
    }
    EXPECT_THAT(shown, testing::HasSubstr("intf[b\\u001b[2J.1\xEF\xBF\xBD] = untagged"));
    EXPECT_THAT(shown, testing::HasSubstr("members e\\n1\n"));
    EXPECT_THAT(shown, testing::HasSubstr("link 7\\u001b[2J\xEF\xBF\xBD\n"));
    EXPECT_EQ(document("b\x1b[2J")["intf"], "b\x1b[2J");
}

TEST_F(ExplainTest, TheWayToClearKeptMembersIsQuotedForAShell) {
    auto const bond = lagLink("b 0");
    lagMapping->lagPhyIntfConfigIs(bond);
    subLink("b 0.1", bond);
    vlan(100)->intfIs(id("b 0.1"), {true, false, both});
    dir->configIs(Bridging::VlanId(100))->intfIs(id("b 0.1"))->lagPhyIntfIs(link("e1"));
    startReady();
    noteKept();
    EXPECT_EQ(document("b 0.1")["vlans"][0]["clear"],
              nlohmann::json::parse(R"(["bridge vlan del dev 'b 0.1' vid 100",
                                        "bridge vlan add dev 'b 0.1' vid 100"])"));
}

TEST_F(ExplainTest, ANameThatNobodyKnowsIsAnError) {
    auto const messageOf = [this](std::string const &name) {
        try {
            return text(name);
        } catch (Error const &error) {
            return std::string(error.what());
        }
    };
    member(100, "Ethernet1.10");
    stale(100, "Ethernet2.10");
    lagMember("PortChannel3", "Ethernet4");
    EXPECT_EQ(messageOf("nobody\n"), R"("nobody\n": no such interface is known)");
    EXPECT_EQ(messageOf(""), R"("": no such interface is known)");
    EXPECT_EQ(messageOf("Ethernet9"), R"("Ethernet9": no such interface is known)");
    for (std::string const known :
         {"Ethernet1.10", "Ethernet1", "Ethernet2.10", "PortChannel3", "Ethernet4"}) {
        EXPECT_THAT(messageOf(known), testing::StartsWith(known + ": a")) << known;
    }
    facts = {"link 9"};
    EXPECT_THAT(messageOf("Ethernet9"), testing::StartsWith("Ethernet9: a plain interface\n"));
}

TEST(ExplanationText, ADocumentOfAnotherFormIsRefused) {
    EXPECT_THROW(static_cast<void>(explanationText(nlohmann::json::parse("{}"))),
                 nlohmann::json::exception);
    EXPECT_THROW(static_cast<void>(explanationText(nlohmann::json::parse(R"({"intf": 7})"))),
                 nlohmann::json::exception);
}

} // namespace
} // namespace Agent
