// Requests of a client of the control socket, to an agent over a small site.
//
//     <state> <line> \n <line> ...
//
// In state 's' the agent waits for its source's first view, in 'w' it is withdrawn, else it is
// ready. Whatever a line is, its answer is lines of JSON, each an object, and the last one says how
// it ended; a request that waits for something has no last line.
#include "agent/Error.h"
#include "agent/control/Requests.h"
#include "agent/service/Service.h"
#include "fuzz/Fresh.h"
#include "platform/Nuvio/DebugHandler.h"
#include "tests/agent/service/FakeParts.h"
#include "tests/agent/store/FakeCheckpointer.h"

#include <nlohmann/json.hpp>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace {

using Fuzz::expect;

/// Takes the lines of answers, and looks at each.
class CheckedReply final : public Agent::Reply {
  public:
    void line(std::string_view json) override {
        expect(json.find('\n') == std::string_view::npos, "a document is one line", json);
        auto const document = nlohmann::json::parse(json, nullptr, false);
        expect(document.is_object() && !document.contains("status"),
               "an answer is objects without a status", json);
    }
    [[nodiscard]] bool room() const noexcept override { return true; }
    void wake() noexcept override {}
};

void checkEnding(Agent::Ending const &ending, std::string_view request) {
    auto const document = nlohmann::json::parse(Agent::lastLine(ending), nullptr, false);
    expect(document.is_object() && document.contains("status") && document["version"] == 1,
           "the last line says how it ended", request);
    expect((ending.status == Agent::Status::done) == ending.message.empty(),
           "all but what is done has a message", request);
}

class Session {
  public:
    explicit Session(std::uint8_t state) {
        fill();
        if (state == 's') {
            source_->holdBack();
        }
        service_.start();
        settle();
        if (state == 'w') {
            service_.withdraw();
        }
        expect(service_.ready() == (state != 's' && state != 'w'), "the state is as asked for");
    }
    ~Session() {
        trace_->levelMaskIs(0);
        settle();
    }
    Session(Session const &) = delete;
    Session &operator=(Session const &) = delete;

    void line(std::string_view line) {
        checkEnding(endingOf(line), line);
        settle();
    }

  private:
    static constexpr int maxSteps = 10'000;

    /// How the request ends; done for one that waits.
    Agent::Ending endingOf(std::string_view line) {
        try {
            Agent::ControlRequest const request(line);
            auto const job = Agent::startRequest(service_, clients_, request, reply_);
            for (int step = 0; job->hasWork(); ++step) {
                expect(step < maxSteps, "an answer comes to its end", line);
                auto ending = job->step(*task_);
                quieten();
                if (ending) {
                    return *std::move(ending);
                }
            }
            return {};
        } catch (Agent::Error const &error) {
            expect(*error.what() != '\0', "an error has a message", line);
            return Agent::failed(error.what());
        }
    }

    /// Two VLANs with subinterfaces of a LAG and of an Ethernet, and a name that is hard to write.
    void fill() {
        using enum Bridging::AllowedTrafficDirection;
        auto &names = Iftel::NameTable::instance();
        auto const bond = names.intfIs("bond0", Iftel::IntfKind::portChannel);
        auto const eth = names.intfIs("eth1", Iftel::IntfKind::ethernet);
        auto &bridging = *service_.inputs().bridgingConfig;
        auto const vlan = bridging.vlanConfigIs(Bridging::VlanId(100));
        vlan->intfIs(names.subIntfIs("bond0.100", bond), {true, false, both});
        vlan->intfIs(names.subIntfIs("eth1.100", eth), {false, true, egress});
        bridging.vlanConfigIs(Bridging::VlanId(200))
            ->intfIs(names.subIntfIs("a\n\"\x1b\xff", bond), {true, true, none});
        service_.inputs().lagPhyIntfMapping->lagPhyIntfConfigIs(bond)->phyIntfIs(eth, nullptr);
    }

    void settle() {
        do {
            loop_.turn(std::chrono::milliseconds(0));
        } while (loop_.scheduler()->hasWork());
    }
    /// A request may have had trace lines sent to standard error.
    void quieten() {
        trace_->sinkIs([](Nuvio::TraceRecord const & /*record*/) {});
    }

    Nuvio::Ptr<Nuvio::Platform::DebugHandler> const trace_ =
        Nuvio::Platform::getDebugHandler("VlanSubIntfConfigLib", false);
    Agent::Loop loop_{Osk::TaskScheduler::TaskSchedulerIs()};
    Agent::Recording disk_;
    Agent::FakeCheckpointer checkpointer_;
    Agent::FakeSource *source_ = nullptr; ///< the service's
    Agent::Service service_{
        loop_,
        [this](Agent::Loop &loop, Agent::Inputs const & /*inputs*/, Agent::SourceHost &host) {
            auto made = std::make_unique<Agent::FakeSource>(loop, host);
            source_ = made.get();
            return made;
        },
        "store", [this] { return std::make_unique<Agent::RecordingStore>(disk_); }, checkpointer_};
    Agent::ControlStatistics const clients_;
    CheckedReply reply_;
    Qor::Ptr<Osk::Task> const task_ = // one that never runs: every step yields at once
        Qor::make<Osk::Task>(loop_.scheduler(), Osk::TaskPriority::normal, Nuvio::String("fuzz"));
};

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size) {
    Fuzz::Fresh const fresh;
    Fuzz::Bytes bytes(data, size);
    Session session(bytes.next());
    while (!bytes.empty()) {
        session.line(bytes.nextUntil('\n'));
    }
    return 0;
}
