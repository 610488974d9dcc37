#pragma once

/// A forward iterator over values of one type, advanced through a virtual call.
///
/// @tparam Value what the iterator yields; it is not owned by the iterator.
template <class Value>
class HSTFwdIter {
public:
    /// Makes the next value the current one.
    virtual void advance() = 0;
    virtual ~HSTFwdIter() = default;

protected:
    HSTFwdIter() = default;
    HSTFwdIter(const HSTFwdIter&) = default;
    HSTFwdIter& operator=(const HSTFwdIter&) = default;
};
