#include "agent/Inspector.h"

#include "agent/AttributeView.h"
#include "agent/Error.h"
#include "agent/JsonText.h"
#include "platform/Nuvio/DebugHandler.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

namespace Agent {
namespace {

using Qor::AttributeKind;
using Qor::OpCode;
using Qor::Value;

constexpr std::string_view helpOnPaths =
    R"(A PATH names attributes by number or name, and entries by [KEY]:
  136/265/[100]/266   vlanConfigSm0/childSm/[100]/handleIntf
A VALUE, ARG or KEY is text, null, or @PATH for what is there. Double quotes hold together what has
blanks in it; a backslash inside them takes the next character as it is.
)";

std::string_view wordOf(AttributeKind kind) {
    switch (kind) {
    case AttributeKind::pointer:
        return "pointer";
    case AttributeKind::collection:
        return "collection";
    case AttributeKind::method:
        return "method";
    case AttributeKind::computed:
        return "computed";
    case AttributeKind::value:
        break;
    }
    return "value";
}

/// The types of what an attribute takes and gives, such as "[Bridging::VlanId] -> bool".
std::string signatureOf(Qor::Attribute const &attribute) {
    std::string text;
    if (attribute.keyType) {
        text = fmt::format("[{}] ", attribute.keyType->name);
    }
    if (attribute.kind == AttributeKind::method) {
        text += '(';
        for (auto const *const type : attribute.argumentTypes) {
            if (type) {
                text += fmt::format("{}{}", text.back() == '(' ? "" : ", ", type->name);
            }
        }
        text += attribute.valueType ? ") " : ")";
    }
    return text + std::string(attribute.valueType ? attribute.valueType->name : "");
}

/// "1 run", "2 runs".
std::string counted(Value const &count, std::string_view one, std::string_view many) {
    std::string const number = count.text();
    return fmt::format("{} {}", number, number == "1" ? one : many);
}

/// The next steps of a path that so far leads to `end`: entries of a collection, else attributes. A
/// slash follows what leads on. Keys that are objects or would have to be quoted are left out.
std::vector<std::string> stepsBehind(AttributePath const &end) {
    std::vector<std::string> steps;
    if (end.isCollection()) {
        for (Entry const &entry : entriesOf(*end.walk())) {
            if (!entry.isObject && entry.key.find_first_of(" \t\"") == std::string::npos) {
                bool const leadsOn = Qor::GenericIf::typeOf(entry.value) != nullptr;
                steps.push_back(fmt::format("[{}]{}", entry.key, leadsOn ? "/" : ""));
            }
        }
        return steps;
    }
    for (Qor::Attribute const &attribute : attributedTypeOf(end.read(), {}).attributes()) {
        bool const leadsOn =
            attribute.kind == AttributeKind::pointer ||
            attribute.kind == AttributeKind::collection ||
            (attribute.kind == AttributeKind::value && attribute.valueType->attributes);
        steps.push_back(fmt::format("{}{}", attribute.name, leadsOn ? "/" : ""));
    }
    return steps;
}

/// Lines of cells in columns, the last one as long as it likes.
std::string columns(std::vector<std::vector<std::string>> const &rows) {
    std::vector<std::size_t> widths;
    for (auto const &row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i + 1 < row.size(); ++i) {
            widths[i] = std::max(widths[i], row[i].size());
        }
    }
    std::string text;
    for (auto const &row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            line += fmt::format("{:<{}}{}", row[i], widths[i], i + 1 < row.size() ? "  " : "");
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + '\n';
    }
    return text;
}

std::string lineOf(Json const &json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

} // namespace

std::vector<std::string> wordsOf(std::string_view line) {
    std::vector<std::string> words;
    std::string word;
    bool inWord = false;
    bool quoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        char const c = line[i];
        if (c == '"') {
            quoted = !quoted;
            inWord = true;
        } else if (quoted && c == '\\' && i + 1 < line.size()) {
            word += line[++i];
        } else if (quoted || (c != ' ' && c != '\t')) {
            word += c;
            inWord = true;
        } else if (inWord) {
            words.push_back(std::exchange(word, {}));
            inWord = false;
        }
    }
    if (quoted) {
        fail("a quote is not closed: {}", printable(line));
    }
    if (inWord) {
        words.push_back(word);
    }
    return words;
}

Inspector::Inspector(Qor::ObjectPtr const &machine, bool json, Sink sink)
    : machine_(Value::of(machine)), json_(json), sink_(std::move(sink)) {}

std::vector<Inspector::Command> const &Inspector::commands() {
    static std::vector<Command> const all = {
        {"types", "", "the registered types", 0, 0, &Inspector::types},
        {"attrs", "[PATH]", "the attributes of the object there", 0, 1, &Inspector::attrs},
        {"get", "PATH", "the value of an attribute or entry", 1, 1, &Inspector::get},
        {"set", "PATH [VALUE...]", "write an attribute or entry", 1, anyNumber, &Inspector::set},
        {"del", "PATH [KEY]", "delete an entry, clear a pointer", 1, 2, &Inspector::del},
        {"list", "PATH", "the entries of a collection", 1, 1, &Inspector::list},
        {"size", "PATH", "the number of entries, and the capacity", 1, 1, &Inspector::size},
        {"invoke", "PATH [ARG...]", "call a method", 1, anyNumber, &Inspector::invoke},
        {"run", "", "run the scheduler until it is idle", 0, 0, &Inspector::run},
        {"show", "", "the derived directory", 0, 0, &Inspector::show},
        {"trace", "LEVELS", "trace these levels, such as 6-9, or off", 1, 1, &Inspector::trace},
        {"census", "", "the live objects of each type", 0, 0, &Inspector::census},
        {"help", "", "this list", 0, 0, &Inspector::help},
        {"quit", "", "leave", 0, 0, nullptr}};
    return all;
}

bool Inspector::execute(std::string_view line) {
    auto const start = line.find_first_not_of(" \t");
    if (start == std::string_view::npos || line[start] == '#') {
        return true;
    }
    Words words = wordsOf(line);
    std::string const name = words.front();
    words.erase(words.begin());
    auto const command = std::ranges::find(commands(), name, &Command::name);
    if (command == commands().end()) {
        fail("no command \"{}\"; `help` lists them", printable(name));
    }
    if (words.size() < command->fewest || words.size() > command->most) {
        fail("usage: {}{}{}", name, command->arguments.empty() ? "" : " ", command->arguments);
    }
    if (!command->run) {
        return false;
    }
    (this->*command->run)(words);
    return true;
}

std::vector<std::string> Inspector::completions(std::string_view before,
                                                std::string_view word) const {
    std::vector<std::string> found;
    if (before.find_first_not_of(" \t") == std::string_view::npos) {
        for (Command const &command : commands()) {
            if (command.name.starts_with(word)) {
                found.emplace_back(command.name);
            }
        }
        return found;
    }
    // The step behind the last slash, of PATH or @PATH.
    std::size_t const at = word.starts_with('@') ? 1 : 0;
    auto const slash = word.rfind('/');
    auto const head = word.substr(0, slash == std::string_view::npos ? at : slash + 1);
    try {
        for (std::string const &step : stepsBehind(path(head.substr(at)))) {
            if (step.starts_with(word.substr(head.size()))) {
                found.push_back(fmt::format("{}{}", head, step));
            }
        }
    } catch (Error const &) {
        found.clear(); // nothing leads on from here
    }
    return found;
}

AttributePath Inspector::path(std::string_view text) const {
    return AttributePath(machine_, text);
}

Value Inspector::argument(Qor::Attribute const &attribute, std::size_t index,
                          std::string_view text) const {
    if (text.starts_with('@')) {
        return path(text.substr(1)).read();
    }
    auto const *type =
        index < attribute.argumentTypes.size() ? attribute.argumentTypes[index] : nullptr;
    if (isSet(attribute) && index == 1) {
        type = attribute.valueType; // the writer of a set knows keys alone
    }
    if (!type) {
        fail("{}: takes no argument \"{}\"", attribute.name, printable(text));
    }
    try {
        return Value::parse(*type, text);
    } catch (Qor::Exception const &misuse) {
        fail("{}: {}: {}", attribute.name, printable(text), visible(misuse.what()));
    }
}

std::vector<Value> Inspector::arguments(Qor::Attribute const &attribute, std::size_t first,
                                        Words const &words) const {
    std::vector<Value> values;
    for (std::string const &word : words) {
        values.push_back(argument(attribute, first + values.size(), word));
    }
    return values;
}

// Commands.

void Inspector::types(Words const & /*arguments*/) {
    std::vector<Qor::TypeImpl const *> known;
    for (Qor::Module const *const module : Qor::modules()) {
        known.insert(known.end(), module->types.begin(), module->types.end());
    }
    std::ranges::sort(known, {}, &Qor::TypeImpl::name);
    std::vector<std::vector<std::string>> rows;
    Json all = Json::array();
    for (Qor::TypeImpl const *const type : known) {
        std::size_t const count = type->attributes().size();
        rows.push_back({std::string(type->name()),
                        counted(Value::of(std::uint64_t{count}), "attribute", "attributes")});
        all.push_back({{"type", type->name()}, {"attributes", count}});
    }
    sink_(json_ ? lineOf(all) : columns(rows));
}

void Inspector::attrs(Words const &arguments) {
    Value const object = arguments.empty() ? machine_ : path(arguments[0]).read();
    Qor::TypeImpl const &type = attributedTypeOf(object, arguments.empty() ? "/" : arguments[0]);
    std::vector<std::vector<std::string>> rows;
    Json all = Json::array();
    for (Qor::Attribute const &attribute : type.attributes()) {
        std::string const kind(wordOf(attribute.kind));
        rows.push_back({std::to_string(attribute.number), kind, attribute.writable ? "rw" : "r",
                        std::string(attribute.name), signatureOf(attribute)});
        all.push_back({{"number", attribute.number},
                       {"name", attribute.name},
                       {"kind", kind},
                       {"writable", attribute.writable},
                       {"type", signatureOf(attribute)}});
    }
    sink_(json_ ? lineOf({{"type", type.name()}, {"attributes", all}})
                : fmt::format("{}\n{}", type.name(), columns(rows)));
}

void Inspector::get(Words const &arguments) {
    Value const value = path(arguments[0]).read();
    sink_(json_
              ? lineOf(
                    {{"path", arguments[0]}, {"type", typeNameOf(value)}, {"value", jsonOf(value)}})
              : printable(value.text()) + '\n');
}

void Inspector::set(Words const &arguments) {
    AttributePath target = path(arguments[0]);
    if (target.isRoot()) {
        fail("/: the machine itself cannot be written");
    }
    Qor::Attribute const &attribute = *target.last().attribute;
    // What cannot be written refuses before it looks at values.
    Words const words(attribute.writable ? arguments.begin() + 1 : arguments.end(),
                      arguments.end());
    // Where there is a key, it is the creator's first argument.
    target.operate(OpCode::write, this->arguments(attribute, target.last().key ? 1 : 0, words));
    if (json_) {
        sink_(lineOf({{"path", arguments[0]}, {"done", true}}));
    }
}

void Inspector::del(Words const &arguments) {
    std::string const text =
        arguments.size() == 2 ? fmt::format("{}/[{}]", arguments[0], arguments[1]) : arguments[0];
    AttributePath target = path(text);
    if (target.isCollection()) {
        fail("{}: a collection, its entries are deleted by KEY", target.last().path);
    }
    target.operate(OpCode::del, {});
    if (json_) {
        sink_(lineOf({{"path", text}, {"done", true}}));
    }
}

void Inspector::list(Words const &arguments) {
    AttributePath const target = path(arguments[0]);
    auto const walk = target.walk();
    std::vector<std::vector<std::string>> rows;
    Json all = Json::array();
    for (Entry const &entry : entriesOf(*walk)) {
        if (isSet(*target.last().attribute)) {
            rows.push_back({printable(entry.key)});
            all.push_back({{"key", entry.key}});
        } else {
            rows.push_back({printable(entry.key), printable(entry.value.text())});
            all.push_back({{"key", entry.key}, {"value", jsonOf(entry.value)}});
        }
    }
    sink_(json_ ? lineOf({{"path", arguments[0]}, {"entries", all}}) : columns(rows));
}

void Inspector::size(Words const &arguments) {
    AttributePath target = path(arguments[0]);
    target.needCollection();
    Value const entries = target.operate(OpCode::size, {});
    Value const capacity = target.operate(OpCode::capacity, {});
    sink_(json_ ? lineOf({{"path", arguments[0]},
                          {"entries", jsonOf(entries)},
                          {"capacity", jsonOf(capacity)}})
                : fmt::format("{}, capacity {}\n", counted(entries, "entry", "entries"),
                              capacity.text()));
}

void Inspector::invoke(Words const &arguments) {
    AttributePath target = path(arguments[0]);
    if (target.isRoot()) {
        fail("/: the machine itself cannot be invoked");
    }
    Words const words(arguments.begin() + 1, arguments.end());
    Value const result =
        target.operate(OpCode::invoke, this->arguments(*target.last().attribute, 0, words));
    if (json_) {
        sink_(lineOf({{"path", arguments[0]}, {"result", jsonOf(result)}}));
    } else if (!result.empty()) {
        sink_(printable(result.text()) + '\n');
    }
}

void Inspector::run(Words const & /*arguments*/) {
    Value const scheduler = path("scheduler").read();
    Value runs = Value::of(std::uint64_t{0}); // a synchronous machine has no scheduler
    if (scheduler.object()) {
        runs = AttributePath(scheduler, "runUntilIdle").operate(OpCode::invoke, {});
    }
    sink_(json_ ? lineOf({{"runs", jsonOf(runs)}}) : counted(runs, "run", "runs") + '\n');
}

void Inspector::show(Words const & /*arguments*/) {
    Json const tree = treeOf(path("vlanSubIntfConfigDir").read());
    std::string text;
    appendTree(text, tree, 0);
    sink_(json_ ? lineOf(tree) : text);
}

void Inspector::trace(Words const &arguments) {
    auto const mask = arguments[0] == "off" ? std::optional<std::uint16_t>(0)
                                            : Nuvio::Platform::levelMaskOf(arguments[0]);
    if (!mask) {
        fail("trace: expected levels from 0 to 15, such as 9 or 6-9, or off, found \"{}\"",
             printable(arguments[0]));
    }
    Nuvio::Platform::getDebugHandler("VlanSubIntfConfigLib", false)->levelMaskIs(*mask);
    if (json_) {
        sink_(lineOf({{"trace", arguments[0]}}));
    }
}

void Inspector::census(Words const & /*arguments*/) {
    std::vector<std::vector<std::string>> rows = {{"TYPE", "OBJECTS", "ARRAYS", "BYTES"}};
    Json all = Json::array();
    for (Qor::CensusLine const &line : Qor::census()) {
        if (line.objects + line.arrays > 0) {
            rows.push_back({std::string(line.type), std::to_string(line.objects),
                            std::to_string(line.arrays), std::to_string(line.bytes)});
            all.push_back({{"type", line.type},
                           {"objects", line.objects},
                           {"arrays", line.arrays},
                           {"bytes", line.bytes},
                           {"peakBytes", line.peakBytes}});
        }
    }
    sink_(json_ ? lineOf(all) : columns(rows));
}

void Inspector::help(Words const & /*arguments*/) {
    std::vector<std::vector<std::string>> rows;
    Json all = Json::array();
    for (Command const &command : commands()) {
        rows.push_back(
            {fmt::format("{} {}", command.name, command.arguments), std::string(command.purpose)});
        all.push_back({{"command", command.name},
                       {"arguments", command.arguments},
                       {"purpose", command.purpose}});
    }
    sink_(json_ ? lineOf(all) : fmt::format("{}{}", columns(rows), helpOnPaths));
}

} // namespace Agent
