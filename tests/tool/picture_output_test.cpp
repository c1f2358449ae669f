// Pictures on their way to files: as PNG, over a photograph, one for each data set of a batch.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>

// Needs FILE of cstdio, which it does not include.
#include <jpeglib.h>

#include "input_error.h"
#include "photograph.h"
#include "picture_output.h"
#include "raster_picture.h"
#include "svg_canvas.h"
#include "tool_runner.h"
#include "xml_check.h"

using namespace ptmatch::tool;
using namespace std::string_literals;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

const std::string kModel = "0,0\n40,0\n0,30\n35,25\n";
const std::string kData = "5,6\n45,6\n5,36\n40,31\n20,9\n";

std::string samplePng(std::size_t width, std::size_t height) {
    RasterPicture picture(width, height);
    for (std::size_t k = 0; k < width * height; ++k) picture.at(k % width, k / width).red = 90;
    return pngBytes(picture);
}

std::string sampleJpeg(unsigned width, unsigned height,
                       const std::vector<jpeg_scan_info>& scans = {}) {
    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&info, &bytes, &size);
    info.image_width = width;
    info.image_height = height;
    info.input_components = 1;
    info.in_color_space = JCS_GRAYSCALE;
    jpeg_set_defaults(&info);
    if (!scans.empty()) {
        info.scan_info = scans.data();
        info.num_scans = static_cast<int>(scans.size());
    }
    jpeg_start_compress(&info, TRUE);
    std::vector<unsigned char> line(width);
    for (unsigned y = 0; y < height; ++y) {
        for (unsigned x = 0; x < width; ++x) line[x] = static_cast<unsigned char>(x * y % 251);
        std::array<JSAMPROW, 1> lines = {line.data()};
        jpeg_write_scanlines(&info, lines.data(), 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    std::string text(reinterpret_cast<const char*>(bytes), size);
    std::free(bytes);
    return text;
}

// Each frequency in scans of its own, and in each of these one bit more.
std::vector<jpeg_scan_info> manyScans() {
    std::vector<jpeg_scan_info> scans = {{1, {0}, 0, 0, 0, 0}};
    for (int frequency = 1; frequency < DCTSIZE2; ++frequency) {
        scans.push_back({1, {0}, frequency, frequency, 0, 3});
        for (int bit = 2; bit >= 0; --bit) {
            scans.push_back({1, {0}, frequency, frequency, bit + 1, bit});
        }
    }
    return scans;
}

// What a renderer says whose picture has the size and checksums of none.
const std::string kEndOfPng = "printf '\\000\\000\\000\\000IEND\\256B`\\202'\n";

// Width and height as a PNG file gives them.
std::string sizeOfPng(const std::string& png) {
    const auto number = [&](std::size_t at) {
        unsigned value = 0;
        for (std::size_t k = at; k < at + 4; ++k) {
            value = 256 * value + static_cast<unsigned char>(png.at(k));
        }
        return std::to_string(value);
    };
    return number(16) + " x " + number(20);
}

class Pictures : public Tool {
  protected:
    Pictures() {
        write("m.csv", kModel);
        write("d.csv", kData);
    }
    Outcome draw(std::vector<std::string> options) const {
        options.insert(options.begin(), {"--model", "m.csv", "--data", "d.csv"});
        return match(options);
    }
    // Ctrl-C in a terminal while the renderer runs: the signal goes to the whole group.
    Outcome interruptRenderer(std::vector<std::string> options) const {
        writeRenderer("echo x >started\nexec /bin/sleep 30\n");
        options.insert(options.begin(), {"/usr/bin/env", "PATH=" + (work() / "bin").string(),
                                         PTMATCH_TOOL, "match", "--model", "m.csv"});
        const pid_t child = start(options);
        for (int k = 0; k < 2000 && !fs::exists(work() / "started"); ++k) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        EXPECT_TRUE(fs::remove(work() / "started"));
        ::kill(-child, SIGINT);
        return finish(child);
    }
    // With the folder `bin` for the PATH.
    Outcome drawWithRenderer(std::vector<std::string> options) const {
        options.insert(options.begin(),
                       {"/usr/bin/env", "PATH=" + (work() / "bin").string(), PTMATCH_TOOL, "match",
                        "--model", "m.csv", "--data", "d.csv"});
        return runProgram(options);
    }
    void writeRenderer(const std::string& script) const {
        fs::create_directories(work() / "bin");
        write("bin/rsvg-convert", "#!/bin/sh\n" + script);
        fs::permissions(work() / "bin/rsvg-convert", fs::perms::owner_all);
    }
    // What is said of a photograph that cannot be used.
    std::string refusalOf(const std::string& photograph) const {
        write("p", photograph);
        const Outcome outcome = draw({"--svg", "a.svg", "--background", "p"});
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_FALSE(fs::exists(work() / "a.svg"));
        return outcome.err;
    }
};

}  // namespace

TEST_F(Pictures, PngIsTheSvgPictureRendered) {
    if (runProgram({"/bin/sh", "-c", "command -v rsvg-convert"}).exitCode != 0) {
        GTEST_SKIP() << "rsvg-convert is not installed";
    }
    const Outcome outcome = draw({"--svg", "a.svg", "--png", "a b;c'.png"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_THAT(filesInWork(), ElementsAre("a b;c'.png", "a.svg", "d.csv", "m.csv"));
    const std::string png = readFile(work() / "a b;c'.png");
    EXPECT_EQ(png.substr(1, 3), "PNG");
    const std::string size = sizeOfPng(png);
    const std::string width = size.substr(0, size.find(' '));
    EXPECT_THAT(readFile(work() / "a.svg"), HasSubstr(" width=\"" + width + "\" "));
    // Larger than what readers of XML take without being told.
    write("large.png", samplePng(3000, 10) + std::string(12'000'000, 'x'));
    const Outcome large = draw({"--png", "l.png", "--background", "large.png"});
    EXPECT_EQ(large.exitCode, 0) << large.err;
}

TEST_F(Pictures, WithoutARendererThereIsNoPngAndNoHalfOfOne) {
    fs::create_directories(work() / "bin");
    Outcome outcome = drawWithRenderer({"--png", "a.png"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err,
              "ptmatch: --png: rsvg-convert is needed, which is in no folder of the PATH (Debian "
              "package librsvg2-bin); --svg does without\n");
    writeRenderer("printf '\\211PNG half'; echo 'no font' >&2; exit 3\n");
    outcome = drawWithRenderer({"--svg", "a.svg", "--png", "a.png"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.err, "ptmatch: --png: rsvg-convert made no picture (exit code 3): no font\n");
    writeRenderer("echo nonsense\n");
    EXPECT_EQ(drawWithRenderer({"--png", "a.png"}).exitCode, 2);
    writeRenderer("printf '\\211PNG and no end'\n");
    EXPECT_THAT(drawWithRenderer({"--png", "a.png"}).err, HasSubstr("made no picture"));
    EXPECT_THAT(filesInWork(), ElementsAre("bin", "d.csv", "m.csv"));
}

TEST_F(Pictures, InterruptWhileTheRendererRunsLeavesNothing) {
    for (const bool isBatch : {false, true}) {
        std::vector<std::string> options = {"--data",     "d.csv", "--svg",
                                            "{name}.svg", "--png", "{name}.png"};
        if (isBatch) options.insert(options.begin() + 2, "m.csv");
        const Outcome outcome = interruptRenderer(options);
        EXPECT_EQ(outcome.exitCode, 130);
        EXPECT_EQ(outcome.err, "ptmatch: interrupted\n");
        EXPECT_EQ(outcome.out.empty(), !isBatch);
        EXPECT_THAT(filesInWork(), ElementsAre("bin", "d.csv", "m.csv"));
    }
}

TEST_F(Pictures, RendererIsGivenThePictureWithoutAShell) {
    writeRenderer("printf '\\211PNG %s ' \"$*\"; while read -r line; do echo \"$line\"; done\n" +
                  kEndOfPng);
    const Outcome outcome = drawWithRenderer({"--svg", "a.svg", "--png", "$(x).png"});
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(readFile(work() / "$(x).png"), "\x89PNG --format=png --unlimited " +
                                                 readFile(work() / "a.svg") +
                                                 std::string("\0\0\0\0IEND\xae\x42`\x82", 12));
}

TEST_F(Pictures, LieOverAPhotographWithPixelsCentredAtWholeCoordinates) {
    write("p.png", samplePng(60, 50));
    write("q.jpg", sampleJpeg(60, 50));
    EXPECT_EQ(draw({"--svg", "a.svg", "--background", "p.png"}).err, "");
    const std::string svg = readFile(work() / "a.svg");
    EXPECT_EQ(xmlFault(svg), "");
    EXPECT_EQ(countElements(svg, "image", ""), 1U);
    EXPECT_THAT(svg, HasSubstr(" xlink:href=\"data:image/png;base64,iVBORw0KGgo"));
    // Its sides fill the plot but for the margin: 828 units of the page for 60 pixels.
    EXPECT_THAT(svg, HasSubstr("<image x=\"108\" y=\"58\" width=\"828\" height=\"690\""));
    // Point (5, 6) is 5.5 and 6.5 pixels from the corner.
    EXPECT_THAT(svg, HasSubstr("<circle cx=\"183.9\" cy=\"147.7\""));
    // Everything twice: an edge below.
    EXPECT_EQ(countElements(svg, "circle", "data-matched"), 4U);
    EXPECT_THAT(svg, HasSubstr("<g fill=\"#ffffff\" stroke=\"#ffffff\" stroke-width=\"2.6\">"));

    EXPECT_EQ(draw({"--svg", "b.svg", "--background", "q.jpg"}).err, "");
    EXPECT_THAT(readFile(work() / "b.svg"), HasSubstr(" xlink:href=\"data:image/jpeg;base64,/9j/"));
    write("n.csv", "1005,6\n1045,6\n1005,36\n1040,31\n");
    const Outcome away = match(
        {"--model", "m.csv", "--data", "n.csv", "--svg", "c.svg", "--background", "{name}.jpg"});
    EXPECT_THAT(away.err, HasSubstr("n.jpg: cannot be opened"));
    write("n.jpg", sampleJpeg(60, 50));
    EXPECT_EQ(match({"--model", "m.csv", "--data", "n.csv", "--svg", "{name}.svg", "--background",
                     "{name}.jpg"})
                  .err,
              "ptmatch: note: no point lies on n.jpg (60 x 50 pixels): are the points its "
              "pixels?\n");
    EXPECT_TRUE(fs::exists(work() / "n.svg"));
}

TEST_F(Pictures, OtherCommandsDrawOverPhotographsToo) {
    write("p.png", samplePng(60, 50));
    std::string dots;
    std::string pairs;
    for (int k = 0; k < 12; ++k) {
        const std::string dot =
            std::to_string(10 + 10 * (k % 4)) + "," + std::to_string(10 + 10 * (k / 4));
        dots += dot + "\n";
        pairs += dot + "," + dot + "\n";
    }
    write("dots.csv", dots);
    write("pairs.csv", pairs);
    write("pattern.txt", "xxxx\nxxxx\nxxxx\n");
    const std::vector<std::string> asked = {"--background", "p.png", "--svg", "a.svg"};
    const auto over = [&](const std::string& command, std::vector<std::string> options) {
        options.insert(options.end(), asked.begin(), asked.end());
        const Outcome outcome = run(command, options);
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        const std::string svg = readFile(work() / "a.svg");
        EXPECT_EQ(xmlFault(svg), "");
        EXPECT_THAT(svg, HasSubstr("id=\"photograph\""));
    };
    over("grid-map", {"--data", "dots.csv"});
    over("grid-match", {"--pattern", "pattern.txt", "--data", "dots.csv"});
    over("fit", {"--pairs", "pairs.csv", "--model", "affine"});
}

TEST_F(Pictures, HalfWrittenPhotographsAreRefusedWhereverTheyEnd) {
    const std::string file = (work() / "p").string();
    for (const std::string& whole : {samplePng(9, 7), sampleJpeg(9, 7)}) {
        write("p", whole);
        EXPECT_EQ(readPhotograph(file).width, 9);
        for (std::size_t length = 0; length < whole.size(); ++length) {
            write("p", whole.substr(0, length));
            EXPECT_THROW(readPhotograph(file), InputError) << length << " of " << whole.size();
        }
    }
}

TEST_F(Pictures, PhotographsThatCannotBeUsedAreRefused) {
    const std::string jpeg = sampleJpeg(64, 64);
    EXPECT_THAT(refusalOf("P5 2 2 255 abcd"), HasSubstr("expected a picture in PNG or JPEG"));
    EXPECT_THAT(refusalOf(""), HasSubstr("expected a picture in PNG or JPEG"));
    const std::string png = samplePng(64, 64);
    EXPECT_THAT(refusalOf(png.substr(0, png.size() / 2)), HasSubstr("p: a damaged picture: "));
    EXPECT_THAT(refusalOf(png.substr(0, 20)), HasSubstr("p: a damaged picture: "));
    EXPECT_THAT(refusalOf(jpeg.substr(0, jpeg.size() / 2)), HasSubstr("it ends too early"));
    EXPECT_THAT(refusalOf(jpeg.substr(0, 12)), HasSubstr("p: a damaged picture: "));
    // Ones that are no code, in place of as many bytes in the middle of the scan.
    std::string flipped = jpeg;
    const std::string ones = "\xff\0\xff\0\xff\0"s;
    flipped.replace((flipped.find("\xff\xda") + flipped.size()) / 2, ones.size(), ones);
    EXPECT_THAT(refusalOf(flipped), HasSubstr("p: a damaged picture: Corrupt JPEG data"));
    EXPECT_THAT(refusalOf(sampleJpeg(8, 8, manyScans())), HasSubstr("more than 200 scans"));
    std::string huge = jpeg;
    const auto frame = huge.find("\xff\xc0");
    ASSERT_NE(frame, std::string::npos);
    for (std::size_t k = 5; k < 9; ++k) huge[frame + k] = '\x7f';
    EXPECT_THAT(refusalOf(huge), HasSubstr("32639 x 32639 pixels; at most 100 million"));
    EXPECT_THAT(refusalOf(png + std::string(std::size_t{64} << 20, 'x')), HasSubstr("64 MiB"));

    write("p", png);
    EXPECT_THAT(draw({"--background", "p"}).err, HasSubstr("belongs to --svg or --png"));
    EXPECT_THAT(draw({"--background", "p", "--svg", "a.svg", "--y-up"}).err,
                HasSubstr("runs downwards"));
    EXPECT_THAT(draw({"--background", "p", "--svg", "p"}).err, HasSubstr("p is the photograph"));
}

TEST_F(Pictures, OfABatchHaveNamesOfTheirOwn) {
    write("e.csv", "105,6\n145,6\n105,36\n140,31\n");
    const std::vector<std::string> both = {"--model", "m.csv", "--data", "d.csv", "e.csv"};
    const auto with = [&](std::vector<std::string> more) {
        more.insert(more.begin(), both.begin(), both.end());
        return more;
    };
    const Outcome outcome = match(with({"--jobs", "2", "--svg", "{number}-{name}.svg"}));
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_THAT(filesInWork(), ElementsAre("1-d.svg", "2-e.svg", "d.csv", "e.csv", "m.csv"));
    EXPECT_THAT(readFile(work() / "2-e.svg"),
                AllOf(HasSubstr(">4 of 4 points found<"), HasSubstr("e.csv<")));
    EXPECT_THAT(refusalBy("match", with({"--svg", "a.svg"})),
                HasSubstr("several pictures would be written into a.svg; put {name} or {number}"));
    EXPECT_THAT(refusalBy("match", with({"--svg", "{name}.csv"})),
                HasSubstr("a table of the data"));
    EXPECT_THAT(refusalBy("match", with({"--background", "{name}.img", "--svg", "./{name}.img"})),
                HasSubstr("--svg: ./d.img is a photograph; choose another file"));
    EXPECT_THAT(refusalBy("match", {"--model", "m.csv", "--data", "sub/m.csv", "sub/d.csv", "--svg",
                                    "{name}.csv"}),
                HasSubstr("--svg: m.csv is the table of the model; choose another file"));
    EXPECT_THAT(refusalBy("match", with({"--svg", "{name}", "--png", "./{name}"})),
                HasSubstr("--png: several pictures would be written into ./d"));

    // A picture that cannot be written: its data set fails, the others go on.
    fs::create_directories(work() / "x-e.svg");
    const Outcome one = match(with({"--svg", "x-{name}.svg"}));
    EXPECT_EQ(one.exitCode, 3);
    EXPECT_THAT(one.err, HasSubstr("x-e.svg: cannot be written: it is a directory"));
    EXPECT_TRUE(fs::exists(work() / "x-d.svg"));

    write("v.csv", "frame,x,y\na/b,5,6\na/b,45,6\na/b,5,36\na/b,40,31\n7,1,2\n");
    write("dots.txt", "xxxx\nxxxx\n");
    run("grid-match", {"--pattern", "dots.txt", "--data", "v.csv", "--frames", "--xv", "10,0",
                       "--svg", "f-{name}.svg"});
    EXPECT_TRUE(fs::exists(work() / "f-v-a_b.svg"));
    EXPECT_EQ(xmlFault(readFile(work() / "f-v-7.svg")), "");
}

TEST_F(Pictures, OfABatchShareTheirPhotographUnlessEachHasItsOwn) {
    write("p.png", samplePng(60, 50));
    const std::vector<DataSet> sets = {{"d.csv", {}, {}, {}}, {"e.csv", {}, {}, {}}};
    PictureOptions options;
    options.svgFile = "{name}.svg";
    options.backgroundFile = (work() / "p.png").string();
    const auto shared = picturesOfSets(options, sets, {"m.csv", "the model"});
    ASSERT_NE(shared[0].photograph, nullptr);
    EXPECT_EQ(shared[0].photograph->width, 60);
    EXPECT_EQ(shared[0].photograph, shared[1].photograph);
    options.backgroundFile = "{name}.png";
    EXPECT_EQ(picturesOfSets(options, sets, {"m.csv", "the model"})[0].photograph, nullptr);
}

TEST_F(Pictures, OfOneFormatAreNotCalledAsThoseOfTheOther) {
    EXPECT_EQ(draw({"--svg", "a.PNG"}).err, "ptmatch: --svg: a.PNG ends in .png; use --png\n");
    EXPECT_EQ(draw({"--png", "a.svg"}).err, "ptmatch: --png: a.svg ends in .svg; use --svg\n");
    EXPECT_THAT(filesInWork(), ElementsAre("d.csv", "m.csv"));
}

TEST(SvgCanvas, EdgesAreWiderThanWhatTheyAreAround) {
    SvgCanvas canvas(10, 10);
    {
        const auto edging = canvas.edging();
        const auto group = canvas.group({{"id", "a"}, {"fill", "#0072b2"}});
        canvas.circle({1, 1}, 1, {}, "hint");
        canvas.line({0, 0}, {1, 1}, {{"stroke", "#b6bec8"}, {"stroke-width", "2"}});
        canvas.text({0, 0}, "word");
    }
    const std::string svg = canvas.finished();
    EXPECT_THAT(svg, HasSubstr("<g fill=\"#ffffff\" stroke=\"#ffffff\" stroke-width=\"2.6\">"));
    EXPECT_THAT(svg, HasSubstr("stroke=\"#111827\" stroke-width=\"3.4\"/>"));
    EXPECT_THAT(svg, AllOf(Not(HasSubstr("hint")), Not(HasSubstr("word")), Not(HasSubstr("id="))));
}

TEST_F(Pictures, OfATrainedMatcherShowWhatItWasTrainedOn) {
    write("w.csv", "x,y,weight\n0,0,5\n40,0,5\n0,30,0\n35,25,-3\n9,9,1\n");
    write("pattern.txt", "xx.\n..x\nxxx\n");
    const auto drawn = [&](const std::string& command, const std::vector<std::string>& options) {
        const Outcome outcome = run(command, options);
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        const std::string svg = readFile(work() / "a.svg");
        EXPECT_EQ(xmlFault(svg), "");
        return svg;
    };
    const std::string weighted =
        drawn("train", {"--model", "w.csv", "--out", "w.ptm", "--svg", "a.svg"});
    EXPECT_EQ(countElements(weighted, "circle", "model"), 4U);
    EXPECT_EQ(countElements(weighted, "path", "model"), 1U);
    EXPECT_THAT(weighted, HasSubstr("<title>model 3 (35, 25): weight -3</title>"));
    EXPECT_THAT(weighted, HasSubstr(">-3 to 5<"));
    EXPECT_THAT(drawn("info", {"w.ptm", "--svg", "a.svg"}), HasSubstr(">Trained on 5 points<"));
    const std::string pattern = drawn(
        "train", {"--pattern", "pattern.txt", "--xv", "10,2", "--out", "p.ptm", "--svg", "a.svg"});
    EXPECT_EQ(countElements(pattern, "circle", "pattern"), 6U);
    EXPECT_THAT(pattern, HasSubstr(">10, 2<"));
    EXPECT_THAT(refusalBy("info", {"w.ptm", "--svg", "w.ptm"}), HasSubstr("is the archive"));
}
