#pragma once

#include "platform/base/Export.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kfab::lint {

/// A number of a description, which is text there: decimal, or beginning with 0x.
struct NumberText {
    std::string text;
    bool isGiven = false;
    std::optional<std::uint64_t> value;

    bool isWrong() const { return isGiven && !value; }
    bool is(std::uint64_t number) const { return value == number; }
};

KP_EXPORT NumberText numberText(std::optional<std::string_view> text);

struct KP_EXPORT PortFacts {
    std::string name, mode, type;
    NumberText range, base, dataWidth;
    int line = 0;

    bool isAddressable() const;
    bool isStream() const;
    bool isMaster() const;
    bool isSlave() const;
};

enum class Passing {
    Value,
    Pointer,  ///< to global or constant memory
    Stream,
    Unknown,
};

}  // namespace kfab::lint
