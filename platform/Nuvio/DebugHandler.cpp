#include "platform/Nuvio/DebugHandler.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

namespace Nuvio {
namespace {

constexpr unsigned maxLevel = 15;

std::optional<unsigned> levelOf(std::string_view text) {
    unsigned level = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), level);
    if (error != std::errc() || end != text.data() + text.size() || level > maxLevel) {
        return std::nullopt;
    }
    return level;
}

/// Cut the text before the next `separator` off `rest`.
std::string_view cut(std::string_view &rest, char separator) {
    auto const end = rest.find(separator);
    auto const head = rest.substr(0, end);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    return head;
}

/// The mask that NUVIO_TRACE gives to `name`; 0 where it does not name it or is malformed. An item
/// without a name ("7,9" after "ConfigSm/6") goes on with the levels of the one before it.
std::uint16_t maskFromEnvironment(std::string_view name) {
    char const *const value = std::getenv("NUVIO_TRACE");
    std::string_view rest = value ? value : "";
    std::string_view current;
    std::uint16_t mask = 0;
    while (!rest.empty()) {
        std::string_view levels = cut(rest, ',');
        if (levels.find('/') != std::string_view::npos) {
            current = cut(levels, '/');
        }
        if (current == name) {
            mask = static_cast<std::uint16_t>(mask | Platform::levelMaskOf(levels).value_or(0));
        }
    }
    return mask;
}

/// A standard error that is closed or full loses the line; it must not end the traced code.
void writeToStandardError(TraceRecord const &record) {
    std::string const line =
        fmt::format("{} {}::{} {}:{} {}\n", record.level, record.machine, record.function,
                    record.source, record.line, record.message);
    static_cast<void>(std::fwrite(line.data(), 1, line.size(), stderr));
}

} // namespace

namespace Platform {

void DebugHandler::emit(TraceRecord const &record) const {
    if (sink_) {
        sink_(record);
    } else {
        writeToStandardError(record);
    }
}

Ptr<DebugHandler> getDebugHandler(String const &name, bool allLevels) {
    static std::map<std::string, Ptr<DebugHandler>, std::less<>> handles;
    if (auto const found = handles.find(name.view()); found != handles.end()) {
        return found->second;
    }
    auto handle = Ptr<DebugHandler>::adopt(new DebugHandler(name));
    handle->levelMaskIs(allLevels ? std::uint16_t{0xFFFF} : maskFromEnvironment(name.view()));
    handles.emplace(name.view(), handle);
    return handle;
}

std::optional<std::uint16_t> levelMaskOf(std::string_view levels) {
    if (levels.ends_with(',')) {
        return std::nullopt;
    }
    unsigned mask = 0;
    do {
        std::string_view last = cut(levels, ',');
        bool const isRange = last.find('-') != std::string_view::npos;
        auto const from = levelOf(cut(last, '-'));
        auto const to = isRange ? levelOf(last) : from;
        if (!from || !to || *from > *to) {
            return std::nullopt;
        }
        for (unsigned level = *from; level <= *to; ++level) {
            mask |= 1U << level;
        }
    } while (!levels.empty());
    return static_cast<std::uint16_t>(mask);
}

} // namespace Platform

void Impl::vfmtrace(Platform::DebugHandler const &handler, std::uint16_t level,
                    std::string_view machine, std::string_view function, std::string_view source,
                    std::uint32_t line, fmt::string_view format, fmt::format_args arguments) {
    if (handler.levelEnabled(level)) {
        std::string const message = fmt::vformat(format, arguments);
        handler.emit({level, machine, function, source, line, message});
    }
}

} // namespace Nuvio
