#pragma once

#include <functional>
#include <string>

namespace cli {

/// Runs an operation on a package. What it refuses for the user's sake comes with the option that wants it
/// all the same.
void withAdvice(const std::function<void()>& operation);

/// What can be done about a package whose digest does not hold, and about an IP that others use.
std::string resealAdvice();
std::string replaceIpAdvice();

}  // namespace cli
