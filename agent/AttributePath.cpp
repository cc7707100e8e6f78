#include "agent/AttributePath.h"

#include "agent/Error.h"
#include "agent/JsonText.h"

#include <algorithm>
#include <charconv>
#include <memory>
#include <utility>

namespace Agent {
namespace {

using Qor::AttributeKind;
using Qor::OpCode;
using Qor::Value;

Qor::Attribute const *attributeOf(Qor::TypeImpl const &type, std::string_view name) {
    int number = 0;
    auto const [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    return error == std::errc() && end == name.data() + name.size()
               ? Qor::GenericIf::attribute(type, number)
               : Qor::GenericIf::attribute(type, name);
}

std::string_view describe(PathStep const &step) {
    if (step.key) {
        return "an entry";
    }
    switch (step.attribute->kind) {
    case AttributeKind::method:
        return "a method";
    case AttributeKind::collection:
        return "a collection";
    case AttributeKind::computed:
        return "computed";
    case AttributeKind::pointer:
    case AttributeKind::value:
        break;
    }
    return "a value";
}

std::string_view describe(OpCode code) {
    switch (code) {
    case OpCode::read:
    case OpCode::index:
        return "read";
    case OpCode::write:
        return "written";
    case OpCode::del:
        return "deleted";
    case OpCode::size:
    case OpCode::capacity:
        return "measured";
    case OpCode::invoke:
    case OpCode::fromText:
        break;
    }
    return "invoked";
}

/// Where the key at the start of `text` ends: behind its closing bracket.
std::size_t endOfKey(std::string_view text) {
    if (!text.starts_with("[@")) {
        auto const end = text.find("]/");
        return end == std::string_view::npos ? text.size() : end + 1;
    }
    int depth = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        depth += text[i] == '[' ? 1 : 0;
        depth -= text[i] == ']' ? 1 : 0;
        if (depth == 0) {
            return i + 1;
        }
    }
    return text.size();
}

/// Cut the next step off `rest`, with the slash behind it.
std::string_view cutStep(std::string_view &rest) {
    std::size_t const start = rest.starts_with('[') ? endOfKey(rest) : 0;
    auto const step = rest.substr(0, rest.find('/', start));
    rest.remove_prefix(std::min(rest.size(), step.size() + 1));
    return step;
}

/// Run one operation on one attribute; exceptions and statuses become messages.
Value operateOn(PathStep &step, OpCode code, std::vector<Value> const &arguments) {
    Qor::Operation operation{code, arguments, {}};
    try {
        if (Qor::GenericIf::operate(step.owner, step.attribute->number, operation) !=
            Qor::Status::done) {
            fail("{}: {}, cannot be {}", step.path, describe(step), describe(code));
        }
    } catch (Qor::Exception const &misuse) {
        fail("{}: {}", step.path, visible(misuse.what()));
    }
    return operation.result;
}

} // namespace

Qor::TypeImpl const &attributedTypeOf(Value const &value, std::string_view path) {
    auto const *const type = Qor::GenericIf::typeOf(value);
    if (!type && value.isObject()) {
        fail("{}: is null", path);
    }
    if (!type) {
        fail("{}: {} has no attributes", path, typeNameOf(value));
    }
    return *type;
}

std::string typeNameOf(Value const &value) {
    if (auto const *const type = Qor::GenericIf::typeOf(value)) {
        return std::string(type->name());
    }
    return value.type() ? std::string(value.type()->name) : "nothing";
}

Value readStep(PathStep const &step) {
    PathStep reading = step;
    AttributeKind const kind = step.attribute->kind;
    if (kind == AttributeKind::method) {
        fail("{}: a method, has no value", step.path);
    }
    if (kind == AttributeKind::collection && !step.key) {
        fail("{}: a collection, its entries are named by [key]", step.path);
    }
    if (kind == AttributeKind::computed) {
        return operateOn(reading, OpCode::invoke, {});
    }
    if (!step.key) {
        return operateOn(reading, OpCode::read, {});
    }
    Value entry = operateOn(reading, OpCode::read, {*step.key});
    if (entry.empty()) {
        fail("{}: there is no such entry", step.path);
    }
    return entry;
}

AttributePath::AttributePath(Value root, std::string_view path, std::size_t depth)
    : root_(std::move(root)), depth_(depth) {
    std::string_view rest = path;
    if (rest.starts_with('/')) {
        rest.remove_prefix(1);
    }
    while (!rest.empty()) {
        auto const step = cutStep(rest);
        auto const end = static_cast<std::size_t>(step.data() + step.size() - path.data());
        std::string done = printable(path.substr(0, end));
        if (step.starts_with('[')) {
            if (!step.ends_with(']')) {
                fail("{}: the bracket of a key is not closed", done);
            }
            addKey(step.substr(1, step.size() - 2), std::move(done));
        } else {
            addStep(steps_.empty() ? root_ : readStep(steps_.back()), step, std::move(done));
        }
    }
}

void AttributePath::addStep(Value owner, std::string_view name, std::string path) {
    Qor::TypeImpl const &type = attributedTypeOf(owner, steps_.empty() ? "/" : steps_.back().path);
    auto const *const attribute = attributeOf(type, name);
    if (!attribute) {
        fail("{}: {} has no attribute \"{}\"", path, type.name(), printable(name));
    }
    steps_.push_back({std::move(owner), attribute, std::nullopt, std::move(path)});
}

void AttributePath::addKey(std::string_view text, std::string path) {
    if (!isCollection()) {
        fail("{}: a key stands only behind a collection", path);
    }
    PathStep &step = steps_.back();
    step.path = std::move(path);
    if (text.starts_with('@')) {
        if (depth_ == deepestKey) {
            fail("keys are nested deeper than {} levels", deepestKey);
        }
        step.key = AttributePath(root_, text.substr(1), depth_ + 1).read();
        return;
    }
    try {
        step.key = Value::parse(*step.attribute->keyType, text);
    } catch (Qor::Exception const &misuse) {
        fail("{}: {}", step.path, visible(misuse.what()));
    }
}

Value AttributePath::read() const {
    return steps_.empty() ? root_ : readStep(steps_.back());
}

Value AttributePath::operate(OpCode code, std::vector<Value> arguments) {
    if (steps_.empty()) {
        fail("the path names the machine itself, not one of its attributes");
    }
    return operateAt(steps_.size() - 1, code, std::move(arguments));
}

Value AttributePath::operateAt(std::size_t index, OpCode code, std::vector<Value> arguments) {
    PathStep &step = steps_[index];
    if (step.key) {
        arguments.insert(arguments.begin(), *step.key);
    }
    Value result = operateOn(step, code, arguments);
    if (code == OpCode::write && !step.owner.isObject() && index > 0) {
        operateAt(index - 1, OpCode::write, {step.owner});
    }
    return result;
}

void AttributePath::needCollection() const {
    if (!isCollection()) {
        fail("{}: not a collection", isRoot() ? "/" : last().path);
    }
}

std::unique_ptr<Qor::GenericIterator> AttributePath::walk() const {
    needCollection();
    return Qor::GenericIf::genericIfIterator(*last().owner.object(), last().attribute->number);
}

} // namespace Agent
