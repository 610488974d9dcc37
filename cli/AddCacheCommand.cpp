#include "cli/Advice.h"
#include "cli/Command.h"
#include "cli/Options.h"
#include "containers/kp/HKPContainerUtils.h"

#include <memory>
#include <string>

namespace cli {

Run declareAddCache(CLI::App& app) {
    auto addition = std::make_shared<IpCacheAddition>();
    auto reseal = std::make_shared<bool>(false);
    app.add_option("PACKAGE", addition->kpPath, "The package")->type_name("FILE")->required();
    app.add_option("DIR", addition->directory,
                   "Each directory from here down that holds a '.qmr' file is a cache of its own name")
        ->type_name("DIR")
        ->required();
    app.add_flag("--reseal", *reseal, "Go on, and seal anew, although the digest does not hold");
    return [=, &app] {
        addition->jobs = jobs(app);
        addition->otherLayout = OtherLayout::Refuse;
        addition->brokenSeal = *reseal ? BrokenSeal::Renew : BrokenSeal::Refuse;
        withAdvice([&] { HKPContainerUtils::appendIPCacheDir(*addition); });
        return Done;
    };
}

}  // namespace cli
