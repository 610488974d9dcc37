#include "cli/Advice.h"
#include "cli/Command.h"
#include "cli/Plan.h"
#include "containers/kp/HKPContainerUtils.h"

#include <memory>

namespace cli {

Run declareRemove(CLI::App& app) {
    struct Options {
        KernelRemoval removal;
        bool reseal = false, dryRun = false, json = false;
    };
    auto options = std::make_shared<Options>();
    app.add_option("PACKAGE", options->removal.kpPath, "The package")->type_name("FILE")->required();
    app.add_option("KERNEL", options->removal.kernelNames, "Kernels, in any case of letters")
        ->type_name("NAME")
        ->required();
    CLI::Option* dryRun =
        app.add_flag("--dry-run", options->dryRun, "Print what would be done, and change nothing");
    app.add_flag("--json", options->json, "With --dry-run: as a JSON object")->needs(dryRun);
    app.add_flag("--reseal", options->reseal, "Go on, and seal anew, although the digest does not hold");
    return [options] {
        KernelRemoval& removal = options->removal;
        if (options->reseal) removal.brokenSeal = BrokenSeal::Renew;
        withAdvice([&] {
            if (!options->dryRun) return HKPContainerUtils::removeKernels(removal);
            printPlan(HKPContainerUtils::planKernelRemoval(removal), options->json);
        });
        return Done;
    };
}

}  // namespace cli
