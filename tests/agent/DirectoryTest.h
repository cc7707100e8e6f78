// A directory to fill by hand.
#pragma once

#include "agent/Names.h"
#include "agent/Output.h"
#include "platform/VlanSubIntfConfigDir.h"
#include "tests/agent/SourceTest.h"

#include <fcntl.h>
#include <unistd.h>

#include <initializer_list>
#include <string>

namespace Agent {

class DirectoryTest : public SourceTest {
  protected:
    using Direction = Bridging::AllowedTrafficDirection;
    Qor::Ptr<VlanSubIntfConfigLib::VlanSubIntfConfigDir> const directory =
        VlanSubIntfConfigLib::VlanSubIntfConfigDir::VlanSubIntfConfigDirIs();

    void add(std::uint16_t vlan, char const *name, bool tag, Direction direction,
             std::initializer_list<char const *> memberNames) {
        auto const subIntf =
            directory->configIs(Bridging::VlanId(vlan))->intfIs(earlierSubIntf(name));
        subIntf->tagOnEgressIs(tag);
        subIntf->allowedTrafficDirectionIs(direction);
        for (char const *const member : memberNames) {
            subIntf->lagPhyIntfIs(earlierMember(member));
        }
    }
    void del(std::uint16_t vlan, char const *name) {
        (*directory->config(Bridging::VlanId(vlan)))->intfDel(earlierSubIntf(name));
    }
    /// What `write` writes to an Output.
    std::string written(auto const &write) {
        std::string const path = dir.file("out");
        int const descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        Output output(descriptor, "out");
        write(output);
        ::close(descriptor);
        return readFile(path);
    }
};

} // namespace Agent
