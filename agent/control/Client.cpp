#include "agent/control/Client.h"

#include "agent/Errno.h"
#include "agent/Error.h"
#include "agent/JsonText.h"
#include "agent/control/UnixAddress.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <thread>
#include <utility>

namespace Agent {
namespace {

using nlohmann::json;

constexpr std::chrono::milliseconds connectAgainAfter{20};

/// Milliseconds for poll(), rounded up; -1 for ever.
int pollTime(std::optional<Client::Clock::duration> wait) {
    if (!wait) {
        return -1;
    }
    auto const milliseconds = std::chrono::ceil<std::chrono::milliseconds>(*wait).count();
    constexpr std::int64_t most = 1'000'000'000;
    return static_cast<int>(std::clamp<std::int64_t>(milliseconds, 0, most));
}

} // namespace

Client::Client(std::string path, Clock::duration comesWithin)
    : path_(std::move(path)), socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    UnixAddress const address(path_);
    auto const end = Clock::now() + comesWithin;
    while (!socket_ || ::connect(socket_.number(), address.get(), address.size()) != 0) {
        bool const mayCome = errno == ENOENT || errno == ECONNREFUSED;
        if (!mayCome || Clock::now() >= end) {
            failWithErrno(path_, "no agent answers");
        }
        std::this_thread::sleep_for(connectAgainAfter);
    }
}

std::optional<Ending> Client::ask(json request, OnLine const &onLine, Wait const &wait,
                                  OnPause const &onPause) {
    request["version"] = controlVersion;
    send(request.dump(-1, ' ', false, json::error_handler_t::replace) + '\n');
    auto const end = wait.whole ? std::optional(Clock::now() + *wait.whole) : std::nullopt;
    while (true) {
        while (auto const line = takeLine()) {
            if (auto ending = handle(*line, onLine)) {
                return ending;
            }
        }
        if (onPause) {
            onPause();
        }
        if (!receive(end, wait)) {
            return std::nullopt;
        }
    }
}

/// An agent that has closed may have said why: that is read before its leaving is reported.
void Client::send(std::string_view text) const {
    while (!text.empty()) {
        ssize_t const count = ::send(socket_.number(), text.data(), text.size(), MSG_NOSIGNAL);
        if (count >= 0) {
            text.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno == EPIPE || errno == ECONNRESET) {
            return;
        } else if (errno != EINTR) {
            failWithErrno(path_, "cannot ask");
        }
    }
}

/// Wait for more; false when the time for the whole answer is over.
bool Client::receive(std::optional<Clock::time_point> end, Wait const &wait) {
    auto time = wait.silence;
    if (end) {
        auto const left = *end - Clock::now();
        time = time ? std::min(*time, left) : left;
    }
    pollfd polled{socket_.number(), POLLIN, 0};
    int const ready = ::poll(&polled, 1, pollTime(time));
    if (ready == 0) {
        if (end && Clock::now() >= *end) {
            return false;
        }
        fail("{}: the agent does not answer", path_);
    }
    std::array<char, std::size_t{1} << 16> bytes;
    ssize_t const count = ready < 0 ? -1 : ::recv(socket_.number(), bytes.data(), bytes.size(), 0);
    if (count > 0) {
        input_.append(bytes.data(), static_cast<std::size_t>(count));
    } else if (count == 0 || errno == ECONNRESET) {
        fail("{}: the agent has left before its answer was complete", path_);
    } else if (errno != EINTR) {
        failWithErrno(path_, "cannot read the answer");
    }
    return true;
}

std::optional<std::string> Client::takeLine() {
    auto const end = input_.find('\n', searched_);
    if (end == std::string::npos) {
        input_.erase(0, std::exchange(taken_, 0));
        searched_ = input_.size();
        return std::nullopt;
    }
    std::string line = input_.substr(taken_, end - taken_);
    taken_ = searched_ = end + 1;
    return line;
}

/// The ending, if the line is the last one.
std::optional<Ending> Client::handle(std::string const &line, OnLine const &onLine) const {
    try {
        json document = json::parse(line);
        if (!document.contains("status")) {
            onLine(document);
            return std::nullopt;
        }
        auto const status = statusOf(document.at("status").get<std::string>());
        if (document.at("version") != controlVersion || !status) {
            fail("{}: the agent speaks another version: {}", path_, printable(line));
        }
        return Ending{*status, document.value("message", ""), std::move(document)};
    } catch (json::exception const &error) {
        fail("{}: what answers is no agent: {}", path_, visible(error.what()));
    }
}

} // namespace Agent
