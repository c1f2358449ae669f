#include "pair_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "input_error.h"

using namespace ptmatch::tool;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

using P = Coordinates;

// The message with which `text` is refused; empty when it is not.
std::string refusal(const std::string& text, std::size_t dimensions = 2) {
    try {
        parsePairs(text, dimensions, "t.csv");
    } catch (const InputError& error) {
        return error.what();
    }
    return {};
}

}  // namespace

TEST(PairTable, ReadsFourColumnsWithoutHeader) {
    const PairTable table = parsePairs("1,2,3,4\n# none\n\n5,6,7,-8e1\n", 2, "t.csv");
    EXPECT_EQ(table.dimensions, 2U);
    EXPECT_THAT(table.a, ElementsAre(P{1, 2, 0}, P{5, 6, 0}));
    EXPECT_THAT(table.b, ElementsAre(P{3, 4, 0}, P{7, -80, 0}));
    EXPECT_THAT(table.lines, ElementsAre(1U, 4U));
    EXPECT_FALSE(table.leavesOutZ);
}

TEST(PairTable, ReadsSixColumnsOfSpace) {
    const PairTable table = parsePairs("1,2,3,4,5,6\n", 3, "t.csv");
    EXPECT_THAT(table.a, ElementsAre(P{1, 2, 3}));
    EXPECT_THAT(table.b, ElementsAre(P{4, 5, 6}));
}

TEST(PairTable, HeaderNamesColumnsInAnyOrderAmongOthers) {
    const PairTable table = parsePairs("name,BY,bx,\"Ay\",ax\nfoo,4,3,2,1\n", 2, "t.csv");
    EXPECT_THAT(table.a, ElementsAre(P{1, 2, 0}));
    EXPECT_THAT(table.b, ElementsAre(P{3, 4, 0}));
    EXPECT_THAT(table.lines, ElementsAre(2U));
}

TEST(PairTable, TellsThatThirdCoordinatesAreLeftOut) {
    const std::string text = "ax,ay,az,bx,by,bz\n1,2,3,4,5,6\n";
    const PairTable table = parsePairs(text, 2, "t.csv");
    EXPECT_TRUE(table.leavesOutZ);
    EXPECT_THAT(table.b, ElementsAre(P{4, 5, 0}));
    EXPECT_FALSE(parsePairs(text, 3, "t.csv").leavesOutZ);
    EXPECT_FALSE(parsePairs("ax,ay,az,bx,by\n1,2,x,4,5\n", 2, "t.csv").leavesOutZ);
}

TEST(PairTable, WrongNumbersOfColumnsAreNamed) {
    EXPECT_EQ(refusal("1,2,3\n"),
              "t.csv:1: expected 4 columns (ax, ay, bx, by) separated by commas, found 3");
    EXPECT_EQ(refusal("1,5,2,5,3,5,4,5\n"),
              "t.csv:1: expected 4 columns (ax, ay, bx, by) separated by commas, found 8 (numbers "
              "need a decimal point, not a comma)");
    EXPECT_EQ(refusal("1,2,3,4,5,6\n"),
              "t.csv:1: expected 4 columns (ax, ay, bx, by) separated by commas, found 6; the "
              "models for points of space are rigid3d, similarity3d and affine3d");
    EXPECT_EQ(refusal("1,2,3,4\n", 3),
              "t.csv:1: expected 6 columns (ax, ay, az, bx, by, bz) separated by commas, found 4; "
              "the models for points of the plane are rigid, similarity, affine and perspective");
    EXPECT_EQ(refusal("1,2,3,4\n1,2,3\n"), "t.csv:2: expected 4 columns, found 3");
    EXPECT_EQ(refusal("1;2;3;4\n"),
              "t.csv:1: columns must be separated by commas, found \"1;2;3;4\"");
}

TEST(PairTable, LikelyCausesAreNamed) {
    const std::string begin =
        "t.csv:1: expected 4 columns (ax, ay, bx, by) separated by commas, found ";
    const std::string commasAlone =
        " (columns must be separated by commas alone, and numbers need a decimal point, not a "
        "comma)";
    EXPECT_EQ(refusal("0,5;0;1,5;2\n"), begin + "3" + commasAlone);
    EXPECT_EQ(refusal("0,5 0 1,5 2\n"), begin + "3" + commasAlone);
    EXPECT_EQ(refusal("ax,ay,bx,by\n0,5;0;1,5;2\n"),
              "t.csv:2: expected 4 columns, found 3" + commasAlone);
    EXPECT_EQ(refusal("P1,0,0,1,2\n"),
              begin +
                  "5 (column 1 holds \"P1\": a table with other columns needs a header, which "
                  "names them all)");
    EXPECT_EQ(refusal("px,py,1,2\n1,2,3,4\n"),
              "t.csv:1: expected a number in column 1 (ax), found \"px\"; a first line some of "
              "whose fields are numbers is taken for a pair, not for a header");
    EXPECT_EQ(refusal("0 0 1 2\n"),
              "t.csv:1: columns must be separated by commas, found \"0 0 1 2\"");
    EXPECT_EQ(refusal("ax ay bx by\n"),
              "t.csv:1: columns must be separated by commas, found \"ax ay bx by\"");
}

TEST(PairTable, LineEndsOfCrAloneAreNamed) {
    for (const char* text : {"1,2,3,4\r5,6,7,8\r", "ax,ay,bx,by\r1,2,3,4", "# note\r1,2,3,4\r"}) {
        EXPECT_EQ(refusal(text), "t.csv:1: lines must end with LF or CR LF, found CR alone");
    }
    EXPECT_EQ(refusal("1,2,3,4\r"), "");
    EXPECT_EQ(refusal("1,2,3,4\r\n5,6,7,8\r\n"), "");
}

TEST(PairTable, HeaderMustNameEveryColumnOnce) {
    EXPECT_EQ(refusal("ax,ay,bx,q\n1,2,3,4\n"),
              "t.csv:1: the header names no column by (it has: ax, ay, bx, q)");
    EXPECT_EQ(refusal("ax,ay,bx,by\n1,2,3,4\n", 3),
              "t.csv:1: the header names no column az (it has: ax, ay, bx, by)");
    EXPECT_EQ(refusal("ax,ay,bx,by,AX\n1,2,3,4,5\n"), "t.csv:1: two columns are named ax");
    EXPECT_EQ(refusal("x,y,u,v\n1,2,3,4\n"),
              "t.csv:1: expected a number in column 1 (ax) or a header that names the columns ax, "
              "ay, bx and by, found \"x\"");
}

TEST(PairTable, FieldsThatAreNoFiniteNumbersAreNamed) {
    EXPECT_EQ(refusal("1,2,3,4\n1,2,,4\n"),
              "t.csv:2: expected a number in column 3 (bx), found nothing");
    EXPECT_EQ(refusal("by,ax,ay,bx\n1,2,3,4\nabc,2,3,4\n"),
              "t.csv:3: expected a number in column 1 (by), found \"abc\"");
    EXPECT_EQ(refusal("1,2,3,nan\n"),
              "t.csv:1: expected a finite number in column 4 (by), found \"nan\"");
    EXPECT_EQ(refusal("1,2,3,4,5,-inf\n", 3),
              "t.csv:1: expected a finite number in column 6 (bz), found \"-inf\"");
}

TEST(PairTable, TablesWithoutPairsAreRefused) {
    for (const char* text : {"", "\n", "ax,ay,bx,by\n", "# note\n"}) {
        EXPECT_EQ(refusal(text), "t.csv: holds no pairs") << text;
    }
}

TEST(PairTable, FilesAreReadAndNamed) {
    EXPECT_EQ(readPairs(PTMATCH_DATA_DIR "/oblique_plate/pairs.csv", 2).size(), 80U);
    try {
        readPairs(PTMATCH_DATA_DIR, 2);
        FAIL() << "read a directory";
    } catch (const InputError& error) {
        EXPECT_THAT(error.what(), HasSubstr(": is a directory, expected a table of pairs"));
    }
}
