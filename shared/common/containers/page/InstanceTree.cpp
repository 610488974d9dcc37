#include "containers/page/Bars.h"
#include "containers/page/Parts.h"
#include "containers/page/Table.h"

#include <algorithm>

namespace kfab::page {
namespace {

using namespace overview;

/// Levels that are indented; what is deeper says so. Browsers give up far below what a document may nest.
constexpr std::size_t deepest = 8;
/// Of a larger tree only the first levels are unfolded.
constexpr std::size_t mostUnfolded = 200;
constexpr std::size_t unfoldedLevels = 2;
constexpr std::size_t longestName = 48;

class Tree {
public:
    Tree(Markup& out, const Report& report)
        : out_(out),
          report_(report),
          count_(std::min(report.instances.size(), longestList)),
          kinds_(takenResources(modulesOf(report))) {}

    void add() {
        const auto list = out_.open("ul", {{"class", "tree"}});
        while (at_ < count_)
            addBranch();
        if (count_ < report_.instances.size())
            out_.add("li", {{"class", "quiet"}}, restText(report_.instances.size() - count_));
    }

private:
    static std::vector<const Module*> modulesOf(const Report& report) {
        std::vector<const Module*> modules;
        for (const Module& module : report.modules)
            modules.push_back(&module);
        return modules;
    }

    std::size_t levelAt(std::size_t at) const {
        return at < count_ ? std::min(report_.instances[at].level, deepest) : 0;
    }

    /// The next instance, and all that are in it.
    void addBranch() {
        const std::size_t level = levelAt(at_);
        const Instance& instance = report_.instances[at_++];
        const auto item = out_.open("li");
        if (levelAt(at_) <= level) {
            const auto row = out_.open("div", {{"class", "row leaf"}});
            return addRow(instance);
        }
        const bool isUnfolded = count_ <= mostUnfolded || level < unfoldedLevels;
        const auto details = out_.open("details", {{"open", isUnfolded ? "open" : ""}});
        {
            const auto row = out_.open("summary", {{"class", "row"}});
            addRow(instance);
        }
        const auto list = out_.open("ul");
        while (levelAt(at_) > level)
            addBranch();
    }

    void addRow(const Instance& instance) {
        addNames(instance);
        if (!instance.module) return;
        const Module& module = report_.modules[*instance.module];
        const Module* top = report_.top();
        if (top != nullptr && !kinds_.empty())
            addShare(out_,
                     shareOf(module.resources.*kinds_.front().count, top->resources.*kinds_.front().count));
        for (const ResourceKind& kind : kinds_) {
            const auto figure = out_.open("span", {{"class", "figure"}});
            out_.text(countText(module.resources.*kind.count) + " ");
            out_.add("span", {{"class", "quiet"}}, kind.name);
        }
        const Statement timing = timingHeadline(module.timing);
        out_.add("span", {{"class", "timing " + classOf(timing.tone)}}, timing.text);
    }

    void addNames(const Instance& instance) {
        const auto who = out_.open("span", {{"class", "who"}});
        if (instance.level > deepest) out_.text("[" + std::to_string(instance.level) + "] ");
        if (instance.level > 0) {
            out_.isolated(instance.name, longestName);
            out_.text(" ");
        }
        const auto module = out_.open("span", {{"class", instance.level > 0 ? "quiet" : ""}});
        out_.isolated(instance.moduleName, longestName);
    }

    Markup& out_;
    const Report& report_;
    std::size_t count_;
    std::vector<ResourceKind> kinds_;
    std::size_t at_ = 0;
};

}  // namespace

void addInstances(Markup& out, const Report& report) {
    if (report.instances.empty()) return;
    out.add("h3", "Instances");
    out.add("p", {{"class", "quiet"}}, "Each with its module and what that takes, those in it included.");
    Tree(out, report).add();
}

}  // namespace kfab::page
