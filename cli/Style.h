#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace cli {

/// Colours say again what words say.
enum class Colour { None, Strong, Good, Doubtful, Bad, Quiet };

/// How standard output shows more than plain words.
struct Style {
    bool hasColour = false;
    bool isUtf8 = false;

    /// What the terminal and the locale allow.
    static Style ofOutput();

    std::string coloured(std::string_view text, Colour colour) const;
    /// What stands for what was left out.
    const char* ellipsis() const { return isUtf8 ? "…" : "..."; }
    /// Tells of so many things that were left out.
    std::string rest(std::size_t count) const;
    /// A bar as long as the share, which is at most 1, of a width in columns; nothing for nothing.
    std::string bar(double share, std::size_t width) const;

    /// Pieces of a tree, two columns each: a branch, the last branch, a branch passing by.
    const char* branch() const { return isUtf8 ? "├ " : "|-"; }
    const char* lastBranch() const { return isUtf8 ? "└ " : "`-"; }
    const char* passing() const { return isUtf8 ? "│ " : "| "; }
};

}  // namespace cli
