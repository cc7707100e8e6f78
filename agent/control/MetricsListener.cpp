#include "agent/control/MetricsListener.h"

#include "agent/Error.h"
#include "agent/control/InetAddress.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace Agent {
namespace {

constexpr std::string_view headEnd = "\r\n\r\n";

std::string response(std::string_view status, std::string_view type, std::string_view body) {
    return fmt::format("HTTP/1.1 {}\r\nContent-Type: {}\r\nContent-Length: {}\r\n"
                       "Connection: close\r\n\r\n{}",
                       status, type, body.size(), body);
}

std::string refusal(std::string_view status) {
    return response(status, "text/plain; charset=utf-8", fmt::format("{}\n", status));
}

} // namespace

MetricsListener::Client::Client(MetricsListener &listener, Descriptor socket)
    : deadline(Loop::Clock::now() + listener.maxTime_),
      channel(listener.loop_, std::move(socket), "metrics client",
              [&listener] { listener.worker_.wake(); }) {}

/// The head of its request is there, or will never be.
bool MetricsListener::Client::asked() const {
    std::string_view const input = channel.input();
    return input.find(headEnd) != std::string_view::npos || input.size() > maxRequest ||
           channel.inputEnded();
}

bool MetricsListener::Client::over() const {
    return channel.broken() || (answered && channel.pending() == 0) ||
           deadline <= Loop::Clock::now();
}

MetricsListener::MetricsListener(Loop &loop, Options const &options,
                                 std::function<std::string()> render)
    : loop_(loop), maxTime_(options.maxTime), render_(std::move(render)),
      worker_(loop.scheduler(), Osk::TaskPriority::normal, "metrics",
              [this](Osk::Task const &task) { return serve(task); }),
      deadline_(loop, "metrics clients", [this] { worker_.wake(); }),
      acceptor_(loop, InetAddress(options.address).listen(), "metrics listener",
                [this](Descriptor socket) { enter(std::move(socket)); }) {}

std::uint16_t MetricsListener::port() const {
    return InetAddress::portOf(acceptor_.descriptor());
}

void MetricsListener::enter(Descriptor socket) {
    if (clients_.size() == maxClients) {
        return; // closed without a word: it will come again
    }
    try {
        clients_.emplace_back(*this, std::move(socket));
    } catch (Error const &) {
        return; // the system has no room for another
    }
    watchDeadline();
}

Worker::More MetricsListener::serve(Osk::Task const &task) {
    clearOver();
    for (Client &client : clients_) {
        if (client.answered || !client.asked()) {
            continue;
        }
        client.channel.readingIs(false);
        client.channel.write(answer(client.channel.input()));
        client.channel.flush();
        client.answered = true;
        if (task.taskShouldYield()) {
            return Worker::More::yes;
        }
    }
    clearOver();
    watchDeadline();
    return Worker::More::no;
}

void MetricsListener::clearOver() {
    clients_.remove_if([](Client const &client) { return client.over(); });
}

/// All clients have the same time, so the oldest is the first whose time is over.
void MetricsListener::watchDeadline() {
    if (!clients_.empty() && !deadline_.running()) {
        deadline_.startAfter(clients_.front().deadline - Loop::Clock::now());
    }
}

std::string MetricsListener::answer(std::string_view request) const {
    auto const line = request.substr(0, request.find("\r\n"));
    auto const methodEnd = line.find(' ');
    auto const targetEnd = line.rfind(' ');
    if (request.size() > maxRequest) {
        return refusal("431 Request Header Fields Too Large");
    }
    if (request.find(headEnd) == std::string_view::npos || methodEnd == targetEnd ||
        !line.substr(targetEnd + 1).starts_with("HTTP/1.")) {
        return refusal("400 Bad Request");
    }
    if (line.substr(0, methodEnd) != "GET") {
        return refusal("405 Method Not Allowed");
    }
    auto const target = line.substr(methodEnd + 1, targetEnd - methodEnd - 1);
    if (target.substr(0, target.find('?')) != "/metrics") {
        return refusal("404 Not Found");
    }
    return response("200 OK", "text/plain; version=0.0.4; charset=utf-8", render_());
}

} // namespace Agent
