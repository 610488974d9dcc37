#include "containers/kp/HKPKernel.h"

#include <algorithm>

HKPKernel::~HKPKernel() {
    name_ = "<destroyed>";
    directory_ = "<destroyed>";
}

void HKPKernel::setName(const std::string& name) {
    name_ = name;
    if (namesAreCurrent_ != nullptr) *namesAreCurrent_ = false;
}

void HKPKernel::setSupportedFlows(const std::vector<SupportedFlowType>& flows) {
    flows_.insert(flows_.end(), flows.begin(), flows.end());
}

bool HKPKernel::isSupportedFlow(SupportedFlowType flow) const {
    return std::find(flows_.begin(), flows_.end(), flow) != flows_.end();
}

std::string HKPKernel::getFlowAsStr(SupportedFlowType flow) {
    switch (flow) {
        case CPU_EMU:
            return "sw_emu";
        case HW_EMU:
            return "hw_emu";
        case SYSTEM:
            return "hw";
    }
    return {};
}
