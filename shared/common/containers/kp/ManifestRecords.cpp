#include "containers/kp/ManifestRecords.h"

#include "platform/base/HI18N.h"
#include "platform/base/HSTStringUtils.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::array<std::string_view, 4> flowTokens = {"", "CPU_EMU", "HW_EMU", "SYSTEM"};

}  // namespace

lmx60::ErrorKind lmx60::LeafText<KPContainer::SupportedFlow>::parse(std::string_view text,
                                                                    KPContainer::SupportedFlow& value) {
    const auto* token = std::find(flowTokens.begin() + 1, flowTokens.end(), collapsed(text));
    value.ordinal = token == flowTokens.end() ? 0 : static_cast<int>(token - flowTokens.begin());
    return ErrorKind::None;
}

void lmx60::LeafText<KPContainer::SupportedFlow>::append(const KPContainer::SupportedFlow& value,
                                                         std::string& out) {
    out += flowTokens.at(static_cast<std::size_t>(value.ordinal));
}

namespace KPContainer {

bool isYes(const Text& flag) {
    return HSTStringUtils::equalsIgnoreCase(HI18N::convert(flag.get()), "yes");
}

using lmx60::attribute;
using lmx60::child;
using lmx60::Occurs;
using lmx60::Table;

constinit const Table SupportedFlows::table{
    child<&SupportedFlows::SupportedFlow>("SupportedFlow"),
};

constinit const Table Kernel::table{
    attribute<&Kernel::Name>("Name"),
    attribute<&Kernel::Dir>("Dir"),
    attribute<&Kernel::IP>("IP"),
    attribute<&Kernel::TopIpDir>("TopIpDir"),
    attribute<&Kernel::ProjectID>("ProjectID"),
    attribute<&Kernel::Debug>("Debug"),
    attribute<&Kernel::Hls>("Hls"),
    attribute<&Kernel::Pdi>("Pdi"),
    attribute<&Kernel::ShimSoln>("ShimSoln"),
    attribute<&Kernel::SwEmu>("SwEmu"),
    child<&Kernel::SupportedFlows>(),
};

constinit const Table Kernels::table{
    child<&Kernels::Kernel>(),
};

constinit const Table Cache::table{
    attribute<&Cache::CacheDir>("CacheDir"),
};

constinit const Table IpCaches::table{
    child<&IpCaches::Cache>(),
};

constinit const Table Root::table{{
                                      attribute<&Root::VersionMajor>("VersionMajor", Occurs::Required),
                                      attribute<&Root::VersionMinor>("VersionMinor", Occurs::Required),
                                      attribute<&Root::SoftwareVersionMajor>("SoftwareVersionMajor"),
                                      attribute<&Root::SoftwareVersionMinor>("SoftwareVersionMinor"),
                                      attribute<&Root::IpCache>("IpCache"),
                                      child<&Root::IpCaches>(),
                                      child<&Root::Kernels>(),
                                  },
                                  lmx60::Order::Any};

}  // namespace KPContainer
