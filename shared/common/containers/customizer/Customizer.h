#pragma once

#include "containers/kp/KernelAddition.h"
#include "containers/kp/KernelExtraction.h"
#include "platform/base/Export.h"

#include <exception>
#include <functional>
#include <string>
#include <unordered_map>
#include <utility>

namespace kfab::kernel {

/// Makes a package with a customized RTL kernel from a package that holds the kernel: extracts it, retargets
/// its IP to a board and sets IP parameters through Tcl scripts in the host, and packages the result under a
/// new name. Configured by the constructor and the `with` operations, then executed once.
///
/// No step throws: it returns false and, where it knows, leaves the reason in getErrorMessage(). Steps and
/// paths are reached through virtual calls, so that a derived class can replace any of them.
///
/// A step takes the working directory from getWorkingDirPath(), which in this class gives a new one at each
/// call. Used plain, the class therefore leaves the directory behind that it extracts to, and looks for the
/// customized IP where no script has put it: a customization with parameters fails. A derived class closes
/// that by keeping one directory, with setWorkingDirPath_() in its constructor; that one is removed.
///
/// Scripts may change the current directory of the process. Relative paths are therefore meant, during
/// execute(), from the directory that is current when it begins; the operations that tell paths give them as
/// they were given.
class KP_EXPORT Customizer {
public:
    using Params = std::unordered_map<std::string, std::string>;

    /// @param objectFilePath the input package
    /// @param kernelName     the kernel in it
    Customizer(const std::string& objectFilePath, const std::string& kernelName);

    Customizer& withNewKernelName(const std::string& name);
    /// A bare file name is taken to lie beside the input package.
    Customizer& withOutputFilePath(const std::string& path);
    /// IP parameters, values by name; replaces those given before.
    Customizer& withParams(const Params& params);
    /// Kept for getParamsFilePath() alone; parameters come from withParams().
    Customizer& withParamsFile(const std::string& path);
    /// A short board name, or a qualified one with fields separated by ":".
    Customizer& withTargetBoard(const std::string& board);

    virtual std::string getObjectFilePath() const;
    /// A new name in the directory for temporary files at each call, unless a derived class has set one.
    virtual std::string getWorkingDirPath() const;
    virtual std::string getOutputFilePath() const;
    virtual std::string getParamsFilePath() const;
    virtual Params::const_iterator paramsBegin() const;
    virtual Params::const_iterator paramsEnd() const;

    /// Where the extracted kernel lies; empty before setExtractedPaths().
    /// @{
    virtual std::string getExtractedCpuSourcesRoot() const;
    virtual std::string getExtractedDebugRoot() const;
    virtual std::string getExtractedHlsRoot() const;
    virtual std::string getExtractedSwEmuRoot() const;
    virtual std::string getExtractedIPDefinitionRoot() const;
    virtual std::string getExtractedKernelRoot() const;
    virtual std::string getExtractedKernelIPRoot() const;
    virtual std::string getExtractedVlnv() const;
    /// @}

    /// Whether a kernel is named and the input package exists.
    virtual bool checkPreconditions();
    /// Extracts the kernel to the working directory, which is created where missing, open to this user alone.
    virtual bool extract();
    /// Takes from the explorer where the kernel's parts lie, for the operations above.
    virtual bool setExtractedPaths();
    /// Builds a block design of the kernel's IP alone, in which its parameters are set.
    virtual bool buildBlockDiagram();
    /// Adds the board's device family to those that the IP supports.
    virtual bool addTargetBoard();
    /// Renames the kernel and adds it, with its customized IP, to the output package.
    virtual bool repackage();

    /// Removes the working directory, with all that it holds, if one is set.
    virtual ~Customizer();

    /// Runs the steps up to the first that fails: preconditions, extraction, paths, the board if one is
    /// given, the parameters if there are any, repackaging. A working directory that is set is removed in any
    /// case. What the output package refuses of the kernel, such as its name, is told at the end;
    /// HKPContainerUtils::requirePlaceForKernel tells it before.
    virtual bool execute();

    /// Why a step failed; empty when it gave no reason. execute() begins with none.
    const std::string& getErrorMessage() const { return errorMessage_; }

    Customizer(const Customizer&) = default;
    Customizer& operator=(const Customizer&) = default;

protected:
    /// For derived classes that add the kernel to the output package otherwise than repackage() would.
    virtual void prepareAddition_(KernelAddition& addition) const;
    /// For derived classes that extract the kernel otherwise than extract() would.
    virtual void prepareExtraction_(KernelExtraction& extraction) const;
    /// For derived classes that have more to say about a failure than what() of its exception.
    virtual std::string reasonOf_(const std::exception& failure) const;
    /// For derived classes that keep one directory; it is removed after execute() and at destruction.
    void setWorkingDirPath_(const std::string& path) { workingDirPath_ = path; }
    /// For derived classes that replace extract(): the kernel that setExtractedPaths() asks the explorer of,
    /// by this name or, where it is empty, the one given to the constructor, and what the output package
    /// records of it.
    void setExtracted_(ExtractedKernel kernel) { extracted_ = std::move(kernel); }

private:
    bool fail_(const std::string& message);
    bool failWithout_(const std::string& path);
    bool attempt_(const std::string& failed, const std::function<bool()>& step);
    std::string absolute_(const std::string& path) const;
    bool runSteps_();
    void removeWorkingDir_();
    std::string createCell_(const std::string& vlnv) const;
    void renameKernel_(const std::string& root) const;
    std::string instanceFile_(const std::string& root) const;
    KernelAddition addition_(const std::string& root, const std::string& instanceFile) const;

    std::string objectFilePath_;
    std::string kernelName_;
    std::string newKernelName_;
    std::string errorMessage_;
    std::string workingDirPath_;
    std::string outputFilePath_;
    std::string paramsFilePath_;
    Params params_;
    std::string targetBoard_;
    std::string extractedIPDefinitionRoot_;
    std::string extractedKernelIPRoot_;
    std::string extractedKernelRoot_;
    std::string extractedCpuSourcesRoot_;
    std::string extractedDebugRoot_;
    std::string extractedHlsRoot_;
    std::string extractedSwEmuRoot_;
    std::string extractedVlnv_;
    ExtractedKernel extracted_;
    std::string startDirectory_;  ///< the current one when execute() began
};

}  // namespace kfab::kernel
