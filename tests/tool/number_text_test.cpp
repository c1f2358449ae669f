#include "number_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>

using namespace ptmatch::tool;
using testing::Eq;
using testing::Optional;

TEST(NumberText, ReadsUsualWaysToWriteNumbers) {
    EXPECT_THAT(parseNumber("12"), Optional(12.0));
    EXPECT_THAT(parseNumber("-0.25"), Optional(-0.25));
    EXPECT_THAT(parseNumber("+3.5"), Optional(3.5));
    EXPECT_THAT(parseNumber(".5"), Optional(0.5));
    EXPECT_THAT(parseNumber("1e-3"), Optional(0.001));
    EXPECT_THAT(parseNumber(" \t7 \r"), Optional(7.0));
}

TEST(NumberText, RefusesWhatIsNoNumberAsAWhole) {
    for (const char* text :
         {"", " ", "abc", "1.5mm", "1 2", "0x10", "--1", "+-1", "++1", "+", "1,5"}) {
        EXPECT_EQ(parseNumber(text), std::nullopt) << text;
    }
}

TEST(NumberText, RefusesNumbersBeyondTheRangeOfDouble) {
    EXPECT_EQ(parseNumber("1e999"), std::nullopt);
    EXPECT_THAT(parseNumber("1.7976931348623157e308"),
                Optional(std::numeric_limits<double>::max()));
}

TEST(NumberText, WholeNumbersFitInto32Bits) {
    EXPECT_THAT(parseWholeNumber("2147483647"), Optional(2147483647L));
    EXPECT_THAT(parseWholeNumber("-2147483648"), Optional(-2147483648L));
    EXPECT_THAT(parseWholeNumber("+5"), Optional(5L));
    for (const char* text : {"2147483648", "-2147483649", "1.0", "1e3", "", "ten"}) {
        EXPECT_EQ(parseWholeNumber(text), std::nullopt) << text;
    }
}

TEST(NumberText, FixedTextRoundsAndHasNoNegativeZero) {
    EXPECT_EQ(fixedText(1.23456, 3), "1.235");
    EXPECT_EQ(fixedText(-0.0004, 3), "0.000");
    EXPECT_EQ(fixedText(-0.0006, 3), "-0.001");
    EXPECT_EQ(fixedText(std::numeric_limits<double>::quiet_NaN(), 2), "nan");
    EXPECT_EQ(fixedText(-std::numeric_limits<double>::infinity(), 2), "-inf");
    EXPECT_EQ(fixedText(std::numeric_limits<double>::max(), 2).size(), 312U);
}

TEST(NumberText, ShortTextReadsBackToTheSameDouble) {
    for (const double value : {0.1, 1.0 / 3.0, -2.5e-300, 123456789.123456789}) {
        EXPECT_THAT(parseNumber(shortText(value)), Optional(Eq(value)));
    }
}

TEST(NumberText, InQuotesIsShortAndPrintable) {
    EXPECT_EQ(inQuotes("abc"), "\"abc\"");
    EXPECT_EQ(inQuotes("a\x1b[31m"), "\"a?[31m\"");
    EXPECT_EQ(inQuotes(std::string(100, 'z')), "\"" + std::string(40, 'z') + "...\"");
}

TEST(NumberText, AboutTextHasOneDigit) {
    EXPECT_EQ(aboutText(9.4e19), "about 9e+19");
    EXPECT_EQ(aboutText(std::numeric_limits<double>::infinity()), "more than 1e+300");
}

TEST(NumberText, SignificantTextKeepsDigitsAtEverySize) {
    EXPECT_EQ(significantText(0.0123456, 3), "0.0123");
    EXPECT_EQ(significantText(-312.6, 2), "-313");
    EXPECT_EQ(significantText(123456789.0, 4), "123456789");
    EXPECT_EQ(significantText(0.5, 9), "0.5");
    EXPECT_EQ(significantText(9.99999, 4), "10");
    EXPECT_EQ(significantText(100.0, 4), "100");
    EXPECT_EQ(significantText(6.123e-17, 2), "6.1e-17");
    EXPECT_EQ(significantText(-2e20, 3), "-2.00e+20");
    EXPECT_EQ(significantText(0.0, 4), "0");
    EXPECT_EQ(significantText(-0.0, 4), "0");
    EXPECT_EQ(significantText(std::numeric_limits<double>::infinity(), 4), "inf");
    EXPECT_EQ(significantText(std::numeric_limits<double>::quiet_NaN(), 4), "nan");
}
