#include "agent/source/InputRows.h"

#include "platform/Iftel.h"
#include "platform/Nuvio/Assert.h"

#include <cstring>
#include <unordered_map>
#include <utility>

namespace Agent {
namespace {

/// What stands in front of every row. A name or message of `length` bytes follows it.
struct Row {
    enum class Kind : std::uint8_t {
        native,       ///< an interface by its native text
        ethernet,     ///< an interface with a name of its own
        portChannel,  ///< the same, a LAG
        subinterface, ///< the same, on the interface `a`; none for an unknown parent
        vlan,         ///< VLAN `a`; its members follow
        vlanMember,   ///< the interface `a`, configured as `flags` and `direction` say
        lag,          ///< the LAG `a`; its members follow
        lagMember,    ///< the interface `a`; `flags` 0 for one that nothing is configured for
        problem,      ///< instead of all rows
        end,
    };
    std::uint32_t a;
    std::uint16_t length;
    Kind kind;
    std::uint8_t flags;
    std::uint8_t direction;
};
constexpr std::uint32_t none = UINT32_MAX;
constexpr std::size_t pieceBytes = std::size_t{1} << 16;
constexpr std::uint8_t taggedFlag = 1;
constexpr std::uint8_t pvidFlag = 2;

class Writer {
  public:
    explicit Writer(std::function<void(std::string_view)> const &write) : write_(write) {}

    void row(Row const &row, std::string_view text = {}) {
        text_.append(reinterpret_cast<char const *>(&row), sizeof(row));
        text_.append(text);
        if (text_.size() >= pieceBytes) {
            flush();
        }
    }
    void text(Row::Kind kind, std::uint32_t a, std::string_view text) {
        auto const length = std::min<std::size_t>(text.size(), UINT16_MAX);
        row({a, static_cast<std::uint16_t>(length), kind, 0, 0}, text.substr(0, length));
    }
    void flush() {
        write_(text_);
        text_.clear();
    }

    /// The number of an interface, whose row is written before its first use.
    std::uint32_t intf(Iftel::IntfId id) {
        if (id == Iftel::IntfId()) {
            return none;
        }
        if (auto const known = numbers_.find(id.bits()); known != numbers_.end()) {
            return known->second;
        }
        auto const name = id.stringValue();
        if (Iftel::IntfId::native(name.view()) == id) {
            text(Row::Kind::native, none, name.view());
        } else if (id.isSubIntf()) {
            std::uint32_t const parent = intf(Iftel::SubIntfId::parentIntfId(id));
            text(Row::Kind::subinterface, parent, name.view());
        } else {
            bool const isLag = Iftel::PortChannelIntfId::isPortChannelIntfId(id);
            text(isLag ? Row::Kind::portChannel : Row::Kind::ethernet, none, name.view());
        }
        auto const number = static_cast<std::uint32_t>(numbers_.size());
        numbers_.emplace(id.bits(), number);
        return number;
    }

  private:
    std::function<void(std::string_view)> const &write_;
    std::string text_;
    std::unordered_map<std::uint64_t, std::uint32_t> numbers_;
};

void writeLags(Writer &writer, Lag::LagPhyIntfMapping const &mapping) {
    for (auto const &[id, lag] : mapping.lagPhyIntfConfig()) {
        writer.row({writer.intf(id), 0, Row::Kind::lag, 0, 0});
        for (auto const &[member, config] : lag->phyIntf()) {
            writer.row({writer.intf(member), 0, Row::Kind::lagMember,
                        static_cast<std::uint8_t>(config ? 1 : 0), 0});
        }
    }
}

void writeVlans(Writer &writer, Bridging::Config const &config) {
    for (auto const &[id, vlan] : config.vlanConfig()) {
        writer.row({id.value(), 0, Row::Kind::vlan, 0, 0});
        for (auto const &[member, port] : vlan->intf()) {
            auto const flags = static_cast<std::uint8_t>((port.tagOnEgress ? taggedFlag : 0) |
                                                         (port.pvid ? pvidFlag : 0));
            writer.row({writer.intf(member), 0, Row::Kind::vlanMember, flags,
                        static_cast<std::uint8_t>(port.allowedTrafficDirection)});
        }
    }
}

} // namespace

void writeInputRows(Inputs const &inputs, std::function<void(std::string_view)> const &write) {
    Writer writer(write);
    writeLags(writer, *inputs.lagPhyIntfMapping);
    writeVlans(writer, *inputs.bridgingConfig);
    writer.row({0, 0, Row::Kind::end, 0, 0});
    writer.flush();
}

void writeInputProblem(std::string_view message,
                       std::function<void(std::string_view)> const &write) {
    Writer writer(write);
    writer.text(Row::Kind::problem, none, message);
    writer.flush();
}

void InputRowsReader::take(std::string_view bytes) {
    rest_ += bytes;
    std::string_view left = rest_;
    while (std::size_t const taken = takeRow(left)) {
        left.remove_prefix(taken);
    }
    rest_.erase(0, rest_.size() - left.size());
}

/// The bytes of the first row; 0 if it has not come whole.
std::size_t InputRowsReader::takeRow(std::string_view bytes) {
    Row row{};
    if (bytes.size() < sizeof(row)) {
        return 0;
    }
    std::memcpy(&row, bytes.data(), sizeof(row));
    std::size_t const size = sizeof(row) + row.length;
    if (bytes.size() < size) {
        return 0;
    }
    std::string_view const text = bytes.substr(sizeof(row), row.length);
    switch (row.kind) {
    case Row::Kind::vlan:
        vlan_ = inputs_.bridgingConfig->vlanConfigIs(
            Bridging::VlanId(static_cast<std::uint16_t>(row.a)));
        break;
    case Row::Kind::vlanMember:
        vlan_->intfIs(intfs_[row.a],
                      {(row.flags & taggedFlag) != 0, (row.flags & pvidFlag) != 0,
                       static_cast<Bridging::AllowedTrafficDirection>(row.direction)});
        break;
    case Row::Kind::lag:
        lag_ = inputs_.lagPhyIntfMapping->lagPhyIntfConfigIs(intfs_[row.a]);
        break;
    case Row::Kind::lagMember:
        lag_->phyIntfIs(intfs_[row.a], row.flags != 0
                                           ? Lag::EthPhyIntfLagConfig::EthPhyIntfLagConfigIs()
                                           : nullptr);
        break;
    case Row::Kind::problem:
        problem_ = text;
        break;
    case Row::Kind::end:
        complete_ = true;
        break;
    default:
        intf(static_cast<std::uint8_t>(row.kind), row.a, text);
    }
    return size;
}

void InputRowsReader::intf(std::uint8_t kind, std::uint32_t parent, std::string_view name) {
    auto &table = Iftel::NameTable::instance();
    switch (static_cast<Row::Kind>(kind)) {
    case Row::Kind::native: {
        auto const id = table.nativeIs(name);
        NUVIO_ASSERT(id.has_value());
        intfs_.push_back(*id);
        return;
    }
    case Row::Kind::subinterface:
        intfs_.push_back(table.subIntfIs(name, parent == none ? Iftel::IntfId() : intfs_[parent]));
        return;
    default:
        intfs_.push_back(table.intfIs(name, static_cast<Row::Kind>(kind) == Row::Kind::portChannel
                                                ? Iftel::IntfKind::portChannel
                                                : Iftel::IntfKind::ethernet));
    }
}

} // namespace Agent
