#include "agent/JsonReader.h"

#include "agent/Error.h"
#include "agent/JsonText.h"
#include "platform/Nuvio/Assert.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace Agent {
namespace {

using Json = nlohmann::json;
using Shape = JsonReader::Shape;

constexpr std::size_t longestMessage = 300;

/// The library's message without what it says about itself and about the position.
std::string reasonOf(nlohmann::detail::exception const &error) {
    std::string_view text = error.what();
    if (auto const end = text.find("] "); text.starts_with('[') && end != std::string_view::npos) {
        text.remove_prefix(end + 2);
    }
    if (auto const end = text.find(": ");
        text.starts_with("parse error at ") && end != std::string_view::npos) {
        text.remove_prefix(end + 2);
    }
    return visible(text.substr(0, longestMessage));
}

bool isPlainKey(std::string_view key) {
    return !key.empty() && std::all_of(key.begin(), key.end(), [](unsigned char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
               c == '_' || c == '-';
    });
}

/// Listens to the library's parser: keeps the path, builds the records and hands them out.
///
/// Each open array or object has a frame. Its `value` is the container being built: a record in the
/// frame itself, or a part of a record below; null where nothing is kept.
class RecordBuilder final : public nlohmann::json_sax<Json> {
  public:
    RecordBuilder(InputFile &file, Shape const &root)
        : file_(file), root_(root), origin_{file.name(), [this] { return path(depth_ - 1); }} {}

    bool null() override { return scalar(nullptr); }
    bool boolean(bool value) override { return scalar(value); }
    bool number_integer(std::int64_t value) override { return scalar(value); }
    bool number_unsigned(std::uint64_t value) override { return scalar(value); }
    bool number_float(double value, std::string const & /*text*/) override { return scalar(value); }
    bool string(std::string &value) override { return scalar(std::move(value)); }
    bool binary(Json::binary_t & /*value*/) override { return false; } // not in JSON text

    bool start_object(std::size_t /*size*/) override { return open(false); }
    bool start_array(std::size_t /*size*/) override { return open(true); }
    bool end_array() override { return close(); }
    bool end_object() override { return close(); }
    bool key(std::string &name) override {
        Frame &frame = top();
        frame.key.swap(name);
        frame.empty = false;
        return true;
    }

    bool parse_error(std::size_t /*position*/, std::string const & /*token*/,
                     nlohmann::detail::exception const &error) override {
        failAtPosition(reasonOf(error));
    }
    [[noreturn]] void failAtPosition(std::string_view message) const {
        auto const [line, column] = file_.position();
        Agent::fail("{}: line {}, column {}: {}", file_.name(), line, column, message);
    }

  private:
    struct Frame {
        Shape const *shape; ///< null where no record follows
        Json *value;
        Json record;
        std::string key;     ///< of the member being read
        std::uint64_t count; ///< elements begun
        bool isArray;
        bool empty;
    };

    [[nodiscard]] Frame &top() noexcept { return frames_[depth_ - 1]; }

    /// What is expected of the value that comes next.
    [[nodiscard]] Shape const *beginValue() {
        if (depth_ == 0) {
            return &root_;
        }
        Frame &parent = top();
        ++parent.count;
        if (!parent.shape) {
            return nullptr;
        }
        if (parent.isArray) {
            return parent.shape->element.get();
        }
        for (auto const &[name, shape] : parent.shape->members) {
            if (name == parent.key) {
                return shape.get();
            }
        }
        return nullptr;
    }

    /// Put a value into the container below, if that keeps it.
    Json *keep(Json &&value) {
        if (depth_ == 0 || !top().value) {
            return nullptr;
        }
        Frame &parent = top();
        if (++recordValues_ > JsonReader::maxRecordValues) {
            failAtPosition(
                fmt::format("more than {} values in one object", JsonReader::maxRecordValues));
        }
        if (parent.isArray) {
            return &parent.value->emplace_back(std::move(value));
        }
        if (parent.shape) {
            auto const &kept = parent.shape->kept;
            if (std::find(kept.begin(), kept.end(), parent.key) == kept.end()) {
                return nullptr;
            }
        }
        return &((*parent.value)[parent.key] = std::move(value));
    }

    bool scalar(Json &&value) {
        if (Shape const *const shape = beginValue()) {
            failExpecting(*shape, quote(value));
        }
        keep(std::move(value));
        return true;
    }

    bool open(bool isArray) {
        Shape const *const shape = beginValue();
        if (shape && shape->isArray != isArray) {
            failExpecting(*shape, isArray ? "an array" : "an object");
        }
        if (depth_ == frames_.size()) {
            failAtPosition(fmt::format("nested deeper than {} levels", frames_.size()));
        }
        Json *const slot = keep(isArray ? Json::array() : Json::object());
        Frame &frame = frames_[depth_++];
        frame.shape = shape;
        frame.value = shape ? nullptr : slot;
        frame.count = 0;
        frame.isArray = isArray;
        frame.empty = true;
        if (shape && shape->handler) {
            frame.record = Json::object();
            frame.value = &frame.record;
            recordValues_ = 0;
        }
        return true;
    }

    bool close() {
        Frame &frame = top();
        if (frame.shape && frame.shape->handler) {
            frame.shape->handler(Record(frame.record, origin_, frame.empty));
            frame.record = nullptr;
        }
        --depth_;
        return true;
    }

    [[noreturn]] void failExpecting(Shape const &shape, std::string_view found) const {
        Agent::fail("{}: {}: expected an {}, found {}", file_.name(), path(depth_),
                    shape.isArray ? "array" : "object", found);
    }

    /// The path that leads through the lowest `frames` frames.
    [[nodiscard]] std::string path(std::size_t frames) const {
        std::string text = "$";
        for (std::size_t i = 0; i < frames; ++i) {
            Frame const &frame = frames_[i];
            if (frame.isArray) {
                text += fmt::format("[{}]", frame.count - 1);
            } else if (isPlainKey(frame.key)) {
                text += "." + frame.key;
            } else {
                text += "[" + quote(frame.key) + "]";
            }
        }
        return text;
    }

    InputFile &file_;
    Shape const &root_;
    RecordOrigin const origin_;
    std::array<Frame, JsonReader::maxNesting> frames_{};
    std::size_t depth_ = 0;
    std::size_t recordValues_ = 0; ///< kept since the last record began
};

/// Cut the next step ("[]" or ".name") off a place; an array's step is empty.
std::string_view cutStep(std::string_view &place) {
    if (place.starts_with("[]")) {
        place.remove_prefix(2);
        return {};
    }
    NUVIO_ASSERT(place.starts_with('.'), "place={}", place);
    std::string_view const step = place.substr(1, place.find_first_of(".[", 1) - 1);
    place.remove_prefix(1 + step.size());
    return step;
}

Shape &memberShape(Shape &object, std::string_view name) {
    for (auto const &[known, shape] : object.members) {
        if (known == name) {
            return *shape;
        }
    }
    return *object.members.emplace_back(name, std::make_unique<Shape>()).second;
}

} // namespace

void JsonReader::recordsIs(std::string_view place, std::vector<std::string> members,
                           Handler handler) {
    NUVIO_ASSERT(place.starts_with('$'), "place={}", place);
    place.remove_prefix(1);
    if (!root_) {
        root_ = std::make_unique<Shape>();
    }
    Shape *shape = root_.get();
    while (!place.empty()) {
        std::string_view const step = cutStep(place);
        shape->isArray = step.empty();
        if (!step.empty()) {
            shape = &memberShape(*shape, step);
            continue;
        }
        if (!shape->element) {
            shape->element = std::make_unique<Shape>();
        }
        shape = shape->element.get();
    }
    shape->kept = std::move(members);
    shape->handler = std::move(handler);
}

void JsonReader::read() {
    NUVIO_ASSERT(root_ != nullptr);
    RecordBuilder builder(file_, *root_);
    while (!file_.atEnd() &&
           std::string_view(" \t\r\n").find(file_.peek()) != std::string_view::npos) {
        file_.advance();
    }
    if (file_.atEnd()) {
        builder.failAtPosition("the file is empty");
    }
    Json::sax_parse(file_.begin(), file_.end(), &builder);
}

} // namespace Agent
