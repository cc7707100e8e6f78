// A session of `vlan-subintf inspect` over a small machine, in both forms of output.
//
//     <mode> <line> \n <line> ...
//
// An operator may change by hand what a machine counts on; that ends in an assertion of the machine
// by contract, and is no finding. So a session sends every command that only looks, whatever its
// words are, and every command that must be refused; of those that would change something or call a
// method it sends the ones of the list `allowed`, which a machine stands at any time once it is
// ready. In mode 'p' the machine is left where start-up begins: there only the scheduler is called.
#include "agent/Error.h"
#include "agent/Inspector.h"
#include "agent/MachineRun.h"
#include "fuzz/Documents.h"
#include "fuzz/Fresh.h"
#include "platform/Nuvio/DebugHandler.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Fuzz::expect;
using Words = std::vector<std::string>;

constexpr std::string_view scheduler = "Osk::TaskScheduler";

/// An attribute by its number and the last part of its type's name.
struct Place {
    std::string_view type;
    int number;
};
constexpr std::array allowed = {
    Place{scheduler, 131},
    Place{scheduler, 132},
    Place{"Osk::Task", 131},
    Place{"Osk::Task", 132},
    // Bookmarks that no walk uses any more, and the marks of seen output.
    Place{"VlanSubIntfConfigLib::ConfigSm", 139},
    Place{"VlanSubIntfConfigLib::ConfigSm", 141},
    Place{"VlanSubIntfConfigLib::ConfigSm", 148},
    Place{"VlanSubIntfConfigLib::ConfigSm", 138},
    Place{"VlanSubIntfConfigLib::ConfigSm", 146},
    Place{"LagPhyIntfOutputCollType", 131},
    Place{"ConfigIntfOutputKeyType", 0},
    Place{"ConfigIntfOutputKeyType", 1},
    Place{"ConfigIntfOutputKeyType", 2},
    Place{"ConfigIntfOutputKeyType", 3},
    Place{"ConfigIntfOutputKeyType", 4},
    Place{"LagPhyIntfOutputKeyType", 0},
    Place{"LagPhyIntfOutputKeyType", 1},
    Place{"LagPhyIntfOutputKeyType", 2},
    // Settings that later tasks and scans take.
    Place{"VlanSubIntfConfigLib::ConfigSm", 156},
    Place{"VlanSubIntfConfigLib::ConfigSm", 159},
    // The input machines' bookmarks and handlers, which look at the inputs themselves.
    Place{"VlanConfigSm0", 264},
    Place{"VlanConfigSm0", 266},
    Place{"VlanConfigSm0", 267},
    Place{"IntfSm1", 264},
    Place{"IntfSm1", 266},
    Place{"IntfSm1", 267},
    Place{"LagPhyIntfConfigSm2", 264},
    Place{"LagPhyIntfConfigSm2", 266},
    Place{"LagPhyIntfConfigSm2", 267},
    Place{"PhyIntfSm3", 264},
    Place{"PhyIntfSm3", 266},
    Place{"PhyIntfSm3", 267},
    // Flags that are recomputed or set as they are.
    Place{"OutputState", 136},
    Place{"InputSmScanState", 130},
};

/// Two VLANs with members on a LAG and on an Ethernet, and names that are hard to write.
Agent::Inputs smallInputs() {
    using enum Bridging::AllowedTrafficDirection;
    auto &names = Iftel::NameTable::instance();
    auto const bond = names.intfIs("bond0", Iftel::IntfKind::portChannel);
    auto const sub = names.subIntfIs("bond0.100", bond);
    auto const hard = names.subIntfIs("a/[b] \"c\\\x1b", bond);
    Agent::Inputs inputs = Agent::emptyInputs();
    auto const vlan = inputs.bridgingConfig->vlanConfigIs(Bridging::VlanId(100));
    vlan->intfIs(sub, {true, false, both});
    vlan->intfIs(Iftel::IntfId("Ethernet5.100"), {false, true, egress});
    inputs.bridgingConfig->vlanConfigIs(Bridging::VlanId(200))->intfIs(hard, {true, true, none});
    auto const lag = inputs.lagPhyIntfMapping->lagPhyIntfConfigIs(bond);
    lag->phyIntfIs(names.intfIs("eth1", Iftel::IntfKind::ethernet), nullptr);
    lag->phyIntfIs(Iftel::IntfId("Ethernet2"), Lag::EthPhyIntfLagConfig::EthPhyIntfLagConfigIs());
    return inputs;
}

/// The trace handle of the machines, silent, and with no level on at the end.
class QuietTrace {
  public:
    QuietTrace() {
        handle_->sinkIs([](Nuvio::TraceRecord const & /*record*/) {});
    }
    ~QuietTrace() { handle_->levelMaskIs(0); }
    QuietTrace(QuietTrace const &) = delete;
    QuietTrace &operator=(QuietTrace const &) = delete;

  private:
    Nuvio::Ptr<Nuvio::Platform::DebugHandler> const handle_ =
        Nuvio::Platform::getDebugHandler("VlanSubIntfConfigLib", false);
};

class Session {
  public:
    explicit Session(bool paused) : paused_(paused) {
        if (!paused) {
            Agent::Progress progress;
            Agent::runUntilIdle(run_, inputs_, progress);
        }
    }

    /// False: the operator has left.
    bool line(std::string_view line) {
        complete(line);
        if (!maySend(line)) {
            return true;
        }
        bool staying = true;
        bool const forPeople = accepted([&] { staying = people_.execute(line); });
        checkText(line);
        if (onlyLooks(line)) {
            expect(forPeople == accepted([&] { programs_.execute(line); }),
                   "both forms of output refuse the same", line);
        }
        return staying;
    }

  private:
    bool accepted(auto const &command) {
        peopleOut_.clear();
        try {
            command();
            return true;
        } catch (Agent::Error const &error) {
            expect(*error.what() != '\0' && Fuzz::isPrintable(error.what()),
                   "an error has a message in one printable line", error.what());
            return false;
        }
    }

    static bool onlyLooks(std::string_view line) {
        auto const words = wordsIn(line);
        constexpr std::array changing = {"set", "del", "invoke", "run", "trace", "census", "quit"};
        return words.empty() || std::ranges::find(changing, words[0]) == changing.end();
    }

    /// What stands on a terminal: printable lines.
    void checkText(std::string_view line) const {
        expect(peopleOut_.empty() || peopleOut_.ends_with('\n'), "output is whole lines", line);
        for (Fuzz::Bytes lines(peopleOut_); !lines.empty();) {
            expect(Fuzz::isPrintable(lines.nextUntil('\n')), "output is printable lines", line);
        }
    }
    static void checkJson(std::string_view text) {
        expect(text.ends_with('\n') && text.find('\n') == text.size() - 1, "a document is one line",
               text);
        expect(nlohmann::json::accept(text), "a document is JSON", text);
    }

    /// What may stand in the place of the last word begins with it.
    void complete(std::string_view line) const {
        auto const cut = line.find_last_of(" \t") + 1; // 0 for none
        auto const word = line.substr(cut);
        for (auto const &candidate : people_.completions(line.substr(0, cut), word)) {
            expect(candidate.starts_with(word), "a completion goes on from the word", line);
        }
    }

    /// None for a line that is no command.
    static Words wordsIn(std::string_view line) {
        try {
            return Agent::wordsOf(line);
        } catch (Agent::Error const &) {
            return {};
        }
    }

    [[nodiscard]] bool maySend(std::string_view line) const {
        auto const words = wordsIn(line);
        bool const calls = !words.empty() && words[0] == "invoke";
        bool const deletes = !words.empty() && words[0] == "del";
        if (words.size() < 2 || !(calls || deletes || words[0] == "set")) {
            return true;
        }
        try {
            bool const keyed = deletes && words.size() == 3;
            Agent::AttributePath const path(machine_,
                                            keyed ? words[1] + "/[" + words[2] + ']' : words[1]);
            if (path.isRoot()) {
                return true;
            }
            bool const acts = calls ? path.last().attribute->kind == Qor::AttributeKind::method
                                    : path.last().attribute->writable;
            return !acts || isAllowed(path.last());
        } catch (Agent::Error const &) {
            return true; // leads nowhere, and will be refused
        }
    }
    [[nodiscard]] bool isAllowed(Agent::PathStep const &step) const {
        std::string const type = Agent::typeNameOf(step.owner);
        return std::ranges::any_of(allowed, [&](Place const &place) {
            return place.number == step.attribute->number && type.ends_with(place.type) &&
                   (!paused_ || place.type == scheduler);
        });
    }

    bool paused_;
    QuietTrace trace_;
    Agent::Inputs const inputs_ = smallInputs();
    Agent::MachineRun const run_ = Agent::makeMachine(
        inputs_, VlanSubIntfConfigLib::VlanSubIntfConfigDir::VlanSubIntfConfigDirIs(),
        {.synchronous = false, .share = 1});
    Qor::Value const machine_ = Qor::Value::of(run_.machine);
    std::string peopleOut_;
    Agent::Inspector people_{run_.machine, false,
                             [this](std::string_view text) { peopleOut_ += text; }};
    Agent::Inspector programs_{run_.machine, true, checkJson};
};

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size) {
    Fuzz::Fresh const fresh;
    Fuzz::Bytes bytes(data, size);
    Session session(bytes.next() == 'p');
    while (!bytes.empty() && session.line(bytes.nextUntil('\n'))) {
    }
    return 0;
}
