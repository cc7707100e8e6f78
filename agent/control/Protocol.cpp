#include "agent/control/Protocol.h"

#include "agent/Error.h"
#include "agent/JsonText.h"
#include "agent/VlanNumber.h"
#include "platform/Nuvio/Assert.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace Agent {
namespace {

using nlohmann::json;

constexpr std::array<std::string_view, 3> statusWords = {"done", "failed", "differs"};
constexpr std::string_view versionMember = "version";
constexpr std::string_view requestMember = "request";

/// The library's message without its own name and number in front.
std::string_view reasonOf(json::exception const &error) noexcept {
    std::string_view const what = error.what();
    auto const end = what.find("] ");
    return end == std::string_view::npos ? what : what.substr(end + 2);
}

json parse(std::string_view line) {
    bool tooDeep = false;
    auto const watchDepth = [&](int depth, json::parse_event_t /*event*/, json & /*value*/) {
        tooDeep = tooDeep || depth > ControlRequest::maxNesting;
        return !tooDeep;
    };
    json document;
    try {
        document = json::parse(line, watchDepth);
    } catch (json::exception const &error) {
        fail("the request is not JSON: {}", visible(reasonOf(error)));
    }
    if (tooDeep) {
        fail("the request is nested deeper than {} levels", ControlRequest::maxNesting);
    }
    if (!document.is_object()) {
        fail("expected a request, an object, found {}", quote(document));
    }
    return document;
}

void checkVersion(json const &document) {
    auto const found = document.find(versionMember);
    if (found == document.end()) {
        fail("the request has no version, expected {}", controlVersion);
    }
    if (*found != controlVersion) {
        fail("version: expected {}, found {}", controlVersion, quote(*found));
    }
}

} // namespace

ControlRequest::ControlRequest(std::string_view line) : parameters_(parse(line)) {
    checkVersion(parameters_);
    name_ = needText(requestMember);
    parameters_.erase(std::string(versionMember));
    parameters_.erase(std::string(requestMember));
}

void ControlRequest::allowOnly(std::initializer_list<std::string_view> parameters) const {
    for (auto const &[parameter, value] : parameters_.items()) {
        if (std::find(parameters.begin(), parameters.end(), parameter) == parameters.end()) {
            fail("{} has no parameter {}", name_, quote(parameter));
        }
    }
}

std::optional<std::string> ControlRequest::text(std::string_view parameter) const {
    auto const found = parameters_.find(parameter);
    if (found == parameters_.end()) {
        return std::nullopt;
    }
    if (!found->is_string() || found->get_ref<std::string const &>().empty()) {
        fail("{}: expected a text, found {}", parameter, quote(*found));
    }
    return found->get<std::string>();
}

std::string ControlRequest::needText(std::string_view parameter) const {
    auto value = text(parameter);
    if (!value) {
        fail("{} is missing", parameter);
    }
    return *std::move(value);
}

std::optional<std::uint16_t> ControlRequest::vlan(std::string_view parameter) const {
    auto const found = parameters_.find(parameter);
    if (found == parameters_.end()) {
        return std::nullopt;
    }
    if (!found->is_number_integer() || *found < firstVlan || *found > lastVlan) {
        fail("{}: expected a VLAN number from {} to {}, found {}", parameter, firstVlan, lastVlan,
             quote(*found));
    }
    return found->get<std::uint16_t>();
}

std::string_view statusWord(Status status) noexcept {
    auto const index = static_cast<std::size_t>(status);
    NUVIO_ASSERT(index < statusWords.size());
    return statusWords[index];
}

std::optional<Status> statusOf(std::string_view word) noexcept {
    auto const *const found = std::find(statusWords.begin(), statusWords.end(), word);
    if (found == statusWords.end()) {
        return std::nullopt;
    }
    return static_cast<Status>(found - statusWords.begin());
}

std::string lastLine(Ending const &ending) {
    json line = ending.fields;
    line[versionMember] = controlVersion;
    line["status"] = statusWord(ending.status);
    if (!ending.message.empty()) {
        line["message"] = ending.message;
    }
    return line.dump(-1, ' ', false, json::error_handler_t::replace);
}

} // namespace Agent
