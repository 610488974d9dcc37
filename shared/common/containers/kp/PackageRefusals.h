#pragma once

#include "platform/base/Exceptions.h"
#include "platform/base/Export.h"

// Why a readable package is not used as asked; programs that know better may ask again another way.

/// What is asked for is not done: the package, or what is to be made of it, does not allow it.
class KP_EXPORT HKPRefused : public HEXAlgException {
public:
    using HEXAlgException::HEXAlgException;
    ~HKPRefused() override;
};

/// The package has no kernel of the name.
class KP_EXPORT HKPKernelNotFound : public HEXAlgException {
public:
    using HEXAlgException::HEXAlgException;
    ~HKPKernelNotFound() override;
};

/// A kernel of the package lacks the flow that it is to have.
class KP_EXPORT HKPKernelRefused : public HKPRefused {
public:
    using HKPRefused::HKPRefused;
    ~HKPKernelRefused() override;
};

/// The package's digest does not hold, or it has none although its format has.
class KP_EXPORT HKPSealBroken : public HKPRefused {
public:
    using HKPRefused::HKPRefused;
    ~HKPSealBroken() override;
};

/// Files would take the place of others that are there.
class KP_EXPORT HKPFilesThere : public HKPRefused {
public:
    using HKPRefused::HKPRefused;
    ~HKPFilesThere() override;
};

/// An IP would take the place of another one that other kernels use.
class KP_EXPORT HKPIpTaken : public HKPRefused {
public:
    using HKPRefused::HKPRefused;
    ~HKPIpTaken() override;
};
