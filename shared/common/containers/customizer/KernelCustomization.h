#pragma once

#include "containers/customizer/Customizer.h"
#include "platform/base/Export.h"
#include "platform/tcl/TaskManager.h"

#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace kfab::kernel {

/// A kernel of a package that is to be customized, and how. Empty texts and lists stand for what is not
/// given.
struct KernelCustomization {
    /// A parameter's value, and where it was given, for messages.
    struct Param {
        std::string value;
        std::string place;
    };

    std::string package;                  ///< holds the kernel
    std::string kernel;                   ///< in any case of letters
    std::string name;                     ///< of the customized kernel
    std::string output;                   ///< package for it; a bare file name lies beside the one it is from
    std::string board;                    ///< short, or qualified
    std::map<std::string, Param> params;  ///< of the IP, by name
    std::vector<std::string> hostScripts;  ///< Tcl files to load first
    std::string
        tclShell;  ///< command line of a shell to work in; an interpreter of this process unless given
    bool replacesIp = false;   ///< false: refused where other kernels' IP would be replaced by another one
    bool renewsSeals = false;  ///< false: refused where the digest of a package does not hold
    std::size_t jobs = 1;      ///< so many threads, the calling one among them, may take part
    /// What there is to say about a failure; what() of it unless given.
    std::function<std::string(const std::exception& failure)> reasonOf = {};
};

/// A customization that keeps one working directory, so that all steps meet in it, and loses nothing that is
/// in a package unless it is asked to. Tcl serves one thread at a time, and so does this.
class KP_EXPORT CustomizationRun {
public:
    /// Throws for what can be told before any script runs: a kernel without a packaged IP, a parameter that
    /// the IP does not have or a value that it does not take (HEXAlgException), and a package that does not
    /// take a kernel of the name (as HKPContainerUtils::requirePlaceForKernel). The request must outlive
    /// this.
    explicit CustomizationRun(const KernelCustomization& request);
    ~CustomizationRun();
    CustomizationRun(const CustomizationRun&) = delete;
    CustomizationRun& operator=(const CustomizationRun&) = delete;

    /// Loads the host's scripts and customizes the kernel. Returns why a step failed; empty when all is done.
    /// @param recorder sees each script after those of the host; none for nobody
    std::string run(const tkq::tcltasks::task_manager::recorder& recorder = {});

private:
    class OneDirectoryCustomizer;

    const KernelCustomization& request_;
    std::unique_ptr<OneDirectoryCustomizer> customizer_;
    std::vector<std::string> loading_;  ///< scripts that load those of the host
};

}  // namespace kfab::kernel
