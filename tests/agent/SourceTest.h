// What the tests of the sources share: documents from text, and inputs as text.
#pragma once

#include "agent/DirectoryDocument.h"
#include "agent/InputFile.h"
#include "platform/Bridging.h"
#include "platform/Iftel.h"
#include "platform/Lag.h"
#include "tests/agent/MessageOf.h"
#include "tests/agent/TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

namespace Agent {

class SourceTest : public testing::Test {
  protected:
    SourceTest() { Iftel::NameTable::instance().resetForTest(); }
    ~SourceTest() override { Iftel::NameTable::instance().resetForTest(); }

    TempDir dir;
    Progress progress;
    Qor::Ptr<Bridging::Config> const config = Bridging::Config::ConfigIs();
    Qor::Ptr<Lag::LagPhyIntfMapping> const mapping = Lag::LagPhyIntfMapping::LagPhyIntfMappingIs();

    /// Call `read` with an InputFile of that text.
    void withFile(std::string const &name, std::string_view text, auto const &read) {
        InputFile file(dir.write(name, text), progress);
        read(file);
    }
    /// The message of the Error that `action` throws, without the folder.
    std::string messageOf(auto const &action) const {
        return Agent::messageOf(action, dir.file(""));
    }

    /// "100 bond0.100 tag both", a line each, in order.
    std::vector<std::string> members() const {
        std::vector<std::string> lines;
        for (auto const &[vlan, entry] : config->vlanConfig()) {
            for (auto const &[intf, member] : entry->intf()) {
                std::ostringstream line;
                line << vlan << " " << intf << (member.tagOnEgress ? " tag " : " untag ")
                     << member.allowedTrafficDirection;
                lines.push_back(line.str());
            }
        }
        std::sort(lines.begin(), lines.end());
        return lines;
    }
    /// "bond0: eth1 eth2", a line each, in order.
    std::vector<std::string> lags() const {
        std::vector<std::string> lines;
        for (auto const &[lag, entry] : mapping->lagPhyIntfConfig()) {
            std::vector<std::string> names;
            for (auto const &[intf, member] : entry->phyIntf()) {
                names.emplace_back(intf.stringValue().view());
            }
            std::sort(names.begin(), names.end());
            std::string line = std::string(lag.stringValue().view()) + ":";
            for (std::string const &name : names) {
                line += " " + name;
            }
            lines.push_back(line);
        }
        std::sort(lines.begin(), lines.end());
        return lines;
    }
};

} // namespace Agent
