// Cue sheets whose tracks move on, and those that cannot be followed.
#include "join/cue_sheet.hpp"

#include <gtest/gtest.h>

namespace vellmark {
namespace {

TEST(CueSheet, TracksBehindTheFirstMoveOn) {
    const char* sheet =
        "FILE \"a.bin\" BINARY\r\n  TRACK 01 MODE2/2352\r\n    INDEX 01 00:00:00\r\n"
        "  track 02 MODE2/2352\n    FLAGS DCP\n    INDEX 00 00:04:00\n    INDEX 01 00:06:00\n"
        "  TRACK 03 MODE2/2352\r\n    INDEX 01 59:59:74";
    EXPECT_EQ(MoveTracks(sheet, 450, 76),
              "FILE \"a.bin\" BINARY\r\n  TRACK 01 MODE2/2352\r\n    INDEX 01 00:00:00\r\n"
              "  track 02 MODE2/2352\n    FLAGS DCP\n    INDEX 00 00:05:01\r\n"
              "    INDEX 01 00:07:01\r\n  TRACK 03 MODE2/2352\r\n    INDEX 01 60:01:00\r\n");
    EXPECT_EQ(TracksOfCueSheet(sheet), 3);
    for (const char* wrong :
         {"", "FILE \"a\" BINARY\nTRACK 01 MODE2/2352\nINDEX 01 00:00:00\n",
          "TRACK 01 X\nTRACK 02 X\nINDEX 01 00:06:00\n",
          "FILE \"a\" B\nFILE \"b\" B\nTRACK 01 X\nTRACK 02 X\nINDEX 01 00:06:00\n",
          "FILE \"a\" B\nTRACK 01 X\nTRACK 02 X\nINDEX 01 00:06:01\n",
          "FILE \"a\" B\nTRACK 01 X\nTRACK 02 X\nINDEX 01 00:06:00\nINDEX 02 00:60:00\n",
          "FILE \"a\" B\nTRACK 01 X\nTRACK 02 X\nINDEX 01 00:06:00\nINDEX 02 99:59:74\n",
          "FILE \"a\" B\nTRACK 01 X\nTRACK 02 X\nINDEX 01 00:06:00\nINDEX 02\n"})
        EXPECT_EQ(MoveTracks(wrong, 450, 76), std::nullopt) << wrong;
}

}  // namespace
}  // namespace vellmark
