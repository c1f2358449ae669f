#include "csv_points.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "input_error.h"

using namespace ptmatch::tool;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Point = rxVector<2>;

// The message with which `text` is refused; empty when it is not.
std::string refusal(const std::string& text) {
    try {
        parsePoints(text, "t.csv");
    } catch (const InputError& error) {
        return error.what();
    }
    return {};
}

}  // namespace

TEST(CsvPoints, ReadsTwoColumnsWithoutHeader) {
    const PointTable table = parsePoints("1,2\n3.5,-4e1\n", "t.csv");
    EXPECT_THAT(table.points, ElementsAre(Point(1, 2), Point(3.5, -40)));
    EXPECT_THAT(table.weights, IsEmpty());
}

TEST(CsvPoints, ThirdColumnWithoutHeaderIsTheWeight) {
    const PointTable table = parsePoints("1,2,3\n4,5,-6", "t.csv");
    EXPECT_THAT(table.points, ElementsAre(Point(1, 2), Point(4, 5)));
    EXPECT_THAT(table.weights, ElementsAre(3, -6));
}

TEST(CsvPoints, HeaderNamesColumnsInAnyOrder) {
    const PointTable table = parsePoints("weight,y,x\n7,2,1\n", "t.csv");
    EXPECT_THAT(table.points, ElementsAre(Point(1, 2)));
    EXPECT_THAT(table.weights, ElementsAre(7));
}

TEST(CsvPoints, HeaderMayBeQuotedAndInCapitals) {
    EXPECT_THAT(parsePoints("\"X\", \"Y\"\n1,2\n", "t.csv").points, ElementsAre(Point(1, 2)));
}

TEST(CsvPoints, OtherColumnsOfAHeaderAreSkippedUnread) {
    const PointTable table = parsePoints("x,y,flux,name\n1,2,bright,\"M 44\"\n", "t.csv");
    EXPECT_THAT(table.points, ElementsAre(Point(1, 2)));
    EXPECT_THAT(table.weights, IsEmpty());
}

TEST(CsvPoints, ByteOrderMarkCrLfBlankAndCommentLinesAreFine) {
    const PointTable table = parsePoints(
        "\xEF\xBB\xBF# from the camera\r\nx,y\r\n\r\n1,2\r\n # none\r\n 3 , 4 \r\n  \r\n", "t.csv");
    EXPECT_THAT(table.points, ElementsAre(Point(1, 2), Point(3, 4)));
}

TEST(CsvPoints, MalformedNumberNamesFileLineAndColumn) {
    EXPECT_EQ(refusal("x,y\n1,2\n3,abc\n"),
              "t.csv:3: expected a number in column 2 (y), found \"abc\"");
    EXPECT_EQ(refusal("1,2\n\n# note\n,2\n"),
              "t.csv:4: expected a number in column 1 (x), found nothing");
    EXPECT_EQ(refusal("1.5,abc\n"), "t.csv:1: expected a number in column 2 (y), found \"abc\"");
    EXPECT_EQ(refusal("1,2\n1e999,2\n"),
              "t.csv:2: expected a number in column 1 (x), found \"1e999\"");
}

TEST(CsvPoints, ColumnNumberIsThatOfTheFile) {
    EXPECT_EQ(refusal("id,flux,y,x\na,b,c,1\n"),
              "t.csv:2: expected a number in column 3 (y), found \"c\"");
}

TEST(CsvPoints, CoordinatesMustBeFinite) {
    EXPECT_EQ(refusal("x,y\nnan,1\n"),
              "t.csv:2: expected a finite number in column 1 (x), found \"nan\"");
    EXPECT_EQ(refusal("1,inf\n"),
              "t.csv:1: expected a finite number in column 2 (y), found \"inf\"");
    EXPECT_EQ(refusal("nan,inf\n"),
              "t.csv:1: expected a finite number in column 1 (x), found \"nan\"");
}

TEST(CsvPoints, WeightsAreWholeNumbersOf32Bits) {
    const std::string expected =
        "t.csv:2: expected a whole number of at most 32 bits in column 3 (weight), found ";
    EXPECT_EQ(refusal("x,y,weight\n1,2,0.5\n"), expected + "\"0.5\"");
    EXPECT_EQ(refusal("1,2,3\n1,2,2147483648\n"), expected + "\"2147483648\"");
    EXPECT_EQ(refusal("1,2,3\n1,2,\n"), expected + "nothing");
}

TEST(CsvPoints, EveryLineHasTheColumnsOfTheFirst) {
    const std::string kHint = " (numbers need a decimal point, not a comma)";
    EXPECT_EQ(
        refusal("1,5,2,5\n"),
        "t.csv:1: expected 2 or 3 columns (x, y, weight) separated by commas, found 4" + kHint);
    EXPECT_EQ(refusal("x,y\n1,5,2,5\n"), "t.csv:2: expected 2 columns, found 4" + kHint);
    EXPECT_EQ(refusal("x,y,flux\n1,2\n"), "t.csv:2: expected 3 columns, found 2");
    EXPECT_EQ(refusal("1,2\n1,2,3\n"), "t.csv:2: expected 2 columns, found 3" + kHint);
    EXPECT_EQ(refusal("1\n"),
              "t.csv:1: expected 2 or 3 columns (x, y, weight) separated by commas, found 1");
    EXPECT_EQ(
        refusal("1,2,3,4\n"),
        "t.csv:1: expected 2 or 3 columns (x, y, weight) separated by commas, found 4" + kHint);
}

TEST(CsvPoints, OtherSeparatorsThanCommasAreNamed) {
    EXPECT_EQ(refusal("1;2\n"), "t.csv:1: columns must be separated by commas, found \"1;2\"");
    EXPECT_EQ(refusal("x;y\n1;2\n"), "t.csv:1: columns must be separated by commas, found \"x;y\"");
    EXPECT_EQ(refusal("1,2\n3\t4\n"),
              "t.csv:2: columns must be separated by commas, found \"3?4\"");
    EXPECT_EQ(parsePoints("x,y,note\n1,2,a;b\n", "t.csv").points.size(), 1U);
}

TEST(CsvPoints, HeaderMustNameXAndYOnce) {
    EXPECT_EQ(refusal("x,z\n1,2\n"), "t.csv:1: the header names no column y (it has: x, z)");
    EXPECT_EQ(refusal("Y,z\n1,2\n"), "t.csv:1: the header names no column x (it has: Y, z)");
    EXPECT_EQ(refusal("a,b\n1,2\n"),
              "t.csv:1: expected a number in column 1 (x) or a header that names the columns x and "
              "y, found \"a\"");
    EXPECT_EQ(refusal("x,y,X\n1,2,3\n"), "t.csv:1: two columns are named x");
}

TEST(CsvPoints, TablesWithoutPointsAreRefused) {
    for (const char* text : {"", "\n\n", "x,y\n", "# only a note\n", "\xEF\xBB\xBF"}) {
        EXPECT_EQ(refusal(text), "t.csv: holds no points") << text;
    }
}

TEST(CsvPoints, MissingFilesAndDirectoriesAreNamed) {
    const auto message = [](const std::string& path) {
        try {
            readPoints(path);
        } catch (const InputError& error) {
            return std::string(error.what());
        }
        return std::string();
    };
    EXPECT_EQ(message("/no/such/file.csv"),
              "/no/such/file.csv: cannot be opened: No such file or directory");
    EXPECT_EQ(message(PTMATCH_DATA_DIR),
              PTMATCH_DATA_DIR ": is a directory, expected a table of points");
}

TEST(CsvPoints, EndlessInputIsCutOff) {
    try {
        readPoints("/dev/zero");
        FAIL() << "read to an end that is not there";
    } catch (const InputError& error) {
        EXPECT_STREQ(error.what(), "/dev/zero: is larger than 256 MiB");
    }
}

TEST(CsvPoints, ShippedTablesAreReadWhole) {
    const auto count = [](const std::string& name) {
        return readPoints(PTMATCH_DATA_DIR "/" + name).points.size();
    };
    EXPECT_EQ(count("demo_pick/model.csv"), 30U);
    EXPECT_EQ(count("demo_pick/data.csv"), 286U);
    EXPECT_EQ(count("versa64/model.csv"), 66U);
    EXPECT_EQ(count("versa64/data.csv"), 74U);
    EXPECT_EQ(count("beehive/model.csv"), 343U);
    EXPECT_EQ(count("beehive/data.csv"), 245U);
}
