#include "tests/world/Frame.h"

#include "platform/Qor.h"
#include "tests/support/Census.h"
#include "tests/world/World.h"

#include <unistd.h>

#include <csignal>
#include <sstream>
#include <string>

namespace Histories {
namespace {

/// The history under way, for the handler.
std::string &current() {
    static std::string text;
    return text;
}

extern "C" void printCurrentHistory(int /*signal*/) {
    std::string const &text = current();
    if (write(STDERR_FILENO, text.data(), text.size()) < 0) {
        return; // the process ends either way
    }
}

/// The process's hash seed, replaced as long as this lives.
class HashSeed {
  public:
    explicit HashSeed(std::uint32_t seed) { Qor::HashHelper::hashSeed32IsForTest(seed); }
    ~HashSeed() { Qor::HashHelper::hashSeed32IsForTest(former_); }
    HashSeed(HashSeed const &) = delete;
    HashSeed &operator=(HashSeed const &) = delete;

  private:
    std::uint32_t former_ = Qor::HashHelper::hashSeed32();
};

} // namespace

void inFrame(History const &history, std::function<void()> const &body) {
    std::signal(SIGABRT, printCurrentHistory);
    std::ostringstream text;
    text << "the history under way:\n" << history;
    current() = text.str();
    auto const baseline = TestSupport::liveCounts();
    {
        HashSeed const seed(history.manner.seed);
        Qor::VFPtrInterface::creationSerialResetForTest();
        body();
    }
    for (auto const &[type, live] : TestSupport::liveCounts()) {
        auto const before = baseline.find(type);
        if (before == baseline.end() || before->second != live) {
            throw Mismatch("left alive: " + type + ' ' + testing::PrintToString(live));
        }
    }
}

void playInFrame(History const &history) {
    inFrame(history, [&history] {
        World world(history);
        play(world, history);
    });
}

} // namespace Histories
