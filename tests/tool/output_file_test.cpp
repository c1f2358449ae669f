#include "output_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "input_error.h"
#include "output_targets.h"

namespace fs = std::filesystem;
using ptmatch::tool::InputError;
using ptmatch::tool::PreparedFile;
using ptmatch::tool::requireSparedInputs;

namespace {

// A fresh folder that goes with the test.
class OutputFile : public testing::Test {
  protected:
    OutputFile()
        : folder_(fs::temp_directory_path() / ("ptmatch_output_" + std::to_string(::getpid()))) {
        fs::create_directory(folder_);
    }
    ~OutputFile() override { fs::remove_all(folder_); }

    std::string path(const std::string& name) const { return (folder_ / name).string(); }
    std::string read(const std::string& name) const {
        std::ifstream file(path(name));
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }
    std::ptrdiff_t fileCount() const {
        return std::distance(fs::directory_iterator(folder_), fs::directory_iterator());
    }
    static void writeFile(const std::string& path, const std::string& text) {
        PreparedFile(path, text).commit();
    }
    static std::string refusal(const std::string& path) {
        try {
            writeFile(path, "text");
        } catch (const InputError& error) {
            return error.what();
        }
        return {};
    }

  private:
    fs::path folder_;
};

}  // namespace

TEST_F(OutputFile, HoldsTheTextAndNothingLiesBesideIt) {
    writeFile(path("a.svg"), "one");
    EXPECT_EQ(read("a.svg"), "one");
    EXPECT_EQ(fileCount(), 1);
}

TEST_F(OutputFile, ReplacesAnOldFile) {
    writeFile(path("a.svg"), "a long old text");
    writeFile(path("a.svg"), "new");
    EXPECT_EQ(read("a.svg"), "new");
    EXPECT_EQ(fileCount(), 1);
}

TEST_F(OutputFile, WithoutACommitTheOldFileStaysAndNothingElse) {
    writeFile(path("a.svg"), "old");
    {
        const PreparedFile never(path("a.svg"), "new");
        EXPECT_EQ(read("a.svg"), "old");
        EXPECT_EQ(fileCount(), 2);
    }
    EXPECT_EQ(read("a.svg"), "old");
    EXPECT_EQ(fileCount(), 1);
}

TEST_F(OutputFile, ACommitThatFailsLeavesNothing) {
    {
        PreparedFile file(path("a.svg"), "text");
        fs::create_directory(path("a.svg"));
        EXPECT_THROW(file.commit(), InputError);
    }
    EXPECT_TRUE(fs::is_directory(path("a.svg")));
    EXPECT_EQ(fileCount(), 1);
}

TEST_F(OutputFile, FailureNamesThePathAndLeavesNothing) {
    EXPECT_EQ(refusal(path("no/a.svg")),
              path("no/a.svg") + ": cannot be written: No such file or directory");
    fs::create_directory(path("folder"));
    EXPECT_EQ(refusal(path("folder")), path("folder") + ": cannot be written: it is a directory");
    EXPECT_EQ(fileCount(), 1);
}

TEST_F(OutputFile, FullDiskIsReported) {
    if (!fs::exists("/dev/full")) GTEST_SKIP() << "no /dev/full here";
    EXPECT_EQ(refusal("/dev/full"), "/dev/full: cannot be written: No space left on device");
}

TEST_F(OutputFile, ALinkStaysAndItsFileIsReplaced) {
    writeFile(path("real.ptm"), "old");
    fs::create_symlink("real.ptm", path("near.ptm"));
    fs::create_symlink(path("near.ptm"), path("far.ptm"));
    writeFile(path("far.ptm"), "new");
    EXPECT_TRUE(fs::is_symlink(path("far.ptm")));
    EXPECT_TRUE(fs::is_symlink(path("near.ptm")));
    EXPECT_EQ(read("real.ptm"), "new");
    fs::create_symlink("later.ptm", path("waits.ptm"));
    writeFile(path("waits.ptm"), "text");
    EXPECT_EQ(read("later.ptm"), "text");
    EXPECT_EQ(fileCount(), 5);
}

TEST_F(OutputFile, ALinkToADeviceStays) {
    fs::create_symlink("/dev/null", path("out"));
    writeFile(path("out"), "text");
    EXPECT_EQ(fs::read_symlink(path("out")), "/dev/null");
    EXPECT_EQ(fileCount(), 1);
}

TEST_F(OutputFile, LinksThatLeadNowhereAreNamed) {
    fs::create_symlink("b", path("a"));
    fs::create_symlink("a", path("b"));
    EXPECT_EQ(refusal(path("a")), path("a") + ": cannot be written: too many symbolic links");
    fs::create_symlink("no/file", path("c"));
    EXPECT_EQ(refusal(path("c")), path("c") + ": cannot be written: No such file or directory");
}

// As /dev/stdout is one when standard output is a file.
TEST_F(OutputFile, AnOpenFileWithoutANameIsWrittenTo) {
    std::FILE* const file = std::fopen(path("gone").c_str(), "w+");
    ASSERT_NE(file, nullptr);
    fs::remove(path("gone"));
    const std::string link = "/proc/self/fd/" + std::to_string(::fileno(file));
    if (fs::exists(link)) {
        writeFile(link, "text");
        char text[5] = "";
        EXPECT_EQ(std::fread(text, 1, 4, file), 4U);
        EXPECT_STREQ(text, "text");
    }
    std::fclose(file);
    EXPECT_EQ(fileCount(), 0);
}

TEST_F(OutputFile, OutputsThatMeetThroughALinkAreRefused) {
    fs::create_symlink("a.svg", path("link"));
    EXPECT_THROW(requireSparedInputs({{path("a.svg"), "--svg"}, {path("link"), "--csv"}}, {}),
                 InputError);
    requireSparedInputs({{path("b.svg"), "--svg"}, {path("link"), "--csv"}}, {});
}
