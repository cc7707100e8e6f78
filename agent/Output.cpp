#include "agent/Output.h"

#include "agent/Errno.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace Agent {

Output::Output(int descriptor, std::string name) : descriptor_(descriptor), name_(std::move(name)) {
    text_.reserve(2 * bufferSize);
}

void Output::flush() {
    std::string_view rest = text_;
    while (!rest.empty()) {
        ssize_t const count = ::write(descriptor_, rest.data(), rest.size());
        if (count >= 0) {
            rest.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            failWithErrno(name_, "cannot write");
        }
    }
    text_.clear();
}

void print(std::string_view text) {
    Output output(STDOUT_FILENO, "standard output");
    output.text() = text;
    output.flush();
}

} // namespace Agent
