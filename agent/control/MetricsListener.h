// A small HTTP server that answers GET /metrics, for Prometheus to scrape.
//
// One request a connection, without a body; what is larger than maxRequest, takes longer than
// maxTime or comes while maxClients are there is refused. Everything happens on the loop.
#pragma once

#include "agent/control/Acceptor.h"
#include "agent/control/Channel.h"
#include "agent/loop/Worker.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <string>
#include <string_view>

namespace Agent {

class MetricsListener {
  public:
    static constexpr std::size_t maxRequest = std::size_t{1} << 13;
    static constexpr std::size_t maxClients = 16;

    struct Options {
        /// "ADDR:PORT", "[ADDR6]:PORT", ":PORT" or "PORT"; numbers only, 127.0.0.1 where there is
        /// no address, any free port for 0.
        std::string address;
        std::chrono::nanoseconds maxTime = std::chrono::seconds(10);
    };

    /// Listen. `render` makes the text of the metrics. Throws an Error when it cannot.
    MetricsListener(Loop &loop, Options const &options, std::function<std::string()> render);
    /// Not copyable: its clients refer to it.
    MetricsListener(MetricsListener const &) = delete;
    MetricsListener &operator=(MetricsListener const &) = delete;

    /// Where it listens.
    [[nodiscard]] std::uint16_t port() const;

  private:
    struct Client {
        Client(MetricsListener &listener, Descriptor socket);
        [[nodiscard]] bool asked() const;
        [[nodiscard]] bool over() const;

        Loop::Clock::time_point deadline;
        bool answered = false;
        Channel channel;
    };

    void enter(Descriptor socket);
    Worker::More serve(Osk::Task const &task);
    void clearOver();
    void watchDeadline();
    [[nodiscard]] std::string answer(std::string_view request) const;

    Loop &loop_;
    std::chrono::nanoseconds maxTime_;
    std::function<std::string()> render_;
    Worker worker_;
    Loop::Timer deadline_;
    std::list<Client> clients_; ///< the oldest first
    Acceptor acceptor_;
};

} // namespace Agent
