// Profile reports.

#include "containers/design/ProfileRecords.h"

#include "fuzz/RoundTrip.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::roundTrip<DesignXML::Profile>(fuzz::text(data, size));
    return 0;
}
