#pragma once

#include "platform/base/Exceptions.h"
#include "platform/base/Export.h"

#include <string>

namespace disk {

/// A call failed.
class KP_EXPORT Failure : public HEXAlgException {
public:
    /// what() names the call and the path, and ends with the system's reason.
    Failure(const std::string& call, const std::string& reason)
        : HEXAlgException(call + ": " + reason), reason_(reason) {}
    ~Failure() override;

    const std::string& reason() const { return reason_; }

private:
    std::string reason_;
};

}  // namespace disk
