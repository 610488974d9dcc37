#include "cli/Advice.h"
#include "cli/Command.h"
#include "cli/Options.h"
#include "cli/Plan.h"
#include "containers/kp/HKPContainerUtils.h"

#include <memory>

#include <sys/resource.h>

namespace cli {
namespace {

/// All packages that are merged are open at once, which may be more than a process is given to begin with.
void openAsManyFilesAsMayBe() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace

Run declareMerge(CLI::App& app) {
    struct Options {
        PackageJoin join;
        bool reseal = false, dryRun = false, json = false;
    };
    auto options = std::make_shared<Options>();
    PackageJoin& join = options->join;
    app.add_option("IN", join.inputs, "The packages to merge")->type_name("FILE")->required();
    takesOutput(app.add_option("-o,--output", join.kpPath, "The package to make, which must not be there"),
                "FILE")
        ->required();
    app.add_flag("--sort", join.sorts, "Order the kernels by name, not as the packages are given");
    app.add_flag("--check-version", join.checkVersion, "Refuse packages that later software wrote");
    CLI::Option* dryRun =
        app.add_flag("--dry-run", options->dryRun, "Print what would be made, and make nothing");
    app.add_flag("--json", options->json, "With --dry-run: as a JSON object")->needs(dryRun);
    app.add_flag("--reseal", options->reseal,
                 "Go on, and seal the new package, although a digest does not hold");
    return [options, &app] {
        PackageJoin& join = options->join;
        join.jobs = jobs(app);
        if (options->reseal) join.brokenSeal = BrokenSeal::Renew;
        openAsManyFilesAsMayBe();
        withAdvice([&] {
            if (!options->dryRun) return HKPContainerUtils::joinPackages(join);
            printPlan(HKPContainerUtils::planPackageJoin(join), options->json);
        });
        return Done;
    };
}

}  // namespace cli
