#include "agent/source/FilesSource.h"

#include "agent/ChildProcess.h"
#include "agent/Descriptor.h"
#include "agent/Errno.h"
#include "agent/Error.h"
#include "agent/Progress.h"
#include "agent/source/FolderWatch.h"

#include <fcntl.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <iterator>
#include <utility>

namespace Agent {
namespace {

/// What the agent takes in of a pipe in one turn: some thousands of rows.
constexpr std::size_t bytesPerTurn = std::size_t{1} << 16;

/// In the reading process: write everything, or end it when the agent is gone.
void writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        ssize_t const written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) {
            ::_exit(1);
        }
        bytes.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
}

/// The reading process: it ends with the agent, and has nothing of its own to clean up.
[[noreturn]] void readInto(int descriptor, pid_t agent, InputOptions const &files) {
    endWith(agent);
    auto const write = [descriptor](std::string_view bytes) { writeAll(descriptor, bytes); };
    try {
        Progress progress;
        writeInputRows(loadInputs(files, progress), write);
    } catch (std::exception const &error) { // not only an Error: memory may run out
        writeInputProblem(error.what(), write);
    }
    ::_exit(0);
}

} // namespace

struct FilesSource::Reading {
    explicit Reading(InputOptions const &files) {
        std::array<int, 2> ends{};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
            fail("cannot make a pipe: {}", errnoText());
        }
        pipe = Descriptor(ends[0]);
        Descriptor const end(ends[1]); // the process has its own
        pid_t const agent = ::getpid();
        pid_t const child = ::fork();
        if (child == 0) {
            ::close(ends[0]); // else it would write to itself when the agent is gone
            readInto(ends[1], agent, files);
        }
        if (child < 0) {
            fail("cannot make a process: {}", errnoText());
        }
        process.emplace(child);
        ::fcntl(pipe.number(), F_SETFL, O_NONBLOCK);
    }

    Descriptor pipe;
    std::optional<ChildProcess> process; ///< the one that reads
    std::unique_ptr<Loop::Watch> watch;
    InputRowsReader rows;
};

FilesSource::FilesSource(Loop &loop, Inputs inputs, InputOptions files, SourceHost &host)
    : loop_(loop), inputs_(std::move(inputs)), files_(std::move(files)), host_(host),
      settled_(loop, "changed files", [this] { read("changed files"); }),
      updater_(loop.scheduler(), Osk::TaskPriority::normal, "changes of files",
               [this](Osk::Task const &task) { return update(task); }) {}

FilesSource::~FilesSource() = default;

std::vector<std::string> FilesSource::files() const {
    if (!files_.native.empty()) {
        return {files_.native};
    }
    return {files_.links, files_.vlans};
}

std::string FilesSource::name() const {
    std::string text = "files";
    for (std::string const &file : files()) {
        text += ' ' + file;
    }
    return text;
}

bool FilesSource::uses(Iftel::IntfId id) const {
    bool const comes = reading_ || update_; // which ones is not known before the end
    return comes || std::ranges::binary_search(intfs_, id);
}

std::vector<std::string> FilesSource::describe(std::string_view /*intf*/) const {
    return {};
}

void FilesSource::start() {
    folders_ =
        std::make_unique<FolderWatch>(loop_, files(), [this] { settled_.startAfter(settleTime); });
    read("start");
}

void FilesSource::stop() noexcept {
    settled_.stop();
    folders_.reset();
    reading_.reset();
    update_.reset();
    again_.reset();
    complete_ = false;
}

void FilesSource::resynchronise(std::string_view why) {
    if (folders_) {
        read(why);
    }
}

/// Read now, or as soon as what is under way has ended.
void FilesSource::read(std::string_view why) {
    if (reading_ || update_) {
        again_ = why;
        return;
    }
    why_ = why;
    try {
        folders_->renew();
        reading_ = std::make_unique<Reading>(files_);
        reading_->watch =
            std::make_unique<Loop::Watch>(loop_, reading_->pipe.number(), EPOLLIN, "rows of files",
                                          [this](std::uint32_t /*events*/) { handleBytes(); });
    } catch (Error const &error) {
        reading_.reset();
        problem(error.what());
        settled_.startAfter(retryTime);
    }
}

void FilesSource::readAgain() {
    if (auto const why = std::exchange(again_, std::nullopt)) {
        read(*why);
    }
}

void FilesSource::handleBytes() {
    std::array<char, bytesPerTurn> buffer; // NOLINT(*-member-init): read() fills it
    ssize_t const got = ::read(reading_->pipe.number(), buffer.data(), buffer.size());
    if (got > 0) {
        reading_->rows.take({buffer.data(), static_cast<std::size_t>(got)});
    } else if (got == 0) {
        handleEnd();
    }
}

void FilesSource::handleEnd() {
    auto const reading = std::move(reading_);
    if (!reading->rows.problem().empty()) {
        problem(reading->rows.problem());
    } else if (!reading->rows.complete()) {
        problem(name() + ": the process that reads them ended early");
    } else {
        update_.emplace(inputs_, reading->rows.inputs());
        intfsAre(reading->rows.intfs());
        if (!complete_) {
            host_.linksKnown();
        }
        updater_.wake();
        return;
    }
    readAgain();
}

void FilesSource::intfsAre(std::vector<Iftel::IntfId> intfs) {
    std::ranges::sort(intfs);
    left_.clear();
    std::ranges::set_difference(intfs_, intfs, std::back_inserter(left_));
    intfs_ = std::move(intfs);
}

Worker::More FilesSource::update(Osk::Task const &task) {
    if (!update_) {
        return Worker::More::no; // stopped
    }
    if (!update_->step(task)) {
        return Worker::More::yes;
    }
    counts_.changes += update_->changes();
    counts_.resyncs += complete_ ? 1 : 0;
    update_.reset();
    complete_ = true;
    if (std::exchange(failed_, false)) {
        host_.problemOver();
    }
    for (Iftel::IntfId const id : left_) {
        host_.retired(id);
    }
    host_.viewComplete(why_);
    readAgain();
    return Worker::More::no;
}

void FilesSource::problem(std::string const &message) {
    failed_ = true;
    host_.problem(message);
}

} // namespace Agent
