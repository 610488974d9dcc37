#pragma once

#include "platform/base/Export.h"

#include <string>
#include <utility>
#include <vector>

/// One kernel entry of a package, as its manifest has it. Directories are names inside the package.
class KP_EXPORT HKPKernel {
public:
    /// The flows a kernel can be built for; the numbers are stored and compared.
    enum SupportedFlowType : int { CPU_EMU = 0, HW_EMU = 1, SYSTEM = 2 };
    using FlowRange = std::pair<std::vector<SupportedFlowType>::const_iterator,
                                std::vector<SupportedFlowType>::const_iterator>;

    HKPKernel() = default;
    /// Overwrites name and directory with "<destroyed>", so that use after destruction shows.
    ~HKPKernel();
    HKPKernel(const HKPKernel&) = delete;
    HKPKernel& operator=(const HKPKernel&) = delete;

    const std::string& getName() const { return name_; }
    void setName(const std::string& name);
    const std::string& getDirectory() const { return directory_; }
    void setDirectory(const std::string& directory) { directory_ = directory; }
    std::string getIpDir() const { return ipDir_; }
    void setIpDir(const std::string& ipDir) { ipDir_ = ipDir; }
    /// Relative to the IP repository; "." unless set.
    std::string getTopIpDir() const { return topIpDir_; }
    void setTopIpDir(const std::string& topIpDir) { topIpDir_ = topIpDir; }
    std::string getProjectID() const { return projectID_; }
    void setProjectID(const std::string& projectID) { projectID_ = projectID; }

    /// Appends the flows to those that are there.
    void setSupportedFlows(const std::vector<SupportedFlowType>& flows);
    FlowRange getSupportedFlowRange() const { return {flows_.begin(), flows_.end()}; }
    bool isSupportedFlow(SupportedFlowType flow) const;
    /// Whether the kernel supports no flow, whatever its files.
    bool isEmpty() const { return flows_.empty(); }
    /// "sw_emu", "hw_emu" or "hw"; empty for any other value.
    static std::string getFlowAsStr(SupportedFlowType flow);

    bool isRtlKernel() const { return isRtlKernel_; }
    void setIsRtlKernel(bool value) { isRtlKernel_ = value; }
    bool isDebug() const { return isDebug_; }
    void setIsDebug(bool value) { isDebug_ = value; }

    /// Whether the package holds the directory of this name for the kernel.
    /// @{
    bool getIsDebugDir() const { return isDebugDir_; }
    void setIsDebugDir(bool value) { isDebugDir_ = value; }
    bool getIsHlsDir() const { return isHlsDir_; }
    void setIsHlsDir(bool value) { isHlsDir_ = value; }
    bool getIsPdiDir() const { return isPdiDir_; }
    void setIsPdiDir(bool value) { isPdiDir_ = value; }
    bool getIsShimSolnDir() const { return isShimSolnDir_; }
    void setIsShimSolnDir(bool value) { isShimSolnDir_ = value; }
    bool getIsSwEmuDir() const { return isSwEmuDir_; }
    void setIsSwEmuDir(bool value) { isSwEmuDir_ = value; }
    /// @}

private:
    friend class HKPContainer;

    std::string name_;
    std::string directory_;
    std::string ipDir_;
    std::string topIpDir_ = ".";
    std::string projectID_;
    std::vector<SupportedFlowType> flows_;
    bool isRtlKernel_ = false;
    bool isDebug_ = false;
    bool isDebugDir_ = false;
    bool isHlsDir_ = false;
    bool isPdiDir_ = false;
    bool isShimSolnDir_ = false;
    bool isSwEmuDir_ = false;
    bool* namesAreCurrent_ = nullptr;  // what a container that finds this entry by its name is to be told
};
