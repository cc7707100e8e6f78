// The peer P4: P0's containers; the output is thrown away and built anew for each batch of changes.
#pragma once

#include "bench/Join.h"

namespace Bench {

class Recompute : public Join<P0> {
  public:
    static constexpr bool rebuilds = true;

    void batchEnd() {
        if (live_) {
            restart();
        }
    }
    void liveIs(bool live) noexcept { live_ = live; }
    void memberIs(Vlan vlan, Intf intf, PeerConfig config) { memberFill(vlan, intf, config); }
    void memberDel(Vlan vlan, Intf intf) { memberUnfill(vlan, intf); }
    void lagMemberIs(Intf lag, Intf member) { lagMemberFill(lag, member); }
    void lagMemberDel(Intf lag, Intf member) { lagMemberUnfill(lag, member); }

    void restart() {
        output_ = {};
        index_ = {};
        start();
    }

  private:
    bool live_ = false;
};

} // namespace Bench
