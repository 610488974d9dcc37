#pragma once

#include "platform/base/Export.h"
#include "platform/zip/ExtractionPlan.h"

#include <cstddef>
#include <string>

/// Makes what is planned below the directory `destination`, which is created where missing unless nothing is
/// planned.
///
/// All files are completed beside their place, in a directory whose name ends in ".kp-incomplete", and then
/// moved there: a directory that is not there yet as a whole, else file by file in place of those that are
/// there. Whatever fails until then leaves the destination as it was, and a killed process leaves that
/// directory, which the next extraction to the destination removes; no file is ever cut short.
///
/// The rwx bits that the archive states are restored (a directory stays open to its owner), and times, to
/// which the archive has two seconds and UTC. Nothing is written through a symbolic link that lies below the
/// destination, and none is made.
///
/// So many `jobs`, the calling thread among them, may take part in making the files, each with up to 32 MiB
/// of memory.
///
/// Throws HEXAlgException, which names the archive and the member.
KP_EXPORT void extractArchive(const ExtractionPlan& plan, const std::string& destination,
                              std::size_t jobs = 1);
