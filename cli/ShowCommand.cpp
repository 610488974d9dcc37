#include "cli/Command.h"
#include "cli/ShowOutput.h"
#include "cli/Subject.h"

#include <memory>

namespace cli {

Run declareShow(CLI::App& app) {
    const auto gather = takesSubject(app);
    auto json = std::make_shared<bool>(false);
    app.add_flag("--json", *json, "As a JSON object");
    return [gather, json] {
        const kfab::overview::Overview overview = gather();
        *json ? printOverviewJson(overview) : printOverviewText(overview);
        return Done;
    };
}

}  // namespace cli
