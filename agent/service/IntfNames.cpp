#include "agent/service/IntfNames.h"

#include "agent/JsonText.h"
#include "agent/NaturalOrder.h"

#include <algorithm>

namespace Agent {

std::string printableName(Iftel::IntfId id) {
    return id == Iftel::IntfId() ? "(unknown)" : printable(id.stringValue().view());
}

std::vector<std::string> namesInOrder(std::span<Iftel::IntfId const> ids) {
    std::vector<std::string> names;
    names.reserve(ids.size());
    for (Iftel::IntfId const id : ids) {
        names.emplace_back(id.stringValue().view());
    }
    std::ranges::sort(names, naturallyBefore);
    return names;
}

std::string printableNames(std::span<Iftel::IntfId const> ids) {
    std::string text;
    for (std::string const &name : namesInOrder(ids)) {
        text += (text.empty() ? "" : ", ") + printable(name);
    }
    return text;
}

} // namespace Agent
