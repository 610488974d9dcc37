#pragma once

#include "platform/base/Export.h"
#include "platform/base/HSTFwdIter.h"

#include <string>
#include <vector>

/// An iterator over a list of strings, which it does not own and which must not change while it is in use.
///
/// Each element is fetched before it is read: while isValid(), call advance(), then getValue().
class KP_EXPORT HSTFwdSTLIter : public HSTFwdIter<std::string> {
public:
    explicit HSTFwdSTLIter(const std::vector<std::string>& list);

    /// Fetches the next element; does nothing when there is none.
    void advance() override;
    ~HSTFwdSTLIter() override;

    /// Whether there is another element to fetch.
    bool isValid() const { return valid_; }

    /// The element last fetched, and the first one before any is; of an empty list there is none to ask for.
    const std::string& getValue() const { return *current_; }

private:
    using Position = std::vector<std::string>::const_iterator;

    bool valid_;
    Position current_;
    Position next_;
    Position end_;
};
