// The names of a host's own, and the identifiers given to them.
//
// A host that does not use the native texts registers each interface with its kind, or its parent
// for a subinterface of any sort (stacked and 802.1ad devices too), before it uses the name. The
// table allocates the numbers and never reuses one, so an identifier that some machine still holds
// does not come to mean another interface.
//
// Registering a known name with the same kind or parent gives the same identifier; with another one
// it gives a new identifier, to which the name then leads. The old identifier keeps its name for
// printing until it is released; so does one whose name, a native text, goes back to its native
// identifier. A rename is a removal and an addition.
//
// There is one table, on the event loop's thread. Its entries cost memory until they are released.
#pragma once

#include "platform/Iftel/IntfId.h"
#include "platform/Nuvio/Export.h"

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Iftel {

class NUVIO_EXPORT NameTable {
  public:
    /// The process's table.
    [[nodiscard]] static NameTable &instance();

    /// Register an interface. Requires: `name` is not empty, `kind` is not none.
    IntfId intfIs(std::string_view name, IntfKind kind);
    /// Register a subinterface of `parent`; the default id stands for a parent that is not known.
    /// Requires: `name` is not empty, `parent` is not a subinterface.
    IntfId subIntfIs(std::string_view name, IntfId parent);
    /// Let a native text lead to its native identifier, whatever was registered under it; empty for
    /// any other text. Registers nothing that leads there anyway.
    std::optional<IntfId> nativeIs(std::string_view name);
    /// Release a registered identifier. Its text is native or unknown from here on.
    void intfDel(IntfId id);

    /// The identifier that a registered name leads to.
    [[nodiscard]] std::optional<IntfId> lookup(std::string_view name) const;
    /// The registered name of an identifier; null for one that is not registered.
    [[nodiscard]] Nuvio::String const *nameOf(IntfId id) const;
    /// The registered identifiers, in no order.
    [[nodiscard]] std::vector<IntfId> ids() const;
    /// How many are registered.
    [[nodiscard]] std::size_t size() const noexcept { return names_.size(); }

    /// Forget everything and number from the start.
    void resetForTest();

  private:
    struct IdHash {
        std::size_t operator()(IntfId id) const noexcept { return id.hash(); }
    };

    NameTable() = default;
    IntfId bind(std::string_view name, IntfId id);

    std::map<std::string, IntfId, std::less<>> ids_;
    std::unordered_map<IntfId, Nuvio::String, IdHash> names_;
    std::uint32_t nextIntf_ = IntfId::firstRegisteredIntf;
    std::uint32_t nextSubIntf_ = IntfId::firstRegisteredSubIntf;
};

} // namespace Iftel
