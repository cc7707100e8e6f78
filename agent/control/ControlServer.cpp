#include "agent/control/ControlServer.h"

#include "agent/Error.h"

#include <fmt/format.h>
#include <sys/socket.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace Agent {

ControlServer::ControlServer(Loop &loop, Options options, Connection::Start start,
                             ControlStatistics &statistics)
    : limits_(options.limits), start_(std::move(start)), statistics_(statistics),
      worker_(loop.scheduler(), Osk::TaskPriority::normal, "control",
              [this](Osk::Task const &task) { return serve(task); }),
      wake_([this] { worker_.wake(); }), context_{loop, limits_, start_, wake_, statistics_},
      file_(std::move(options.path), options.group),
      deadlines_(loop, "control clients", [this] { handleDeadlines(); }),
      acceptor_(loop, file_.socketDel(), "control socket",
                [this](Descriptor socket) { enter(std::move(socket)); }) {}

void ControlServer::enter(Descriptor socket) {
    if (clients_.size() >= limits_.clients) {
        refuse(socket);
        return;
    }
    try {
        clients_.emplace_back(context_, std::move(socket));
    } catch (Error const &) {
        ++statistics_.refusedClients; // the system has no room for another
        return;
    }
    ++statistics_.clients;
    watchDeadlines();
}

void ControlServer::refuse(Descriptor const &socket) {
    ++statistics_.refusedClients;
    std::string const line =
        lastLine(failed(fmt::format("there are {} clients already", clients_.size()))) + '\n';
    // Into a buffer that is empty: what does not fit there is not worth waiting for.
    static_cast<void>(
        ::send(socket.number(), line.data(), line.size(), MSG_DONTWAIT | MSG_NOSIGNAL));
}

/// A step for each client that has work, in turn, until the run has used its share.
Worker::More ControlServer::serve(Osk::Task const &task) {
    clearOver();
    auto const isRunnable = [](Connection const &client) { return client.runnable(); };
    for (auto next = std::find_if(clients_.begin(), clients_.end(), isRunnable);
         next != clients_.end();
         next = std::find_if(clients_.begin(), clients_.end(), isRunnable)) {
        Connection &client = *next;
        clients_.splice(clients_.end(), clients_, next);
        client.step(task);
        if (task.taskShouldYield()) {
            break;
        }
    }
    clearOver();
    watchDeadlines();
    return std::any_of(clients_.begin(), clients_.end(), isRunnable) ? Worker::More::yes
                                                                     : Worker::More::no;
}

void ControlServer::clearOver() {
    clients_.remove_if([](Connection const &client) { return client.over(); });
}

void ControlServer::handleDeadlines() {
    auto const now = Loop::Clock::now();
    for (Connection &client : clients_) {
        if (auto const deadline = client.deadline(); deadline && *deadline <= now) {
            client.timeOut();
        }
    }
    worker_.wake(); // clears those that are over, and waits for the next deadline
}

/// Have the timer run until the earliest deadline, or an earlier moment: deadlines move away with
/// every request.
void ControlServer::watchDeadlines() {
    std::optional<Loop::Clock::time_point> earliest;
    for (Connection const &client : clients_) {
        if (auto const deadline = client.deadline();
            deadline && (!earliest || *deadline < *earliest)) {
            earliest = deadline;
        }
    }
    if (earliest && (!deadlines_.running() || *earliest < nextDeadline_)) {
        nextDeadline_ = *earliest;
        deadlines_.startAfter(nextDeadline_ - Loop::Clock::now());
    }
}

} // namespace Agent
