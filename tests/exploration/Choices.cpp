#include "tests/exploration/Choices.h"

#include <sstream>
#include <stdexcept>

namespace Exploration {

Choices::Choices(std::string const &text) {
    std::istringstream in(text);
    std::string way;
    while (std::getline(in, way, '.')) {
        path_.push_back({std::stoul(way), 0});
    }
    repeated_ = path_.size();
}

std::size_t Choices::choose(std::size_t ways) {
    if (depth_ == path_.size()) {
        path_.push_back({0, ways});
    }
    Choice &choice = path_[depth_];
    if (choice.ways == 0) {
        choice.ways = ways;
    }
    if (choice.ways != ways || choice.way >= ways) {
        throw std::logic_error("the history does not repeat at choice " + std::to_string(depth_) +
                               " of " + text());
    }
    ++depth_;
    return choice.way;
}

bool Choices::next() {
    while (!path_.empty() && path_.back().way + 1 == path_.back().ways) {
        path_.pop_back();
    }
    depth_ = 0;
    repeated_ = path_.size();
    if (path_.empty()) {
        return false;
    }
    ++path_.back().way;
    return true;
}

std::string Choices::text() const {
    std::string text;
    for (Choice const &choice : path_) {
        text += (text.empty() ? "" : ".") + std::to_string(choice.way);
    }
    return text;
}

} // namespace Exploration
