// Value printing: each value goes through its own library's stream operator into a fresh stream.
#include "VlanSubIntfConfigLib/DovraPrint.h"

#include "platform/Bridging.h"
#include "platform/Iftel.h"
#include "platform/Lag.h"
#include "platform/Qor.h"

#include <ios>
#include <sstream>

namespace VlanSubIntfConfigLib::DovraCode {
namespace {

template <class T> void print(std::ostream &out, T const &value) {
    out << value;
}

void print(std::ostream &out, bool value) {
    out << std::boolalpha << value;
}

void print(std::ostream &out, Iftel::IntfId const &value) {
    out << value.stringValue();
}

template <class T> void print(std::ostream &out, Qor::Ptr<T> const &value) {
    out << static_cast<Qor::Entity const *>(value.get());
}

template <class T> void print(std::ostream &out, Qor::Optional<T> const &value) {
    if (!value) {
        out << "None";
        return;
    }
    out << "Optional( ";
    print(out, *value);
    out << " )";
}

} // namespace

template <class T> std::string dovraPrint(T const &value) {
    std::stringstream out;
    out.exceptions(std::ios::badbit); // where memory runs out, no text rather than half of one
    print(out, value);
    return out.str();
}

template std::string dovraPrint(Bridging::VlanId const &);
template std::string dovraPrint(Bridging::AllowedTrafficDirection const &);
template std::string dovraPrint(Iftel::IntfId const &);
template std::string dovraPrint(bool const &);
template std::string dovraPrint(Qor::Optional<Bridging::VlanPortConfig> const &);
template std::string dovraPrint(Qor::Optional<Qor::Ptr<Lag::EthPhyIntfLagConfig const>> const &);

} // namespace VlanSubIntfConfigLib::DovraCode
