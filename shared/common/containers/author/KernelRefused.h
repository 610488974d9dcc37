#pragma once

#include "platform/base/Exceptions.h"
#include "platform/base/Export.h"

#include <cstddef>
#include <string>

namespace kfab::author {

/// No description can be made.
class KP_EXPORT KernelRefused : public HEXAlgException {
public:
    /// What of one argument the request could give to go on.
    enum class Lacking { Nothing, Port, Offset, Size };

    explicit KernelRefused(const std::string& text, Lacking lacking = Lacking::Nothing,
                           const std::string& argument = "")
        : HEXAlgException(text), lacking_(lacking), argument_(argument) {}
    ~KernelRefused() override;

    Lacking lacking() const { return lacking_; }
    const std::string& argument() const { return argument_; }

private:
    Lacking lacking_;
    std::string argument_;
};

/// The prototype cannot be understood; the text begins with the place, "column 6: ", or "line 2, column 6: "
/// where the prototype has several lines.
class KP_EXPORT PrototypeRefused : public KernelRefused {
public:
    /// `at` is an index into the prototype.
    PrototypeRefused(const std::string& prototype, std::size_t at, const std::string& text,
                     Lacking lacking = Lacking::Nothing, const std::string& argument = "");
    ~PrototypeRefused() override;
};

}  // namespace kfab::author
