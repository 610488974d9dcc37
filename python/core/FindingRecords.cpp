// What checks and comparisons find, as Python's records.

#include "containers/kernel/NumberText.h"

#include <charconv>

#include "python/core/Parts.h"
#include "python/core/Records.h"

namespace kp_python {
namespace {

using namespace kfab;

py::object convert(const lint::Finding& finding) {
    return make("LintFinding", "code"_a = finding.rule->code,
                "severity"_a = severityText(finding.rule->severity), "kernel"_a = text(finding.kernel),
                "document"_a = text(finding.document),
                "line"_a = finding.line > 0 ? py::object(py::int_(finding.line)) : py::none(),
                "text"_a = text(finding.text), "cure"_a = finding.rule->cure);
}

py::object convert(const lint::Unchecked& unchecked) {
    return make("Unchecked", "code"_a = unchecked.code, "kernel"_a = text(unchecked.kernel),
                "reason"_a = text(unchecked.reason));
}

py::object numberOrFigure(const std::string& bytes) {
    if (const auto whole = kernel::numberOf(bytes)) return py::int_(*whole);
    double figure = 0;
    std::from_chars(bytes.data(), bytes.data() + bytes.size(), figure);
    return py::float_(figure);
}

py::object value(const compare::Difference& difference, const std::optional<std::string>& bytes) {
    if (!bytes) return py::none();
    return difference.isNumber ? numberOrFigure(*bytes) : text(*bytes);
}

py::object convert(const compare::Difference& difference) {
    return make("Difference", "kernel"_a = textOrNone(difference.kernel), "kind"_a = textOf(difference.kind),
                "change"_a = textOf(difference.change), "path"_a = textOrNone(difference.path),
                "field"_a = textOrNone(difference.field), "old"_a = value(difference, difference.oldText),
                "new"_a = value(difference, difference.newText), "percent"_a = orNone(difference.percent),
                "text"_a = text(lineOf(difference)));
}

}  // namespace

py::object record(const lint::Outcome& outcome) {
    return make("Lint",
                "findings"_a = tuple(outcome.findings, [](const auto& finding) { return convert(finding); }),
                "unchecked"_a = tuple(outcome.unchecked, [](const auto& each) { return convert(each); }));
}

py::object record(const compare::Comparison& comparison) {
    return make(
        "Comparison", "verdict"_a = textOf(comparison.verdict()),
        "old_digest"_a = text(PackageVerification::digestText(comparison.oldDigest)),
        "new_digest"_a = text(PackageVerification::digestText(comparison.newDigest)),
        "differences"_a = tuple(comparison.differences, [](const auto& each) { return convert(each); }),
        "notes"_a = texts(comparison.notes));
}

py::tuple records(const PackageVerification& verification) {
    return tuple(verification.findings, [](const PackageFinding& finding) {
        return make("Finding", "code"_a = text(finding.code), "member"_a = textOrNone(finding.member),
                    "text"_a = text(finding.text));
    });
}

}  // namespace kp_python
