#pragma once

#include "platform/base/Export.h"
#include "platform/xml/Table.h"

#include <cstdint>
#include <string>
#include <string_view>

/// The records of a package's manifest (kp.xml). Texts are wide; flags are "yes" or "no".
namespace KPContainer {

using Text = lmx60::Value<std::wstring>;
using Number = lmx60::Value<std::uint32_t>;

/// Whether a flag is set: "yes" in any case of letters.
bool isYes(const Text& flag);

/// A flow by its number in the schema, one higher than in HKPKernel::SupportedFlowType; 0 for an unknown
/// token.
struct SupportedFlow {
    int ordinal = 0;
    bool operator==(const SupportedFlow&) const = default;
};

/// The flows that a kernel can be built for.
struct SupportedFlows : lmx60::Record<SupportedFlows, "SupportedFlows"> {
    lmx60::Leaves<KPContainer::SupportedFlow> SupportedFlow;
    static const lmx60::Table table;
};

/// A kernel of the package; its directories are names inside the package.
struct Kernel : lmx60::Record<Kernel, "Kernel"> {
    Text Name, Dir, IP, TopIpDir, ProjectID;
    Text Debug, Hls, Pdi, ShimSoln, SwEmu;
    lmx60::Optional<KPContainer::SupportedFlows> SupportedFlows;
    static const lmx60::Table table;
};

/// All kernels, in the order of their addition.
struct Kernels : lmx60::Record<Kernels, "Kernels"> {
    lmx60::List<KPContainer::Kernel> Kernel;
    static const lmx60::Table table;
};

/// An IP cache, by the name of its directory below "ip_cache".
struct Cache : lmx60::Record<Cache, "Cache"> {
    Text CacheDir;
    static const lmx60::Table table;
};

/// All IP caches.
struct IpCaches : lmx60::Record<IpCaches, "IpCaches"> {
    lmx60::List<KPContainer::Cache> Cache;
    static const lmx60::Table table;
};

/// The document element; a new one holds the versions that this system writes.
struct Root : lmx60::Record<Root, "Root"> {
    Number VersionMajor{6}, VersionMinor{0};
    Number SoftwareVersionMajor{2020}, SoftwareVersionMinor{1};
    Text IpCache;
    lmx60::Optional<KPContainer::IpCaches> IpCaches;
    KPContainer::Kernels Kernels;
    static const lmx60::Table table;
};

}  // namespace KPContainer

template <>
struct lmx60::LeafText<KPContainer::SupportedFlow> {
    static ErrorKind parse(std::string_view text, KPContainer::SupportedFlow& value);
    static void append(const KPContainer::SupportedFlow& value, std::string& out);
};
