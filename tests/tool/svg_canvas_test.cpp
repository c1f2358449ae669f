#include "svg_canvas.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "xml_check.h"

using namespace ptmatch::tool;
using testing::HasSubstr;

TEST(SvgCanvas, EmptyPageIsWellFormedAndHasItsSize) {
    const std::string svg = SvgCanvas(640, 480.5).finished();
    EXPECT_EQ(xmlFault(svg), "");
    EXPECT_THAT(svg, HasSubstr("width=\"640\" height=\"480.5\" viewBox=\"0 0 640 480.5\""));
}

TEST(SvgCanvas, WritesEachElementOnce) {
    SvgCanvas canvas(10, 10);
    {
        const auto group = canvas.group({{"id", "all"}, {"fill", "none"}});
        canvas.circle({1, 2}, 3, {{"fill", "red"}}, "hint");
        canvas.line({0, 0}, {1.25, -1});
        canvas.cross({5, 5}, 1);
        canvas.polygon({{0, 0}, {1, 0}, {0, 1}});
        canvas.rectangle({1, 1}, 2, 3);
        canvas.text({4, 4}, "words");
    }
    const std::string svg = canvas.finished();
    EXPECT_EQ(xmlFault(svg), "");
    EXPECT_THAT(svg, HasSubstr("<circle cx=\"1\" cy=\"2\" r=\"3\" fill=\"red\"><title>hint</title>"
                               "</circle>"));
    EXPECT_THAT(svg, HasSubstr("<line x1=\"0\" y1=\"0\" x2=\"1.25\" y2=\"-1\"/>"));
    EXPECT_THAT(svg, HasSubstr("<path d=\"M4 4L6 6M4 6L6 4\"/>"));
    EXPECT_THAT(svg, HasSubstr("<polygon points=\"0,0 1,0 0,1\"/>"));
    EXPECT_THAT(svg, HasSubstr("<rect x=\"1\" y=\"1\" width=\"2\" height=\"3\"/>"));
    EXPECT_THAT(svg, HasSubstr("<text x=\"4\" y=\"4\">words</text>"));
}

TEST(SvgCanvas, TextAndAttributesAreEscaped) {
    SvgCanvas canvas(10, 10);
    canvas.text({0, 0}, "a<b & \"c\">", {{"id", "\"<&>"}});
    EXPECT_EQ(xmlFault(canvas.finished()), "");
    EXPECT_THAT(canvas.finished(), HasSubstr(">a&lt;b &amp; &quot;c&quot;&gt;<"));
}

TEST(SvgCanvas, BytesThatAreNoTextBecomeQuestionMarks) {
    EXPECT_EQ(xmlEscaped("\x1b[1m"), "?[1m");
    EXPECT_EQ(xmlEscaped("caf\xe9"), "caf?");
    EXPECT_EQ(xmlEscaped("caf\xc3\xa9"), "caf\xc3\xa9");
    EXPECT_EQ(xmlEscaped("\xf0\x9f"), "??");
    EXPECT_EQ(xmlEscaped(std::string_view("\0x", 2)), "?x");
}

TEST(SvgCanvas, NumbersStayWithinReasonAndShort) {
    SvgCanvas canvas(10, 10);
    canvas.circle({std::numeric_limits<double>::quiet_NaN(), 1e300}, 1.0 / 3.0);
    EXPECT_THAT(canvas.finished(), HasSubstr("cx=\"0\" cy=\"1000000\" r=\"0.33\""));
}

TEST(XmlCheck, SeesWhatIsNotWellFormed) {
    const std::string head = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    EXPECT_EQ(xmlFault(head + "<a><b x=\"1\"/>t</a>\n"), "");
    for (const char* body : {"", "<a>", "<a></b>", "<a/><b/>", "<a x=\"1\" x=\"2\"/>", "<a x=1/>",
                             "<a>&nbsp;</a>", "<a>\x01</a>", "words<a/>", "<a x=\"<\"/>"}) {
        EXPECT_NE(xmlFault(head + body), "") << body;
    }
    EXPECT_NE(xmlFault("<a/>"), "");
}
