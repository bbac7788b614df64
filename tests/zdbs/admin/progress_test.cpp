#include "zdbs/admin/progress.h"

#include <gtest/gtest.h>

namespace zdbs::admin {
namespace {

struct Case {
    ProgressState state;
    std::size_t width;
    const char *line;
};

TEST(ProgressLine, ShowsShareRateAndRemainingTime) {
    constexpr std::uint64_t mega = 1000000;
    const Case cases[] = {
        {{0, 100 * mega, 0}, 60, "  0% [                                        ]"},
        {{0, 100 * mega, 1}, 60, "  0% [                                        ]  0 B/s"},
        {{42 * mega, 100 * mega, 2},
         79,
         " 42% [################                        ]  21.0 MB/s  0:03 left"},
        {{42 * mega, 100 * mega, 2},
         60,
         " 42% [#############                  ]  21.0 MB/s  0:03 left"},
        {{42 * mega, 100 * mega, 2}, 35, " 42% [##    ]  21.0 MB/s  0:03 left"},
        {{42 * mega, 100 * mega, 2}, 30, " 42%  21.0 MB/s  0:03 left"},
        {{42 * mega, 100 * mega, 2}, 12, " 42%  21.0 M"},
        {{42 * mega, 100 * mega, 2}, 4, " 42%"},
        {{42 * mega, 100 * mega, 2}, 0, ""},
        {{100 * mega, 100 * mega, 10},
         79,
         "100% [########################################]  10.0 MB/s  0:00 left"},
        {{120 * mega, 100 * mega, 10},
         79,
         "100% [########################################]  10.0 MB/s  0:00 left"},
        {{mega, 100000 * mega, 1},
         79,
         "  0% [                                        ]  1.0 MB/s  27:46:39 left"},
        {{5 * mega, 0, 2}, 79, "5.0 MB  2.5 MB/s"},
        {{0, 0, 0}, 79, "0 B"},
    };
    for (const Case &row : cases) {
        const std::string line = progressLine(row.state, row.width);
        EXPECT_EQ(line, row.line) << row.width;
        EXPECT_LE(line.size(), row.width);
    }
}

}  // namespace
}  // namespace zdbs::admin
