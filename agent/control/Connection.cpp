#include "agent/control/Connection.h"

#include "agent/Error.h"
#include "platform/Nuvio/Assert.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace Agent {
namespace {

long long secondsOf(std::chrono::nanoseconds time) {
    return std::chrono::ceil<std::chrono::seconds>(time).count();
}

} // namespace

Connection::Connection(Context const &context, Descriptor socket)
    : context_(context), lastRequest_(Loop::Clock::now()),
      channel_(context.loop, std::move(socket), "control client", [this] { advance(); }) {}

void Connection::line(std::string_view json) {
    channel_.write(json);
    channel_.write("\n");
}

bool Connection::over() const noexcept {
    bool const saidAll = channel_.pending() == 0;
    bool const askedAll = channel_.inputEnded() && !job_ && saidAll;
    return over_ || channel_.broken() || askedAll || (closing_ && saidAll);
}

// Requests

/// Another request may be taken from the input.
bool Connection::listening() const noexcept {
    return !job_ && !closing_ && !channel_.broken() && room();
}

/// Go on with what is there, and have whoever waits for this client called.
void Connection::advance() {
    while (listening() && takeRequest()) {
        channel_.flush();
    }
    channel_.flush();
    channel_.readingIs(listening());
    full_ = full_ ? channel_.pending() > context_.limits.outputBytes / 2 : !room();
    if (runnable() || over() || channel_.pending() != 0) {
        context_.wake();
    }
}

/// Handle the next line; false when there is no whole one.
bool Connection::takeRequest() {
    std::string_view const input = channel_.input();
    auto const end = input.find('\n');
    if (std::min(end, input.size()) > context_.limits.requestBytes) {
        ++context_.statistics.malformedRequests;
        close(fmt::format("the request is longer than {} bytes", context_.limits.requestBytes));
        return false;
    }
    if (end == std::string_view::npos) {
        if (channel_.inputEnded() && !input.empty()) {
            close("the request has no line end");
        }
        return false;
    }
    lastRequest_ = Loop::Clock::now();
    handleRequest(input.substr(0, end));
    channel_.take(end + 1);
    return true;
}

void Connection::handleRequest(std::string_view line) {
    std::optional<ControlRequest> request;
    try {
        request.emplace(line);
    } catch (Error const &error) {
        ++context_.statistics.malformedRequests;
        end(failed(error.what()));
        if (++malformed_ >= context_.limits.malformedRequests) {
            close(fmt::format("closed after {} malformed requests", malformed_));
        }
        return;
    }
    ++context_.statistics.requests;
    try {
        job_ = context_.start(*request, *this);
    } catch (Error const &error) {
        end(failed(error.what()));
    }
}

// Answers

bool Connection::runnable() const noexcept {
    return job_ && !full_ && !over() && job_->hasWork();
}

void Connection::step(Osk::Task const &task) {
    NUVIO_ASSERT(runnable());
    std::optional<Ending> ending;
    try {
        ending = job_->step(task);
    } catch (Error const &error) {
        ending = failed(error.what());
    }
    if (ending) {
        job_.reset();
        lastRequest_ = Loop::Clock::now();
        end(*ending);
    }
    advance();
}

void Connection::end(Ending const &ending) {
    line(lastLine(ending));
}

// The end

void Connection::close(std::string message) {
    job_.reset();
    end(failed(std::move(message)));
    closing_ = true;
}

std::optional<Loop::Clock::time_point> Connection::deadline() const noexcept {
    if (over()) {
        return std::nullopt;
    }
    if (channel_.pending() != 0) {
        return channel_.outputMoved() + context_.limits.stalled;
    }
    if (job_) {
        return std::nullopt;
    }
    return lastRequest_ + context_.limits.idle;
}

void Connection::timeOut() {
    ++context_.statistics.timedOutClients;
    if (channel_.pending() != 0) {
        over_ = true;
        return;
    }
    close(fmt::format("closed after {} s without a request", secondsOf(context_.limits.idle)));
    advance();
}

} // namespace Agent
