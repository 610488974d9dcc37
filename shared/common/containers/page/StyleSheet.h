#pragma once

#include "containers/page/Markup.h"

#include <string>

namespace kfab::page {

/// The style of a page: for light and dark screens of any width, and for paper.
Literal styleSheet();

/// Allows a page that style and nothing else.
std::string contentSecurityPolicy();

}  // namespace kfab::page
