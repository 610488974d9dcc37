#pragma once

#include <exception>
#include <functional>
#include <string>

namespace cli {

/// The text of a failure. What was refused for the user's sake comes with the option that wants it all the
/// same.
std::string textWithAdvice(const std::exception& failure);

/// Runs an operation on a package. What it refuses is thrown with that text.
void withAdvice(const std::function<void()>& operation);

/// What can be done about a package whose digest does not hold, and about an IP that others use.
std::string resealAdvice();
std::string replaceIpAdvice();

}  // namespace cli
