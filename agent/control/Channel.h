// A connected stream socket on the loop that never blocks: what comes is gathered, what goes is
// buffered until the peer takes it.
//
// Its owner is called after each event, and looks. The owner limits what is gathered and buffered:
// it stops reading with readingIs(), and adds no output while pending() is too large. The channel
// does not close itself; once broken() nothing goes or comes any more.
#pragma once

#include "agent/Descriptor.h"
#include "agent/loop/Loop.h"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace Agent {

class Channel {
  public:
    static constexpr std::size_t readSize = std::size_t{1} << 14;

    /// Takes the socket over, and reads. `event` must not destroy the channel.
    Channel(Loop &loop, Descriptor socket, std::string cause, std::function<void()> event);
    /// Not copyable: the loop refers to it.
    Channel(Channel const &) = delete;
    Channel &operator=(Channel const &) = delete;

    // Input.

    /// Read or leave what comes to the socket's own buffer. One event brings readSize at most.
    void readingIs(bool reading);
    /// What has come and was not taken.
    [[nodiscard]] std::string_view input() const noexcept;
    void take(std::size_t bytes);
    /// The peer sends no more; input() holds the last of it.
    [[nodiscard]] bool inputEnded() const noexcept { return inputEnded_; }

    // Output.

    /// Add to what is to go.
    void write(std::string_view text);
    /// Let go as much as the socket takes; the rest goes by itself.
    void flush();
    /// Bytes that the peer has not taken.
    [[nodiscard]] std::size_t pending() const noexcept { return output_.size() - sent_; }
    /// When the peer last took something, or when output began to wait for it.
    [[nodiscard]] Loop::Clock::time_point outputMoved() const noexcept { return outputMoved_; }

    /// The peer is gone, or the socket has failed.
    [[nodiscard]] bool broken() const noexcept { return broken_; }

  private:
    void handle(std::uint32_t events);
    void read();
    void eventsChanged();

    Descriptor socket_;
    std::function<void()> event_;
    std::string input_;
    std::size_t taken_ = 0; ///< of input_
    std::string output_;
    std::size_t sent_ = 0; ///< of output_
    Loop::Clock::time_point outputMoved_;
    bool reading_ = true;
    bool inputEnded_ = false;
    bool broken_ = false;
    Loop::Watch watch_; // last: it goes before the socket does
};

} // namespace Agent
