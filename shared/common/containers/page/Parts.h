#pragma once

#include "containers/overview/Wording.h"
#include "containers/page/Markup.h"

#include <string>
#include <string_view>

// Parts of a page.

namespace kfab::page {

/// All that there is to show of a kernel; `id` is what links lead to.
void addKernel(Markup& out, const overview::Kernel& kernel, const std::string& id);

/// Timing, latency, resources, instances and FIFOs, each below a heading of its own.
void addReport(Markup& out, const overview::Kernel& kernel);

/// The instances as a tree that folds, with what the module of each takes.
void addInstances(Markup& out, const overview::Report& report);

/// What lint found, each with its cure, and what it could not decide.
void addFindings(Markup& out, const lint::Outcome& outcome);

/// A list of names and what is said of them; what is empty is left out.
class Facts {
public:
    Facts(Markup& out, Literal kind)
        : out_(out), list_(out.open("dl", {{"class", std::string(kind.text())}})) {}

    void add(Literal name, const overview::Statement& statement);
    void add(Literal name, const std::string& text) { add(name, overview::Statement{text}); }

private:
    Markup& out_;
    Markup::Element list_;
};

}  // namespace kfab::page
