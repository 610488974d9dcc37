#pragma once

// Everything in the shared libraries is hidden unless it carries this mark.
#define KP_EXPORT __attribute__((visibility("default")))
