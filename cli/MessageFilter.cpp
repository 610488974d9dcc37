#include "cli/MessageFilter.h"

#include <algorithm>
#include <iterator>

namespace cli {
namespace {

constexpr std::uint64_t mostShown = 10;

/// Where among their arguments messages name the document that they are about.
struct DocumentArgument {
    const char* id;
    std::size_t position;
};

constexpr DocumentArgument documentArguments[] = {
    {"@17-1312@%d%s", 1},
    {"@17-1313@%d%s", 1},
    {"@17-2005@%s%s%d", 1},
};

/// The document that a message is about; empty when it is about the work as a whole.
std::string documentOf(const ComMsg& message) {
    const auto* found = std::find_if(std::begin(documentArguments), std::end(documentArguments),
                                     [&](const DocumentArgument& known) { return message.id == known.id; });
    return found == std::end(documentArguments) ? "" : message.arguments.at(found->position);
}

}  // namespace

MessageFilter::MessageFilter(Filter filter)
    : before_(ComMsgMgr::setSink(
          [this, filter = std::move(filter)](const ComMsg& message) { filter(message, before_); })) {}

MessageFilter::~MessageFilter() {
    ComMsgMgr::setSink(before_);
}

MessageLimit::MessageLimit()
    : filter_([this](const ComMsg& message, const ComMsgMgr::Sink& pass) { take(message, pass); }) {}

MessageLimit::~MessageLimit() {
    for (auto& [numberAndDocument, kind] : kinds_) {
        if (kind.more == 0) continue;
        const std::string& document = numberAndDocument.second;
        kind.firstHidden.text = "... and " + std::to_string(kind.more) + " more of the kind" +
                                (document.empty() ? "" : " about '" + document + "'");
        kind.firstHidden.detail.clear();
        filter_.before()(kind.firstHidden);
    }
}

void MessageLimit::take(const ComMsg& message, const ComMsgMgr::Sink& pass) {
    Kind& kind = kinds_[{message.number(), documentOf(message)}];
    if (kind.shown < mostShown) {
        ++kind.shown;
        return pass(message);
    }
    if (kind.more++ == 0) kind.firstHidden = message;
}

}  // namespace cli
