#include "pattern_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "input_error.h"

using namespace ptmatch::tool;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

using Position = rxPair<long>;

GridPattern parsed(std::string_view text) {
    return parsePattern(text, "p.txt");
}

std::string refusal(std::string_view text) {
    try {
        parsed(text);
    } catch (const InputError& error) {
        return error.what();
    }
    return {};
}

std::string binary(const std::string& head, std::initializer_list<int> bytes) {
    std::string text = head;
    for (const int byte : bytes) text += static_cast<char>(byte);
    return text;
}

}  // namespace

TEST(PatternFile, TextHasARowPerLine) {
    const GridPattern pattern = parsed("x.x\n.x\r\n\nx\n");
    EXPECT_THAT(pattern.positions,
                ElementsAre(Position(0, 0), Position(2, 0), Position(1, 1), Position(0, 3)));
    EXPECT_EQ(pattern.corner, Position(0, 0));
    EXPECT_EQ(pattern.width, 3);
    EXPECT_EQ(pattern.height, 4);
}

TEST(PatternFile, EveryCharacterOfTheTwoKindsIsKnown) {
    EXPECT_EQ(parsed("xX#1*oO").positions.size(), 7U);
    EXPECT_EQ(parsed(". 0x").positions.size(), 1U);
}

TEST(PatternFile, EmptyMarginsAreCroppedAndPositionsStayThoseOfTheFile) {
    const GridPattern pattern = parsed("......\n...xx.\n...x..\n......\n\n");
    EXPECT_EQ(pattern.corner, Position(3, 1));
    EXPECT_EQ(pattern.width, 2);
    EXPECT_EQ(pattern.height, 2);
    EXPECT_EQ(pattern.positions.front(), Position(3, 1));
}

TEST(PatternFile, StaggeredMeansThatNoTwoStandSideBySide) {
    EXPECT_TRUE(parsed("x.x\n.x.\nx.x").isStaggered());
    EXPECT_TRUE(parsed("x").isStaggered());
    EXPECT_FALSE(parsed("x.x\n.x.\nx.xx").isStaggered());
    EXPECT_FALSE(parsed("x..\nx..\n..x").isStaggered());
}

TEST(PatternFile, SparseMeansFewPointsOrNoneWithTwoNeighbours) {
    EXPECT_TRUE(parsed("xxx\nxxx\nxxx").isSparse());
    EXPECT_FALSE(parsed("xxxx\nxxxx\nxx").isSparse());
    EXPECT_TRUE(parsed("xx.xx.xx.xx.xx.xx").isSparse());
    EXPECT_FALSE(parsed("xx.xx.xx.xx.xx.xxx").isSparse());
    EXPECT_FALSE(parsed("x.x.x\n.x.x.\nx.x.x\n.x.x.").isSparse());
    EXPECT_TRUE(parsed("x..x..x..x..x\n.............\nx..x..x..x..x").isSparse());
}

TEST(PatternFile, GreyMapsOfNumbersAreRead) {
    const GridPattern pattern = parsed("P2 # a comment\n#another\n3 2\n255\n0 255 1\n 0 0 7#end");
    EXPECT_THAT(pattern.positions, ElementsAre(Position(1, 0), Position(2, 0), Position(2, 1)));
    EXPECT_EQ(pattern.corner, Position(1, 0));
}

TEST(PatternFile, GreyMapsOfBytesAreReadWithOneAndTwoBytesPerPixel) {
    EXPECT_THAT(parsed(binary("P5\n2 2\n255\n", {0, 200, 10, 0})).positions,
                ElementsAre(Position(1, 0), Position(0, 1)));
    EXPECT_THAT(parsed(binary("P5 2 1 65535 ", {0, 0, 1, 0})).positions,
                ElementsAre(Position(1, 0)));
    // The blank after the head is one: a pixel may look like a line break, and bytes may follow.
    EXPECT_THAT(parsed(binary("P5 2 1 255\n", {'\n', 0, 9, 9})).positions,
                ElementsAre(Position(0, 0)));
}

TEST(PatternFile, HostileGreyMapsAreRefused) {
    EXPECT_THAT(refusal("P5 2 2 255\nabc"), HasSubstr("p.txt: ends before its 2 x 2 pixels"));
    EXPECT_THAT(refusal("P5 16777216 16777216 65535\n"),
                HasSubstr("ends before its 16777216 x 16777216 pixels"));
    EXPECT_THAT(refusal("P5 16777217 1 255\n"), HasSubstr("expected the width"));
    EXPECT_THAT(refusal("P5 99999999999999999999 1 255\n"), HasSubstr("expected the width"));
    EXPECT_THAT(refusal("P5 -1 1 255\n"), HasSubstr("expected the width"));
    EXPECT_THAT(refusal("P5 1 0 255\n"), HasSubstr("expected the height"));
    EXPECT_THAT(refusal("P5 1 1 65536\n"), HasSubstr("expected the largest value"));
    EXPECT_THAT(refusal("P5 1 1 0\n"), HasSubstr("expected the largest value"));
    EXPECT_THAT(refusal("P5 1 1 255"), HasSubstr("ends before its 1 x 1 pixels"));
    EXPECT_THAT(refusal("P5"), HasSubstr("found the end of the file"));
    EXPECT_THAT(refusal("P2 2 1 9 1"), HasSubstr("expected a pixel"));
    EXPECT_THAT(refusal("P2 2 1 9 1 10"),
                HasSubstr("expected a pixel, a whole number from 0 to 9, found \"10\""));
    EXPECT_THAT(refusal("P2 2 1 9 1 2x"), HasSubstr("found \"2x\""));
    EXPECT_THAT(refusal("P2 1.5 1 9 1"), HasSubstr("expected the width"));
    EXPECT_THAT(refusal("P2 2 2 9 # 1 1 1 1"), HasSubstr("expected a pixel"));
    EXPECT_EQ(refusal(binary("P5 1 1 9 ", {10})),
              "p.txt: a pixel is 10, more than the 9 of its head");
    EXPECT_EQ(refusal("P6 1 1 255\nabc"), "p.txt: is a portable map of kind P6, expected P2 or P5");
    EXPECT_THAT(refusal("P1 1 1 1"), HasSubstr("of kind P1"));
}

TEST(PatternFile, OtherTextIsRefusedByLineAndColumn) {
    EXPECT_EQ(refusal("x.x\nx,x\n"),
              "p.txt:2: expected rows of '.' and 'x', or a grey map that begins with P2 or P5; "
              "found \",\" in column 2");
    EXPECT_THAT(refusal("\tx"), HasSubstr("p.txt:1: "));
    EXPECT_THAT(refusal(std::string_view("\0x", 2)), HasSubstr("p.txt:1: "));
}

TEST(PatternFile, WithoutASetPositionThereIsNoPattern) {
    for (const char* text : {"", "\n\n", "...\n...", "P2 1 1 255 0"}) {
        EXPECT_EQ(refusal(text), "p.txt: holds no set position") << text;
    }
}

TEST(PatternFile, WideSpreadPositionsAreRefusedBeforeAnyImageIsMade) {
    std::string text = "x" + std::string(4999, '\n') + std::string(4000, '.') + "x";
    EXPECT_EQ(refusal(text), "p.txt: spreads over 4001 x 5000 positions, more than 16777216");
    text = std::string(4999, '\n') + std::string(4000, '.') + "x";
    EXPECT_EQ(parsed(text).width, 1);
}

TEST(PatternFile, TooManySetPositionsAreRefusedWhileReading) {
    EXPECT_EQ(refusal(std::string((std::size_t{1} << 24) + 1, 'x')),
              "p.txt: holds more than 16777216 set positions");
}

TEST(PatternFile, FilesThatCannotBeReadAreNamed) {
    EXPECT_THROW(readPattern("/no/such/file"), InputError);
    EXPECT_THROW(readPattern("/"), InputError);
}
