#include "tests/agent/Site.h"

namespace Agent {

std::string Site::name(unsigned subIntf) const {
    return "bond" + std::to_string(subIntf % lags_) + "." + std::to_string(subIntf + 1);
}

void Site::writeLinks(std::ostream &out) const {
    out << R"([{"ifindex":1,"ifname":"br0","linkinfo":{"info_kind":"bridge"}})";
    for (unsigned i = 0; i < lags_ * membersPerLag_; ++i) {
        out << R"(,{"ifname":"eth)" << i + 1 << R"(","master":"bond)" << i / membersPerLag_
            << R"(","linkinfo":{"info_kind":"dummy","info_slave_kind":"bond"}})";
    }
    for (unsigned i = 0; i < lags_; ++i) {
        out << R"(,{"ifname":"bond)" << i << R"(","linkinfo":{"info_kind":"bond"}})";
    }
    for (unsigned i = 0; i < subIntfs_; ++i) {
        out << R"(,{"ifname":")" << name(i) << R"(","link":"bond)" << i % lags_
            << R"(","master":"br0","linkinfo":{"info_kind":"vlan","info_slave_kind":"bridge"}})";
    }
    out << "]\n";
}

void Site::writeVlans(std::ostream &out) const {
    out << R"([{"ifname":"br0","vlans":[{"vlan":1,"vlanEnd":4094,"state":"forwarding"}]})";
    for (unsigned subIntf = 0; subIntf < subIntfs_; ++subIntf) {
        out << R"(,{"ifname":")" << name(subIntf) << R"(","vlans":[)";
        for (unsigned vlan = 1; vlan <= vlans_; ++vlan) {
            out << (vlan == 1 ? "" : ",") << R"({"vlan":)" << vlan << ","
                << caseOf(vlan, subIntf).member << "}";
        }
        out << "]}";
    }
    out << "]\n";
}

std::vector<unsigned> Site::namesInOrder() const {
    std::vector<unsigned> order;
    for (unsigned lag = 0; lag < lags_; ++lag) {
        for (unsigned subIntf = lag; subIntf < subIntfs_; subIntf += lags_) {
            order.push_back(subIntf);
        }
    }
    return order;
}

void Site::writeEntry(std::ostream &out, unsigned vlan, unsigned subIntf) const {
    Case const &member = caseOf(vlan, subIntf);
    out << R"(  {"intfId": ")" << name(subIntf) << R"(", "tagOnEgress": )" << member.tagOnEgress
        << R"(, "allowedTrafficDirection": ")" << member.direction << R"(", "lagPhyIntf": [)";
    unsigned const firstMember = subIntf % lags_ * membersPerLag_ + 1;
    for (unsigned i = 0; i < membersPerLag_; ++i) {
        out << (i == 0 ? "\"eth" : ", \"eth") << firstMember + i << '"';
    }
    out << "]}";
}

void Site::writeDocument(std::ostream &out) const {
    writePrevious(out, 0, vlans_ + 1);
}

void Site::writePrevious(std::ostream &out, unsigned firstSubIntf, unsigned staleEvery) const {
    std::vector<unsigned> const order = namesInOrder();
    out << R"({"version": 1, "ready": true, "config": [)";
    for (unsigned vlan = 1; vlan <= vlans_; ++vlan) {
        out << (vlan == 1 ? "" : ",") << "\n{\"vlanId\": " << vlan << ", \"intf\": [";
        char const *separator = "\n";
        for (unsigned const subIntf : order) {
            if (subIntf >= firstSubIntf) {
                out << separator;
                writeEntry(out, vlan, subIntf);
                separator = ",\n";
            }
        }
        if (vlan % staleEvery == 0) {
            out << separator << R"(  {"intfId": "stale.)" << vlan
                << R"(", "tagOnEgress": true, "allowedTrafficDirection": "both", )"
                << R"("lagPhyIntf": ["eth1", "gone1"]})";
        }
        out << "]}";
    }
    out << "\n]}\n";
}

} // namespace Agent
