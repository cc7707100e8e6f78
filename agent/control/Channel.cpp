#include "agent/control/Channel.h"

#include "platform/Nuvio/Assert.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <utility>

namespace Agent {
namespace {

/// The call did nothing, and may be made again.
bool isTransient(int error) noexcept {
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

} // namespace

Channel::Channel(Loop &loop, Descriptor socket, std::string cause, std::function<void()> event)
    : socket_(std::move(socket)), event_(std::move(event)), outputMoved_(Loop::Clock::now()),
      watch_(loop, socket_.number(), EPOLLIN, std::move(cause),
             [this](std::uint32_t events) { handle(events); }) {}

void Channel::handle(std::uint32_t events) {
    if ((events & EPOLLOUT) != 0) {
        flush();
    }
    if ((events & EPOLLIN) != 0 && reading_ && !inputEnded_) {
        read();
    }
    // Also when there is something to read: who would get the answer has gone.
    if ((events & (EPOLLHUP | EPOLLERR)) != 0) {
        broken_ = true;
    }
    event_();
}

void Channel::read() {
    std::array<char, readSize> bytes;
    ssize_t const count = ::recv(socket_.number(), bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (count > 0) {
        input_.append(bytes.data(), static_cast<std::size_t>(count));
    } else if (count == 0) {
        inputEnded_ = true;
        eventsChanged();
    } else if (!isTransient(errno)) {
        broken_ = true;
    }
}

void Channel::readingIs(bool reading) {
    reading_ = reading;
    eventsChanged();
}

std::string_view Channel::input() const noexcept {
    return std::string_view(input_).substr(taken_);
}

void Channel::take(std::size_t bytes) {
    NUVIO_ASSERT(bytes <= input_.size() - taken_);
    taken_ += bytes;
    if (taken_ == input_.size() || taken_ >= readSize) {
        input_.erase(0, taken_);
        taken_ = 0;
    }
}

void Channel::write(std::string_view text) {
    if (pending() == 0) {
        outputMoved_ = Loop::Clock::now();
    }
    output_ += text;
}

void Channel::flush() {
    while (pending() != 0 && !broken_) {
        ssize_t const count = ::send(socket_.number(), output_.data() + sent_, pending(),
                                     MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count < 0) {
            broken_ = !isTransient(errno);
            break;
        }
        sent_ += static_cast<std::size_t>(count);
        outputMoved_ = Loop::Clock::now();
    }
    if (pending() == 0 || sent_ >= readSize) {
        output_.erase(0, sent_);
        sent_ = 0;
    }
    eventsChanged();
}

void Channel::eventsChanged() {
    bool const reads = reading_ && !inputEnded_;
    watch_.eventsIs((reads ? EPOLLIN : 0U) | (pending() != 0 ? EPOLLOUT : 0U));
}

} // namespace Agent
