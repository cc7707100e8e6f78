// The agent's control socket: answers the requests of clients on the event loop.
//
// Requests are worked on by one task, the clients taking turns; docs/control.md describes the
// protocol, Connection.h what a client may do. A client that is slow or malicious harms nobody:
// what it sends, what waits for it and how long it may stay is limited.
//
//     ControlServer server(loop, {path, group}, [&](auto const &request, auto &reply) { ... });
#pragma once

#include "agent/control/Acceptor.h"
#include "agent/control/Connection.h"
#include "agent/control/ControlSocket.h"
#include "agent/loop/Worker.h"

#include <functional>
#include <list>
#include <string>

namespace Agent {

class ControlServer {
  public:
    struct Options {
        std::string path;
        std::string group; ///< whose members may connect, too; empty for none
        ControlLimits limits = {};
    };

    /// Listen. `start` begins the answer to each request; `statistics`, which outlives the server,
    /// is kept up to date. Throws an Error when it cannot.
    ControlServer(Loop &loop, Options options, Connection::Start start,
                  ControlStatistics &statistics);
    /// Not copyable: its clients refer to it.
    ControlServer(ControlServer const &) = delete;
    ControlServer &operator=(ControlServer const &) = delete;

    [[nodiscard]] std::size_t clients() const noexcept { return clients_.size(); }

  private:
    void enter(Descriptor socket);
    void refuse(Descriptor const &socket);
    Worker::More serve(Osk::Task const &task);
    void clearOver();
    void handleDeadlines();
    void watchDeadlines();

    ControlLimits limits_;
    Connection::Start start_;
    ControlStatistics &statistics_;
    Worker worker_;
    std::function<void()> wake_;
    Connection::Context const context_;
    ControlSocket file_;
    Loop::Timer deadlines_; ///< runs while a client has a deadline
    Loop::Clock::time_point nextDeadline_;
    std::list<Connection> clients_; ///< whose turn is next comes first
    Acceptor acceptor_;
};

} // namespace Agent
