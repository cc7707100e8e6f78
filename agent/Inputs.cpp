#include "agent/Inputs.h"

#include "agent/InputFile.h"
#include "agent/IprouteSource.h"
#include "agent/NativeSource.h"
#include "platform/Nuvio/Assert.h"

namespace Agent {

Inputs emptyInputs() {
    return {Bridging::Config::ConfigIs(), Lag::LagPhyIntfMapping::LagPhyIntfMappingIs()};
}

Inputs loadInputs(InputOptions const &options, Progress &progress) {
    Inputs inputs = emptyInputs();
    if (!options.native.empty()) {
        InputFile file(options.native, progress);
        readNative(file, *inputs.bridgingConfig, *inputs.lagPhyIntfMapping);
        return inputs;
    }
    NUVIO_ASSERT(!options.links.empty() && !options.vlans.empty());
    InputFile linkFile(options.links, progress);
    LinkTable const links = readIprouteLinks(linkFile);
    links.lagsInto(*inputs.lagPhyIntfMapping);
    InputFile vlanFile(options.vlans, progress);
    readIprouteVlans(vlanFile, links, *inputs.bridgingConfig);
    return inputs;
}

} // namespace Agent
