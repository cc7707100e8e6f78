// A whole agent in this process, over a source and a store that do as the test says.
#pragma once

#include "agent/control/Control.h"
#include "agent/service/Service.h"
#include "platform/Iftel.h"
#include "tests/agent/control/ControlTest.h"
#include "tests/agent/service/FakeParts.h"
#include "tests/agent/store/FakeCheckpointer.h"

#include <fmt/format.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Agent {

/// Two LAGs with two members each, and four subinterfaces in VLANs; then as the test likes.
class FakeAgentTest : public LoopTest {
  protected:
    using Direction = Bridging::AllowedTrafficDirection;

    FakeAgentTest() { Iftel::NameTable::instance().resetForTest(); }
    ~FakeAgentTest() override { Iftel::NameTable::instance().resetForTest(); }

    static Iftel::IntfId lag(std::string const &name) {
        return Iftel::NameTable::instance().intfIs(name, Iftel::IntfKind::portChannel);
    }
    static Iftel::IntfId ethernet(std::string const &name) {
        return Iftel::NameTable::instance().intfIs(name, Iftel::IntfKind::ethernet);
    }
    static Iftel::IntfId subIntf(std::string const &name, Iftel::IntfId parent) {
        return Iftel::NameTable::instance().subIntfIs(name, parent);
    }
    void member(std::uint16_t vlan, Iftel::IntfId intf, bool tag = true,
                Direction direction = Direction::both) {
        bridging().vlanConfigIs(Bridging::VlanId(vlan))->intfIs(intf, {tag, false, direction});
    }
    void lagMember(Iftel::IntfId lagId, std::string const &name) {
        service->inputs().lagPhyIntfMapping->lagPhyIntfConfigIs(lagId)->phyIntfIs(ethernet(name),
                                                                                  nullptr);
    }
    [[nodiscard]] Bridging::Config &bridging() const { return *service->inputs().bridgingConfig; }
    void fillSmall() {
        for (int i = 0; i < 2; ++i) {
            auto const bond = lag(fmt::format("bond{}", i));
            lagMember(bond, fmt::format("eth{}", 2 * i + 2));
            lagMember(bond, fmt::format("eth{}", 2 * i + 10));
            member(100, subIntf(fmt::format("bond{}.100", i), bond), i == 0);
            member(200, subIntf(fmt::format("bond{}.200", i), bond), true, Direction::none);
        }
    }

    /// Make the agent, with the entries of an earlier run; the test fills the inputs, and starts
    /// it.
    void make(std::vector<Recording::Left> earlier = {}) {
        disk.left = std::move(earlier);
        service.emplace(
            loop,
            [this](Loop &onLoop, Inputs const &, SourceHost &host) {
                auto made = std::make_unique<FakeSource>(onLoop, host);
                source = made.get();
                source->startProblem = startProblem;
                return made;
            },
            "store", [this] { return std::make_unique<RecordingStore>(disk); }, checkpointer);
        ControlOptions options;
        options.path = path;
        control.emplace(*service, options);
    }
    void startReady() {
        service->start();
        ASSERT_TRUE(turnUntil([this] { return service->ready(); }));
    }
    void makeReady() {
        make();
        fillSmall();
        startReady();
    }
    /// Whole answer to a request of one client: its lines, the last one included.
    std::vector<nlohmann::json>
    answers(std::string const &request,
            nlohmann::json const &parameters = nlohmann::json::object()) {
        Peer peer(path);
        peer.send(requestLine(request, parameters));
        std::vector<nlohmann::json> lines;
        do {
            lines.push_back(documentFrom(peer));
        } while (lines.back().is_object() && !lines.back().contains("status"));
        return lines;
    }
    nlohmann::json ending(std::string const &request,
                          nlohmann::json const &parameters = nlohmann::json::object()) {
        return answers(request, parameters).back();
    }

    std::string const path = dir.file("control.sock");
    Recording disk;
    FakeCheckpointer checkpointer;
    FakeSource *source = nullptr; ///< the service's
    std::string startProblem;     ///< of sources made from now on
    std::optional<Service> service;
    std::optional<Control> control;
};

} // namespace Agent
