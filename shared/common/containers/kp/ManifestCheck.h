#pragma once

#include "containers/kp/ManifestRecords.h"
#include "containers/kp/PackageFinding.h"

#include <memory>
#include <vector>

class ArchiveSnapshot;

/// Compares what the manifest of a package states with what the package holds, kernel by kernel.
std::vector<PackageFinding> checkManifest(const KPContainer::Root& manifest,
                                          const std::shared_ptr<const ArchiveSnapshot>& archive);
