#include "agent/control/Metrics.h"

#include "tests/agent/control/FakeAgent.h"

#include <regex>
#include <set>
#include <sstream>

namespace Agent {
namespace {

using testing::HasSubstr;

class MetricsTest : public FakeAgentTest {
  protected:
    ControlStatistics clients;
    std::string text() { return metricsText(*service, clients); }
};

TEST_F(MetricsTest, AreLinesOfPrometheusTextWithHelpAndType) {
    makeReady();
    std::regex const sample(R"re(vlan_subintf_([a-z_]+)(\{[a-z]+="[^"\\\n]*"\})? [-+.e0-9]+)re");
    std::regex const comment("# (HELP|TYPE) vlan_subintf_([a-z_]+) .*");
    std::set<std::string> explained;
    std::istringstream in(text());
    for (std::string line; std::getline(in, line);) {
        std::smatch match;
        if (std::regex_match(line, match, comment)) {
            explained.insert(match[2]);
            continue;
        }
        ASSERT_TRUE(std::regex_match(line, match, sample)) << line;
        EXPECT_TRUE(explained.contains(match[1])) << line;
    }
    EXPECT_GT(explained.size(), 25U);
}

TEST_F(MetricsTest, FollowTheAgent) {
    make();
    fillSmall();
    source->holdBack();
    service->start();
    ASSERT_TRUE(turnUntil([&] { return service->waitingFor().size() == 2; }));
    EXPECT_THAT(text(), HasSubstr("\nvlan_subintf_ready 0\n"));
    EXPECT_THAT(text(), HasSubstr("\nvlan_subintf_state{state=\"starting\"} 1\n"));
    EXPECT_THAT(text(), HasSubstr("\nvlan_subintf_source_last_view_timestamp_seconds 0\n"));
    source->letGo();
    ASSERT_TRUE(turnUntil([&] { return service->ready(); }));
    source->fails("gone");
    service->resynchronise("test");
    clients.refusedClients = 3;
    EXPECT_THAT(text(), HasSubstr("\nvlan_subintf_ready 1\n"));
    EXPECT_THAT(text(), HasSubstr("\nvlan_subintf_state{state=\"starting\"} 0\n"));
    EXPECT_THAT(text(), HasSubstr("\nvlan_subintf_output_ready{output=\"configIntf\"} 1\n"));
    EXPECT_THAT(text(), HasSubstr("\nvlan_subintf_directory_entries 4\n"));
    EXPECT_THAT(text(), HasSubstr("\nvlan_subintf_source_failing 1\n"));
    EXPECT_THAT(text(), HasSubstr("\nvlan_subintf_source_resyncs_total 1\n"));
    EXPECT_THAT(text(), HasSubstr("\nvlan_subintf_control_refused_clients_total 3\n"));
}

TEST_F(MetricsTest, EachIsDescribedInTheDocument) {
    makeReady();
    std::string const document =
        readFile(std::string(PROJECT_SOURCE_DIR_FOR_TESTS) + "/docs/control.md");
    std::istringstream in(text());
    for (std::string line; std::getline(in, line);) {
        std::string const start = "# TYPE ";
        if (line.starts_with(start)) {
            auto const name = line.substr(start.size(), line.rfind(' ') - start.size());
            EXPECT_THAT(document, HasSubstr("`" + name)) << name;
        }
    }
}

} // namespace
} // namespace Agent
