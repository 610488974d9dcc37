// Manifests of packages, which may hold what is not known.

#include "containers/kp/ManifestRecords.h"

#include "fuzz/RoundTrip.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::roundTrip<KPContainer::Root>(fuzz::text(data, size), [](const lmx60::Error& unknown) {
        fuzz::require(unknown.line > 0 && !unknown.text.empty(), "what is passed over is told with its line");
    });
    return 0;
}
