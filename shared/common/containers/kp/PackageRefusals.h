#pragma once

#include "platform/base/Exceptions.h"
#include "platform/base/Export.h"

// Why a readable package is not used as asked; programs that know better may ask again another way.

/// A kernel of the package lacks the flow that it is to have.
class KP_EXPORT HKPKernelRefused : public HEXAlgException {
public:
    using HEXAlgException::HEXAlgException;
    ~HKPKernelRefused() override;
};

/// The package's digest does not hold, or it has none although its format has.
class KP_EXPORT HKPSealBroken : public HEXAlgException {
public:
    using HEXAlgException::HEXAlgException;
    ~HKPSealBroken() override;
};

/// An IP would take the place of another one that other kernels use.
class KP_EXPORT HKPIpTaken : public HEXAlgException {
public:
    using HEXAlgException::HEXAlgException;
    ~HKPIpTaken() override;
};
