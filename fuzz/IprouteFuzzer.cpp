// What iproute2 prints: links and VLANs.
//
//     <links> NUL <VLANs>
#include "fuzz/Documents.h"
#include "fuzz/Fresh.h"

int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size) {
    Fuzz::Fresh const fresh;
    Fuzz::Bytes bytes(data, size);
    Fuzz::Document const links(0, bytes.nextUntil('\0'));
    Fuzz::Document const vlans(1, bytes.rest());
    Agent::Progress progress;
    Agent::Inputs inputs;
    if (Fuzz::accepts([&] { inputs = loadInputs({links.path(), vlans.path(), {}}, progress); })) {
        Fuzz::derive(inputs, {{.synchronous = true, .share = {}}, {}});
    }
    return 0;
}
