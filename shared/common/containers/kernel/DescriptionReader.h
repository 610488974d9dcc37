#pragma once

#include "containers/kernel/KernelRecords.h"
#include "platform/xml/Reader.h"

#include <functional>
#include <memory>
#include <string>

using ReadDescription = std::function<void(KernelXML::Root& root, const lmx60::UnknownListener& onUnknown)>;

/// Runs what reads a kernel description. What is not known is posted and passed over in one of a later
/// version and refused in all others. Throws HEXAll (with the error, the path and the line) for what cannot
/// be read.
///
/// @param name the document in messages about what is not known
std::unique_ptr<KernelXML::Root> readDescription(const std::string& path, const std::string& name,
                                                 const ReadDescription& read);
