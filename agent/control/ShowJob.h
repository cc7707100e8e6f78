// The answer to `show`: the directory's entries, one a line, in slices.
//
// Between two slices the directory may change. An entry that is there throughout comes exactly
// once, each as it is at its instant; the order is that of the VLANs, and within one any.
#pragma once

#include "agent/VlanWalk.h"
#include "agent/control/Job.h"
#include "agent/control/Protocol.h"
#include "agent/service/Service.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Agent {

class ShowJob final : public Job {
  public:
    /// Both outlive the job. Throws an Error for wrong parameters.
    ShowJob(Service const &service, ControlRequest const &request, Reply &reply);

    [[nodiscard]] std::optional<Ending> step(Osk::Task const &task) override;

  private:
    using SubIntf = VlanSubIntfConfigLib::VlanSubIntf;

    void write(Bridging::VlanId vlan, SubIntf const &subIntf);
    [[nodiscard]] bool isWanted(Iftel::IntfId id) const;

    Service const &service_;
    Reply &reply_;
    std::optional<std::string> intf_; ///< only the subinterface of that name
    std::optional<std::string> lag_;  ///< only subinterfaces of that LAG
    VlanWalk walk_;
    std::uint16_t lastVlan_;
};

} // namespace Agent
