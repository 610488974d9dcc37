#include "containers/overview/Wording.h"
#include "platform/files/DisplayText.h"

#include <algorithm>
#include <iterator>

namespace kfab::overview {

using display::displayed;

Statement timingStatement(const Timing& timing) {
    const std::optional<bool> isMet = timing.isMet();
    if (!isMet) return {"not told"};
    std::string text = (*isMet ? "met: needs " : "MISSED: needs ") + decimalText(*timing.estimated) + " of " +
                       decimalText(timing.available());
    if (timing.uncertainty)
        text += ", target " + decimalText(*timing.target) + " less uncertainty " +
                decimalText(*timing.uncertainty);
    return {text, *isMet ? Tone::Good : Tone::Bad};
}

Statement timingHeadline(const Timing& timing) {
    const std::optional<bool> isMet = timing.isMet();
    if (!isMet) return {"-"};
    const std::string periods = decimalText(*timing.estimated) + "/" + decimalText(timing.available());
    return *isMet ? Statement{"met " + periods, Tone::Good} : Statement{"MISSED " + periods, Tone::Bad};
}

std::string cyclesText(const std::string& text) {
    const bool isNumber = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
    return isNumber ? text + (text == "1" ? " cycle" : " cycles") : displayed(text);
}

std::string pipelineText(const Latency& latency) {
    std::string text;
    if (!latency.interval.empty()) text = "next run after " + cyclesText(latency.interval);
    if (!latency.pipeline.empty()) text += (text.empty() ? "type " : "; type ") + displayed(latency.pipeline);
    return text;
}

std::string countText(const Resources::Count& count) {
    return count ? std::to_string(*count) : "-";
}

std::string takenText(const Resources& resources) {
    std::string text;
    for (const ResourceKind& kind : resourceKinds)
        if (const Resources::Count& count = resources.*kind.count)
            text += (text.empty() ? "" : ", ") + std::to_string(*count) + " " + kind.name;
    return text;
}

double shareOf(const Resources::Count& part, const Resources::Count& whole) {
    return whole.value_or(0) == 0 ? 0 : static_cast<double>(part.value_or(0)) / static_cast<double>(*whole);
}

std::string largestText(const Report& report, const ResourceKind& kind) {
    const Module* largest = report.largest(kind.count);
    if (largest == nullptr) return {};
    const Resources::Count& count = largest->resources.*kind.count;
    std::string text = displayed(largest->name) + ", " + countText(count);
    const Resources::Count whole =
        report.top() == nullptr ? Resources::Count() : report.top()->resources.*kind.count;
    if (whole.value_or(0) > 0)
        text += " of " + countText(whole) + " (" + percentText(shareOf(count, whole)) + ")";
    return text;
}

const Module* topOf(const Kernel& kernel) {
    return kernel.report ? kernel.report->top() : nullptr;
}

std::vector<ResourceKind> takenResources(const std::vector<const Module*>& modules) {
    std::vector<ResourceKind> taken;
    std::copy_if(std::begin(resourceKinds), std::end(resourceKinds), std::back_inserter(taken),
                 [&](const ResourceKind& kind) {
                     return std::any_of(modules.begin(), modules.end(), [&](const Module* module) {
                         return module != nullptr && (module->resources.*kind.count).value_or(0) > 0;
                     });
                 });
    return taken;
}

}  // namespace kfab::overview
