// What hostile files, arguments and names make of the tool: a right answer or one line that says
// what is wrong, and the exit code that the documentation tells.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <clocale>
#include <cstdint>
#include <cstring>
#include <locale>
#include <nlohmann/json.hpp>
#include <random>
#include <utility>

#include "archive_content.h"
#include "archive_text.h"
#include "csv_lines.h"
#include "csv_points.h"
#include "input_error.h"
#include "matcher_file.h"
#include "model_source.h"
#include "number_text.h"
#include "option_text.h"
#include "pair_table.h"
#include "pattern_file.h"
#include "shown_text.h"
#include "support/allocation_meter.h"
#include "svg_canvas.h"
#include "tool_runner.h"
#include "xml_check.h"

namespace {

using namespace ptmatch::tool;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* kHostileModel = PTMATCH_DATA_DIR "/demo_pick/model.csv";
constexpr const char* kHostileData = PTMATCH_DATA_DIR "/demo_pick/data.csv";
constexpr const char* kHostilePattern = PTMATCH_DATA_DIR "/dots_staggered/pattern.txt";
constexpr const char* kHostilePairs = PTMATCH_DATA_DIR "/oblique_plate/pairs.csv";
constexpr const char* kHostileDots = PTMATCH_DATA_DIR "/dots_staggered/data.csv";

using Words = std::vector<std::string>;

// Every place of a command line where a file is read.
std::vector<Words> readersOf(const std::string& file) {
    return {{"match", "--model", file, "--data", kHostileData},
            {"match", "--model", kHostileModel, "--data", file},
            {"match", "--model", kHostileModel, "--data", kHostileData, "--svg", "out.svg",
             "--background", file},
            {"grid-map", "--data", file, "--csv", "out.csv"},
            {"grid-map", "--data", kHostileDots, "--svg", "out.svg", "--background", file},
            {"grid-match", "--pattern", file, "--data", kHostileDots},
            {"grid-match", "--pattern", kHostilePattern, "--data", file},
            {"grid-match", "--pattern", kHostilePattern, "--data", kHostileDots, "--svg", "out.svg",
             "--background", file},
            {"explain", "--model", file, "--data", kHostileData},
            {"explain", "--model", kHostileModel, "--data", file},
            {"explain", "--pattern", file, "--data", kHostileDots},
            {"explain", "--model", kHostileModel, "--data", kHostileData, "--svg", "out.svg",
             "--background", file},
            {"fit", "--model", "affine", "--pairs", file, "--csv", "out.csv"},
            {"fit", "--model", "affine", "--pairs", kHostilePairs, "--svg", "out.svg",
             "--background", file},
            {"train", "--model", file, "--out", "out.ptm"},
            {"train", "--pattern", file, "--out", "out.ptm"},
            {"info", file}};
}

// Whether a terminal would do something else with `text` than show it.
bool actsOnTerminal(std::string text) {
    text.erase(std::remove(text.begin(), text.end(), '\n'), text.end());
    return withoutControls(text) != text;
}

class HostileInput : public Tool {
  protected:
    Outcome runWords(Words words) const {
        const std::string command = words.front();
        words.erase(words.begin());
        return run(command, words);
    }
    // Code 2, a message for people that begins as it should, and nothing else.
    void expectRefusal(const Words& words, const std::string& start) const {
        const Words before = filesInWork();
        const Outcome outcome = runWords(words);
        const std::string what = testing::PrintToString(words);
        EXPECT_EQ(outcome.exitCode, 2) << what;
        EXPECT_EQ(outcome.out, "") << what;
        EXPECT_THAT(outcome.err, StartsWith(start)) << what;
        EXPECT_THAT(outcome.err, EndsWith("\n")) << what;
        EXPECT_LT(outcome.err.size(), 1000U) << what;
        EXPECT_FALSE(actsOnTerminal(outcome.err)) << what;
        EXPECT_EQ(filesInWork(), before) << what;
    }
    // One of 8 bits is made in a quarter of the time of one in UTF-8.
    void makeCommaLocale() const {
        const Outcome made = shell("localedef -i de_DE -f ISO-8859-1 ./de_DE");
        EXPECT_EQ(made.exitCode, 0) << made.err;
    }
    Outcome shell(const std::string& script) const {
        return runProgram({"/bin/bash", "-c", "tool=" PTMATCH_TOOL "; " + script});
    }
};

std::string utf16(const std::string& text, bool lowFirst) {
    std::string wide;
    for (const char c : text) {
        const std::string pair = lowFirst ? std::string{c, '\0'} : std::string{'\0', c};
        wide += pair;
    }
    return wide;
}

std::string refusalOfPoints(const std::string& text) {
    try {
        parsePoints(text, "t.csv");
    } catch (const InputError& error) {
        return error.what();
    }
    return {};
}

// A comma where a point belongs, and digits in groups: what a locale can do to streams.
class CommaNumbers : public std::numpunct<char> {
  protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

// Whether there is what the locale de_DE is made of (Debian package locales).
bool hasSourcesOfLocale() {
    return fs::exists("/usr/share/i18n/locales/de_DE");
}

class WithCommaLocale {
  public:
    // Has C++ and C write commas; C by the locale de_DE that was made in a folder.
    explicit WithCommaLocale(const fs::path& folder)
        : previous_(std::locale::global(std::locale(std::locale(), new CommaNumbers))),
          previousOfC_(std::setlocale(LC_ALL, nullptr)) {
        ::setenv("LOCPATH", folder.c_str(), 1);
        std::setlocale(LC_ALL, "de_DE");
        ::unsetenv("LOCPATH");
    }
    WithCommaLocale(const WithCommaLocale&) = delete;
    WithCommaLocale& operator=(const WithCommaLocale&) = delete;
    ~WithCommaLocale() {
        std::setlocale(LC_ALL, previousOfC_.c_str());
        std::locale::global(previous_);
    }

    static bool isSetInC() { return std::localeconv()->decimal_point == std::string(","); }

  private:
    std::locale previous_;
    std::string previousOfC_;
};

}  // namespace

TEST_F(HostileInput, GiganticFilesAreRefusedByTheirSize) {
    write("sparse", "");
    fs::resize_file(work() / "sparse", std::uintmax_t{64} << 30);
    for (const Words& words : readersOf("sparse")) {
        expectRefusal(words, "ptmatch: sparse: is larger than 256 MiB\n");
    }
}

TEST_F(HostileInput, EndlessInputIsCutOff) {
    const Outcome outcome =
        shell("yes 1,2 | $tool match --model " + std::string(kHostileModel) + " --data /dev/stdin");
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.err, "ptmatch: /dev/stdin: is larger than 256 MiB\n");
}

TEST_F(HostileInput, FilesThatAreNoFilesAreNamed) {
    const auto refused = [&](const std::string& file, const std::string& reason) {
        for (const Words& words : readersOf(file)) {
            expectRefusal(words, "ptmatch: " + file + ": " + reason);
        }
    };
    fs::create_directory(work() / "folder");
    refused("folder", "is a directory, expected ");
    refused("missing", "cannot be opened: No such file or directory");
    refused("folder/missing/x", "cannot be opened: No such file or directory");
    refused("/proc/self/mem", "cannot be read to its end");
    refused("/dev/null", "");
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    // The name of a socket is short, whatever that of the folder is.
    const int folder = ::open(work().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    const std::string path = "/proc/self/fd/" + std::to_string(folder) + "/sock";
    ASSERT_LT(path.size(), sizeof address.sun_path);
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    ASSERT_EQ(::bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    refused("sock", "cannot be opened: ");
    ::close(folder);
    ::close(descriptor);
}

TEST_F(HostileInput, APipeIsReadAsAFileIs) {
    ASSERT_EQ(::mkfifo((work() / "pipe").c_str(), 0600), 0);
    const std::string both = " match --model " + std::string(kHostileModel) + " --json --data ";
    const Outcome piped =
        shell("cat " + std::string(kHostileData) + " >pipe & $tool" + both + "pipe");
    const Outcome plain = shell("$tool" + both + kHostileData);
    EXPECT_EQ(piped.exitCode, 0);
    EXPECT_EQ(nlohmann::json::parse(piped.out)["results"],
              nlohmann::json::parse(plain.out)["results"]);
}

TEST_F(HostileInput, BinaryFilesAreRefusedEverywhere) {
    constexpr unsigned kSeed = 20817;
    std::mt19937 random(kSeed);
    std::string noise(3000, '\0');
    for (char& c : noise) c = static_cast<char>(random());
    const std::string zeros(5000, '\0');
    const std::string picture = "\x89PNG\r\n\x1a\n" + noise;
    const std::string program = readFile("/proc/self/exe").substr(0, 100000);
    for (const std::string& bytes : {noise, zeros, picture, program}) {
        write("binary", bytes);
        for (const Words& words : readersOf("binary")) expectRefusal(words, "ptmatch: binary:");
    }
}

TEST_F(HostileInput, TextInOtherEncodingsIsRefused) {
    const std::string text = "x,y\n1,2\n3,4\n5,1\n";
    const std::pair<std::string, std::string> cases[] = {
        {"\xff\xfe" + utf16(text, true), "t.csv:1: is UTF-16; save it as UTF-8"},
        {"\xfe\xff" + utf16(text, false), "t.csv:1: is UTF-16; save it as UTF-8"},
        {utf16(text, true), "t.csv:1: holds a byte 0: "},
        {utf16(text, false), "t.csv:1: holds a byte 0: "},
        {std::string("\xff\xfe\0\0x\0\0\0", 8), "t.csv:1: is UTF-16; save it as UTF-8"},
        // A part that was reserved on the disk and never written.
        {"x,y,name\n1,2,a\n3,4,b" + std::string(20, '\0'), "t.csv:3: holds a byte 0: "},
        {"x,y\n1,2\n# " + std::string(3, '\0') + "\n", "t.csv:3: holds a byte 0: "},
        {"\xEF\xBB\xBF\xEF\xBB\xBF"
         "1,2\n",
         "t.csv:1: expected a number"}};
    for (const auto& [bytes, start] : cases) {
        EXPECT_THAT(refusalOfPoints(bytes), StartsWith(start));
        if (start.find(": expected") != std::string::npos) continue;
        write("t.csv", bytes);
        expectRefusal({"fit", "--model", "affine", "--pairs", "t.csv"}, "ptmatch: t.csv:");
        expectRefusal({"train", "--model", "t.csv", "--out", "out.ptm"}, "ptmatch: t.csv");
    }
    EXPECT_EQ(refusalOfPoints("x,y,gr\xf6\xdf"
                              "e\n1,2,\xe4\n"),
              "");
    EXPECT_EQ(parsePattern("\xEF\xBB\xBF"
                           "xx\nx.\n",
                           "p.txt")
                  .positions.size(),
              3U);
}

// They hid every line after a comment.
TEST_F(HostileInput, LineEndsOfCrAmongOthersAreRefused) {
    const std::string reason = "lines must end with LF or CR LF, found CR alone";
    EXPECT_EQ(refusalOfPoints("# from the camera\r1,2\r3,4\n5,6\n"), "t.csv:1: " + reason);
    EXPECT_EQ(refusalOfPoints("x,y\n# none\r1,2\n3,4\n"), "t.csv:2: " + reason);
    EXPECT_EQ(refusalOfPoints("x,y,name\n1,2,a\rb\n"), "t.csv:2: " + reason);
    EXPECT_EQ(refusalOfPoints("1,2\r3,4\r"), "t.csv:1: " + reason);
    EXPECT_EQ(refusalOfPoints("1,2\r\r\n3,4\r\n\r\n"), "");
    EXPECT_EQ(refusalOfPoints("1,2\r"), "");
}

TEST_F(HostileInput, EndlessLinesAreRefusedBeforeTheyAreTakenApart) {
    constexpr std::size_t kLongest = std::size_t{1} << 20;
    for (const char c : {',', '1', 'x', '#', '"'}) {
        const std::string line(kLongest + 1, c);
        EXPECT_EQ(refusalOfPoints(line), "t.csv:1: a line of more than 1 MiB") << c;
        EXPECT_EQ(refusalOfPoints("x,y\n1,2\n" + line), "t.csv:3: a line of more than 1 MiB") << c;
    }
    EXPECT_EQ(refusalOfPoints("1,2\n#" + std::string(kLongest - 1, '.')), "");
    EXPECT_THAT(refusalOfPoints(std::string(kLongest, ',')), StartsWith("t.csv:1: expected"));
}

TEST_F(HostileInput, NumbersOfThousandsOfDigitsAreReadExactlyOrRefused) {
    const std::string zeros(5000, '0');
    const PointTable table = parsePoints(
        "0.1" + zeros + "," + zeros + "7\n0." + zeros + "1e5001,1" + zeros + "e-5000\n", "t.csv");
    EXPECT_EQ(table.points[0], rxVector<2>(0.1, 7.0));
    EXPECT_EQ(table.points[1], rxVector<2>(1.0, 1.0));
    for (const std::string& huge : {"1" + zeros, "1e" + std::string(5000, '9'), "-1e400" + zeros}) {
        EXPECT_THAT(refusalOfPoints("1,2\n3," + huge + "\n"),
                    StartsWith("t.csv:2: expected a number in column 2 (y), found \""));
    }
    EXPECT_EQ(parseWholeNumber(zeros + "12"), 12);
    EXPECT_EQ(parseWholeNumber("1" + zeros), std::nullopt);
}

TEST_F(HostileInput, TablesHaveALargestSize) {
    const auto refusal = [](const auto& parse) -> std::string {
        try {
            parse();
        } catch (const InputError& error) {
            return error.what();
        }
        return {};
    };
    const std::string points = "x,y,frame\n1,2,a\n3,4,b\n5,6,a\n";
    const std::string pairs = "1,2,3,4\n# none\n5,6,7,8\n";
    EXPECT_EQ(refusal([&] { parsePoints(points, "t.csv", 3); }), "");
    EXPECT_EQ(refusal([&] { parsePoints(points, "t.csv", 2); }),
              "t.csv:4: more than 2 lines of numbers");
    EXPECT_EQ(refusal([&] { parseFrames(points, "t.csv", 2); }), "");
    EXPECT_EQ(refusal([&] { parseFrames(points, "t.csv", 1); }),
              "t.csv:4: more than 1 lines of numbers");
    EXPECT_EQ(refusal([&] { parsePairs(pairs, 2, "t.csv", 2); }), "");
    EXPECT_EQ(refusal([&] { parsePairs(pairs, 2, "t.csv", 1); }),
              "t.csv:3: more than 1 lines of numbers");
    // What is trained on the largest table is not too large to be read.
    EXPECT_LT(kLargestTable * (sizeof(double) * 2 + sizeof(std::int32_t)), std::size_t{256} << 20);
}

// A table that was cut between two characters is refused, but for what no reader can see: a cut at
// the end of a line, or within the digits of the last number.
TEST_F(HostileInput, HalfWrittenTablesAreRefusedWhereItShows) {
    const std::string text = "x,y,weight\n12.5,31,1\n42.5,-91.25,2\n";
    std::size_t refused = 0;
    for (std::size_t length = 0; length < text.size(); ++length) {
        const std::string half = text.substr(0, length);
        const std::string fault = refusalOfPoints(half);
        const bool isWithinWeight = length == text.find(",1\n") + 2 || length == text.size() - 1;
        const bool isWholeLine = length > 11 && half.back() == '\n';
        EXPECT_EQ(fault.empty(), isWithinWeight || isWholeLine) << half;
        refused += fault.empty() ? 0 : 1;
    }
    EXPECT_EQ(refused, text.size() - 3);
}

TEST_F(HostileInput, HalfWrittenPairsAreRefusedWhereItShows) {
    const std::string text = "ax,ay,bx,by\n12.5,31,1,-4\n42.5,-91.25,2,17\n";
    const std::size_t firstEnd = text.find("-4\n") + 2;
    for (std::size_t length = 0; length < text.size(); ++length) {
        const std::string half = text.substr(0, length);
        bool isRefused = false;
        try {
            parsePairs(half, 2, "t.csv");
        } catch (const InputError&) {
            isRefused = true;
        }
        // A cut between lines, or within the digits of a last number, is not to be seen.
        const bool isTable = length == firstEnd || length == firstEnd + 1 ||
                             length + 2 == text.size() || length + 1 == text.size();
        EXPECT_EQ(isRefused, !isTable) << half;
    }
}

TEST_F(HostileInput, HalfWrittenGreyMapsAreRefusedWhereverTheyEnd) {
    const std::string maps[] = {"P2 3 2\n9\n1 0 1\n0 9 9\n",
                                std::string("P5 3 2 9\n\1\0\1\0\2\3", 15)};
    for (const std::string& map : maps) {
        EXPECT_EQ(parsePattern(map, "p").positions.size(), 4U);
        const std::size_t whole = map.size() - (map.back() == '\n' ? 1 : 0);
        for (std::size_t length = 1; length < whole; ++length) {
            EXPECT_THROW(parsePattern(map.substr(0, length), "p"), InputError) << length;
        }
    }
}

TEST_F(HostileInput, EmptyFilesAreRefusedEverywhere) {
    write("empty", "");
    write("blank", "\n \n\r\n");
    for (const char* name : {"empty", "blank"}) {
        for (const Words& words : readersOf(name)) {
            expectRefusal(words, std::string("ptmatch: ") + name + ":");
        }
    }
}

TEST_F(HostileInput, LineEndsOfCrLfChangeNothing) {
    const auto withCr = [](std::string text) {
        for (auto at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 2)) {
            text.insert(at, 1, '\r');
        }
        return text;
    };
    const std::string points = "x,y,weight\n1,2,3\n\n# none\n4,5,6\n";
    EXPECT_EQ(parsePoints(withCr(points), "t.csv").points, parsePoints(points, "t.csv").points);
    EXPECT_EQ(parsePoints(withCr(points), "t.csv").weights, parsePoints(points, "t.csv").weights);
    const std::string pairs = "ax,ay,bx,by\n1,2,3,4\n\n5,6,7,8.5\n";
    EXPECT_EQ(parsePairs(withCr(pairs), 2, "t.csv").a, parsePairs(pairs, 2, "t.csv").a);
    EXPECT_EQ(parsePairs(withCr(pairs), 2, "t.csv").b, parsePairs(pairs, 2, "t.csv").b);
    EXPECT_EQ(parsePairs(withCr(pairs), 2, "t.csv").lines, parsePairs(pairs, 2, "t.csv").lines);
    for (const std::string pattern : {"x.x\n.x\n\nxx\n", "P2\n# a comment\n2 2\n9\n1 0\n0 9\n"}) {
        const GridPattern usual = parsePattern(pattern, "p.txt");
        EXPECT_EQ(parsePattern(withCr(pattern), "p.txt").positions, usual.positions) << pattern;
    }
}

// Counts that promise more than there is, at every place of a trained matcher.
TEST_F(HostileInput, ArchivesThatClaimHugeCountsAreReadInNoTimeAndLittleMemory) {
    const PointTable model = parsePoints("0,0,5\n10,0,1\n0,20,2\n7,9,3\n", "m.csv");
    const std::string whole =
        matcherBytes(*trainedOnPoints(model, rxPointMatcherDefs::eAutoDetect, "m.csv"));
    std::size_t refused = 0;
    std::size_t largest = 0;  // of what was taken to read one and to write its text
    for (std::size_t place = 0; place + 4 <= whole.size(); ++place) {
        for (const char* const bytes :
             {"\xff\xff\xff\x7f", "\xff\xff\xff\xff", "\x80\x00\x00\x10"}) {
            std::string damaged = whole;
            damaged.replace(place, 4, std::string(bytes, 4));
            const ptmatch::testing::AllocationMeter meter;
            try {
                const ArchiveContent content = parseArchive(damaged, "m.ptm");
                EXPECT_FALSE(archiveText(content).empty());
            } catch (const InputError&) {
                ++refused;
            }
            largest = std::max(largest, meter.total());
        }
    }
    EXPECT_GT(refused, whole.size());  // a third and more of all
    EXPECT_LT(largest, std::size_t{1} << 20);
}

TEST_F(HostileInput, ArgumentsThatMakeNoSenseAreNamed) {
    const Words usual = {"match", "--model", kHostileModel, "--data", kHostileData};
    const std::vector<Words> ends = {{"--min-coverage", "nan"},
                                     {"--min-coverage", "1e999"},
                                     {"--start-x", "inf"},
                                     {"--start-x", "1e308"},
                                     {"--start-scale", "1e-308"},
                                     {"--start-rotation", "1e308"},
                                     {"--rotation", "nan,nan"},
                                     {"--rotation", ""},
                                     {"--rotation", ","},
                                     {"--rotation", "1,2,3"},
                                     {"--rotation", std::string(100000, '1') + ",2"},
                                     {"--scale", "-0.9,1e300"},
                                     {"--grid-size", "1e-300"},
                                     {"--grid-size", ""},
                                     {"--grid-size", "\x1b[31m1"},
                                     {"--max-results", "99999999999999999999999"},
                                     {"--max-results", "-2147483649"},
                                     {"--max-results",
                                      "1\n"
                                      "2"},
                                     {"--jobs", "1025"},
                                     {"--jobs", ""},
                                     {"--svg", ""},
                                     {"--png", ""},
                                     {"--votes", ""},
                                     {"--background", ""},
                                     {"--json=\x1b[2J"},
                                     {"--\x1b[2J"},
                                     {"--\xff\xfe"},
                                     {"--" + std::string(100000, 'x')},
                                     {""}};
    for (const Words& end : ends) {
        Words words = usual;
        words.insert(words.end(), end.begin(), end.end());
        expectRefusal(words, "ptmatch: ");
    }
    for (const Words& words : std::vector<Words>{{""},
                                                 {"\x1b[2J"},
                                                 {"match", ""},
                                                 {"match", "--model", "", "--data", ""},
                                                 {"fit", "--model", "", "--pairs", "x"},
                                                 {"fit", "--model", "\x1b[2J", "--pairs", "x"},
                                                 {"info", ""},
                                                 {"train", "--model", "", "--out", ""}}) {
        expectRefusal(words, "ptmatch: ");
    }
}

TEST_F(HostileInput, NamesOfFilesDoNotActOnTheTerminalNorBreakOutputs) {
    for (const std::string& name :
         {std::string("a\x1b[31m\nb"),
          std::string("c\xc2\x9b"
                      "31m"),
          std::string("lone\x9b\xff"), std::string("over\xc0\xaf\xed\xa0\x80\xef\xbf\xbf"),
          std::string("%s%n{name}<&\">'"), std::string("-dash"), std::string(" "),
          std::string(255, 'n')}) {
        SCOPED_TRACE(testing::PrintToString(name));
        fs::copy_file(kHostileModel, work() / name);
        const auto checked = [&](const Words& words, int code) {
            const Outcome outcome = runWords(words);
            EXPECT_EQ(outcome.exitCode, code) << outcome.err;
            EXPECT_FALSE(actsOnTerminal(outcome.out)) << outcome.out;
            EXPECT_FALSE(actsOnTerminal(outcome.err)) << outcome.err;
            return outcome.out;
        };
        const std::string path = "./" + name;
        checked({"match", "--model", path, "--data", path, "--svg", "out.svg"}, 0);
        EXPECT_EQ(xmlFault(readFile(work() / "out.svg")), "");
        const auto json =
            nlohmann::json::parse(checked({"match", "--model", path, "--data", path, "--json"}, 0));
        EXPECT_EQ(json["results"].size(), 1U);
        checked({"match", "--model", path, "--data", path, kHostileData}, 0);
        checked({"fit", "--model", "affine", "--pairs", path}, 2);
        checked({"grid-map", "--data", path, "--csv", path}, 2);
        checked({"grid-map", "--data", path, "--csv", "no/" + name}, 2);
        checked({"grid-map", "--data", path, "--keep-all=" + name}, 2);
        fs::remove(work() / name);
        checked({"train", "--model", kHostileModel, "--out", path}, 0);
        checked({"info", path}, 0);
        checked({"match", "--model", path, "--data", kHostileData}, 0);
        fs::remove(work() / name);
    }
    EXPECT_THAT(filesInWork(), testing::ElementsAre("out.svg"));
}

TEST_F(HostileInput, TextOfOtherBytesThanUtf8IsReplaced) {
    EXPECT_EQ(withoutControls("caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80"),
              "caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80");
    EXPECT_EQ(withoutControls("\x9b"
                              "31m\xe9"),
              "?31m?");
    EXPECT_EQ(withoutControls("\xc2\x9b"
                              "31m\x7f\t"),
              "?31m??");
    EXPECT_EQ(withoutControls("\xc0\xaf"), "??");            // overlong
    EXPECT_EQ(withoutControls("\xed\xa0\x80"), "???");       // a surrogate
    EXPECT_EQ(withoutControls("\xf4\x90\x80\x80"), "????");  // beyond U+10FFFF
    EXPECT_EQ(withoutControls("\xe2\x82"), "??");            // cut
    EXPECT_EQ(xmlEscaped("\xef\xbf\xbe\xed\xa0\x80\xc0\xaf"), "????????");
}

// The locale of a process, of C++ and of C, is nothing to numbers in files.
TEST_F(HostileInput, ADecimalCommaInTheLocaleChangesNothing) {
    const std::string text = "x,y,weight\n1234567.5,-0.25,1000000\n1e3,2.5,7\n0.125,9.75,3\n";
    const auto everything = [&] {
        const PointTable table = parsePoints(text, "t.csv");
        const auto matcher = trainedOnPoints(table, rxPointMatcherDefs::eAutoDetect, "t.csv");
        const std::string bytes = matcherBytes(*matcher);
        const Interval interval = parseInterval("-1234.5,0.5");
        return archiveText(parseArchive(bytes, "t.ptm")) +
               archiveJson(parseArchive(bytes, "t.ptm")) + bytes + fixedText(1234567.125, 2) +
               shortText(0.1) + significantText(1234.5678, 6) + shortText(interval.low) +
               std::to_string(parseCount("1234567")) + refusalOfPoints("1,5,2,5\n") +
               refusalOfPoints("1;5\n");
    };
    const std::string usual = everything();
    if (hasSourcesOfLocale()) makeCommaLocale();
    const WithCommaLocale locale(work());
    EXPECT_EQ(locale.isSetInC(), hasSourcesOfLocale());
    EXPECT_EQ(everything(), usual);
    EXPECT_EQ(parseNumber("1,5"), std::nullopt);
    EXPECT_EQ(parseNumber("1.234.567"), std::nullopt);
}

TEST_F(HostileInput, ALocaleOfTheEnvironmentChangesNothing) {
    if (!hasSourcesOfLocale()) GTEST_SKIP() << "the sources of locales are not installed";
    makeCommaLocale();
    const std::string german = "LOCPATH=$PWD LC_ALL=de_DE ";
    ASSERT_EQ(shell(german + "locale decimal_point").out, ",\n");
    // The time, which differs from run to run, stands in a line of its own.
    const std::string grid = std::string(" grid-map --json --csv out.csv --svg out.svg --data ") +
                             PTMATCH_DATA_DIR
                             "/dots7x7/data.csv | sed '/time_s/d'; sed -i '/ s<.text>/d' out.svg";
    const Outcome plain = shell("LC_ALL=C $tool" + grid);
    const std::string table = readFile(work() / "out.csv");
    const std::string picture = readFile(work() / "out.svg");
    const Outcome other = shell(german + "$tool" + grid);
    EXPECT_THAT(plain.out, HasSubstr("."));
    EXPECT_EQ(other.out, plain.out);
    EXPECT_EQ(readFile(work() / "out.csv"), table);
    EXPECT_EQ(readFile(work() / "out.svg"), picture);
}
