#pragma once

#include "containers/overview/Records.h"
#include "platform/base/Export.h"

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

// What is said of the records, in the same words whoever shows them. Texts of documents are displayed ones in
// it.

namespace kfab::overview {

/// What a statement means for who reads it.
enum class Tone { Plain, Good, Doubtful, Bad };

struct Statement {
    std::string text;
    Tone tone = Tone::Plain;
};

// Numbers

/// As "6.0".
KP_EXPORT std::string versionText(std::uint64_t major, std::uint64_t minor);
/// As "12.3 KiB".
KP_EXPORT std::string sizeText(std::uint64_t bytes);
/// As "2.92".
KP_EXPORT std::string decimalText(double number);
/// As "1 file" or "2 files".
KP_EXPORT std::string countText(std::uint64_t count, std::string_view noun);
/// As "41%".
KP_EXPORT std::string percentText(double share);
/// In UTC, in a format of strftime.
KP_EXPORT std::string timeText(std::time_t time, const char* format);

// Numbers of documents; a text that is none, as it is.

KP_EXPORT std::string plainText(const NumberText& number);
KP_EXPORT std::string sizeText(const NumberText& number);
KP_EXPORT std::string addressText(const NumberText& number);

/// With commas between them.
KP_EXPORT std::string listText(const std::vector<std::string>& texts);

// Packages

KP_EXPORT std::string sizeText(const Package& package);
KP_EXPORT std::string formatText(const Package& package);
KP_EXPORT std::string writtenText(const Package& package);
KP_EXPORT Statement digestStatement(const Package& package);

// Kernels

/// As "hw_emu,hw"; "-" for none.
KP_EXPORT std::string flowsText(const Kernel& kernel);
KP_EXPORT std::string controlText(const Kernel& kernel);
KP_EXPORT const char* passingText(Passing passing);
KP_EXPORT const char* useText(Stretch::Use use);
/// What is wrong with a stretch; empty for nothing.
KP_EXPORT std::string wrongText(const Stretch& stretch);
/// As "10 of 59 KiB".
KP_EXPORT std::string filesText(const std::vector<File>& files);
/// How much of the worst kind there is, such as "1 error", or "clean".
KP_EXPORT Statement findingsStatement(const Kernel& kernel);

// Figures

/// As "met: needs 2.92 of 3.5, target 4 less uncertainty 0.5".
KP_EXPORT Statement timingStatement(const Timing& timing);
/// As "met 2.92/3.5"; "-" when it is not told.
KP_EXPORT Statement timingHeadline(const Timing& timing);

/// A number of cycles, or the text that is none.
KP_EXPORT std::string cyclesText(const std::string& text);
KP_EXPORT std::string pipelineText(const Latency& latency);

/// "-" for none.
KP_EXPORT std::string countText(const Resources::Count& count);
/// As "655 LUT, 612 FF".
KP_EXPORT std::string takenText(const Resources& resources);
/// At most 1, unless the part is larger; 0 of nothing.
KP_EXPORT double shareOf(const Resources::Count& part, const Resources::Count& whole);
/// As "vadd_reader, 271 of 655 (41%)"; empty when nobody below the top takes any.
KP_EXPORT std::string largestText(const Report& report, const ResourceKind& kind);

/// Where the figures of the kernel as a whole are known.
KP_EXPORT const Module* topOf(const Kernel& kernel);
/// What at least one of the modules takes; there may be none in a place.
KP_EXPORT std::vector<ResourceKind> takenResources(const std::vector<const Module*>& modules);

}  // namespace kfab::overview
