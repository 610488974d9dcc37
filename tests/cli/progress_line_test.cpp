// The line that tells how far work is.

#include "cli/ProgressLine.h"

#include <gtest/gtest.h>

namespace {

TEST(ProgressLine, TellsTheShareTheSpeedAndTheTimeLeftInItsWidth) {
    const struct {
        std::uint64_t done, total;
        double seconds;
        std::size_t width;
        const char* line;
    } rows[] = {
        {500'000, 1'000'000, 1, 79, " 50% [####################--------------------]  0.5 MB/s  0:01 left"},
        {500'000, 1'000'000, 1, 38, " 50% [#####-----]  0.5 MB/s  0:01 left"},
        {500'000, 1'000'000, 1, 39, " 50% [#####------]  0.5 MB/s  0:01 left"},
        {500'000, 1'000'000, 1, 37, " 50%"},
        {999'999, 1'000'000, 2, 38, " 99% [#########-]  0.5 MB/s  0:00 left"},
        {100'000, 6'100'000, 1, 38, "  1% [----------]  0.1 MB/s  1:00 left"},
        {100'000, 6'050'000, 1, 38, "  1% [----------]  0.1 MB/s  1:00 left"},
        {1, 3'600, 1, 39, "  0% [----------]  0.0 MB/s  59:59 left"},
        {1, 3'601, 1, 41, "  0% [----------]  0.0 MB/s  1:00:00 left"},
        {1, 7'322, 1, 41, "  0% [----------]  0.0 MB/s  2:02:01 left"},
        {1, 360'000, 1, 42, "  0% [----------]  0.0 MB/s  99:59:59 left"},
        {0, 1, 1, 42, "  0% [----------]  0.0 MB/s  99:59:59 left"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(cli::progressLine(row.done, row.total, row.seconds, row.width, false), row.line);
    EXPECT_EQ(cli::progressLine(1, 2, 1, 38, true), " 50% [\x1b[32m#####\x1b[0m-----]  0.0 MB/s  0:01 left");
}

}  // namespace
