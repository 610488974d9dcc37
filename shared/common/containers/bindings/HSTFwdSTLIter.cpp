#include "containers/bindings/HSTFwdSTLIter.h"

HSTFwdSTLIter::HSTFwdSTLIter(const std::vector<std::string>& list)
    : valid_(!list.empty()), current_(list.begin()), next_(list.begin()), end_(list.end()) {}

HSTFwdSTLIter::~HSTFwdSTLIter() = default;

void HSTFwdSTLIter::advance() {
    if (!valid_) return;
    current_ = next_++;
    valid_ = next_ != end_;
}
