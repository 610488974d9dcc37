#pragma once

#include "platform/base/Export.h"

#include <string>
#include <vector>

/// What was likely meant by a mistyped word: the candidate that differs least from it; empty when all differ
/// in more than a third of it.
KP_EXPORT std::string nearestSpelling(const std::string& word, const std::vector<std::string>& candidates);
