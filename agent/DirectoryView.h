// A directory in the order for people: VLANs by number, names in natural order.
//
// It looks at the directory as it was when the view was made; the directory must not change, and
// must outlive the view.
#pragma once

#include "platform/VlanSubIntfConfigDir.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Agent {

class DirectoryView {
  public:
    using Directory = VlanSubIntfConfigLib::VlanSubIntfConfigDir;
    using SubIntf = VlanSubIntfConfigLib::VlanSubIntf;
    using SubIntfs = std::span<SubIntf const *const>;

    explicit DirectoryView(Directory const &directory);

    /// Call `each` for every VLAN that has subinterfaces, with them. The span is valid during the
    /// call.
    void forEachVlan(std::function<void(Bridging::VlanId, SubIntfs)> const &each) const;

    [[nodiscard]] std::string_view name(Iftel::IntfId id) const { return named(id).name.view(); }
    /// The names of a subinterface's LAG members. Valid until the next call.
    [[nodiscard]] std::span<std::string_view const> members(SubIntf const &subIntf) const;

    /// Length of the longest name of a subinterface.
    [[nodiscard]] std::size_t longestName() const noexcept { return longestName_; }
    [[nodiscard]] bool empty() const noexcept { return vlans_.empty(); }

  private:
    using SubIntfConfig = VlanSubIntfConfigLib::VlanSubIntfConfig;
    struct Named {
        Nuvio::String name;
        std::uint32_t rank = 0; ///< in natural order
    };
    struct IdHash {
        std::size_t operator()(Iftel::IntfId id) const noexcept { return id.hash(); }
    };

    [[nodiscard]] Named const &named(Iftel::IntfId id) const { return names_.find(id)->second; }
    void collectNames();
    void rankNames();

    std::vector<SubIntfConfig const *> vlans_; ///< by number
    std::unordered_map<Iftel::IntfId, Named, IdHash> names_;
    std::size_t longestName_ = 0;
    mutable std::vector<Named const *> memberNames_; // scratch of members()
    mutable std::vector<std::string_view> memberTexts_;
};

} // namespace Agent
