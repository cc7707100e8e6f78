#include "tests/world/Frame.h"

#include "platform/Qor.h"
#include "tests/world/World.h"

#include <unistd.h>

#include <csignal>
#include <sstream>

namespace Histories {
namespace {

std::string const *&lastWords() {
    static std::string const *words = nullptr;
    return words;
}

extern "C" void sayLastWords(int /*signal*/) {
    std::string const *const words = lastWords();
    if (words && write(STDERR_FILENO, words->data(), words->size()) < 0) {
        return; // the process ends either way
    }
}

} // namespace

void lastWordsAre(std::string const *words) {
    lastWords() = words;
    std::signal(SIGABRT, words ? sayLastWords : SIG_DFL);
}

Frame::Frame(std::uint32_t hashSeed)
    : formerSeed_(Qor::HashHelper::hashSeed32()), baseline_(TestSupport::liveCounts()) {
    Qor::HashHelper::hashSeed32IsForTest(hashSeed);
    Qor::VFPtrInterface::creationSerialResetForTest();
}

Frame::~Frame() {
    Qor::HashHelper::hashSeed32IsForTest(formerSeed_);
}

void Frame::expectNothingLeft() const {
    for (auto const &[type, live] : TestSupport::liveCounts()) {
        auto const before = baseline_.find(type);
        if (before == baseline_.end() || before->second != live) {
            throw Mismatch("left alive: " + type + ' ' + testing::PrintToString(live));
        }
    }
}

void inFrame(History const &history, std::function<void()> const &body) {
    std::ostringstream text;
    text << "the history under way:\n" << history;
    std::string const words = text.str();
    lastWordsAre(&words);
    Frame const frame(history.manner.seed);
    body();
    frame.expectNothingLeft();
    lastWordsAre(nullptr);
}

void playInFrame(History const &history) {
    inFrame(history, [&history] {
        World world(history);
        play(world, history);
    });
}

} // namespace Histories
