#pragma once

#include "containers/lint/KernelFacts.h"
#include "containers/overview/Records.h"

class ArchiveSnapshot;

namespace kfab::overview {

std::vector<AddressMap> addressMapsOf(const lint::KernelFacts& facts);

/// None for no element.
std::optional<Report> reportOf(lmx60::Element profile);

/// Those in the kernel's own folder and in that of its IP.
std::vector<File> filesOf(const Entry& entry, const ArchiveSnapshot& archive);
/// So many they are at most, directories among them.
std::size_t fileCountOf(const Entry& entry, const ArchiveSnapshot& archive);

}  // namespace kfab::overview
