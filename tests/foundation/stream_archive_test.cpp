#include "foundation/stream_archive.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>

#include "support/archive_bytes.h"
#include "support/pipe_stream.h"

using ptmatch::testing::ByteVector;
using ptmatch::testing::PipeStream;
using ptmatch::testing::stored;

namespace {

std::string text(const ByteVector& bytes) {
    return std::string(bytes.begin(), bytes.end());
}

TEST(StreamArchive, WritesTheSameBytesAsTheMemoryArchive) {
    std::ostringstream stream;
    rxStreamStoreArchive ar(stream);
    long number = -2;
    std::vector<double> values = {0.5, -1.5};
    ar || number || values;
    EXPECT_EQ(stream.str(), text(stored(number, values)));
}

TEST(StreamArchive, RecordsComeBackThroughAStream) {
    std::stringstream stream;
    rxStreamStoreArchive storing(stream);
    std::vector<std::vector<long>> values = {{1, 2}, {}, {-3}};
    storing || values;
    rxStreamLoadArchive loading(stream);
    std::vector<std::vector<long>> back;
    loading || back;
    EXPECT_EQ(back, values);
    EXPECT_EQ(loading.bytesLeft(), 0U);
}

TEST(StreamArchive, RecordsComeBackThroughAFile) {
    const std::string path = testing::TempDir() + "ptmatch_stream_archive_test.bin";
    std::string value("line\r\nfeed\x1a and more");
    {
        std::ofstream file(path, std::ios::binary);
        rxStreamStoreArchive ar(file);
        ar || value;
    }
    std::ifstream file(path, std::ios::binary);
    rxStreamLoadArchive ar(file);
    EXPECT_EQ(ar.bytesLeft(), 5U + value.size());
    std::string back;
    ar || back;
    EXPECT_EQ(back, value);
    file.close();
    std::remove(path.c_str());
}

TEST(StreamArchive, FilePastItsEndHasNothingLeft) {
    const std::string path = testing::TempDir() + "ptmatch_stream_archive_end_test.bin";
    std::ofstream(path, std::ios::binary) << "abc";
    std::ifstream file(path, std::ios::binary);
    file.seekg(100);
    rxStreamLoadArchive ar(file);
    EXPECT_EQ(ar.bytesLeft(), 0U);
    unsigned char byte = 0;
    EXPECT_THROW(ar || byte, rxArchive::Errors);
    file.close();
    std::remove(path.c_str());
}

TEST(StreamArchive, StartsWhereTheStreamStandsAndReadsNoFurtherThanTheRecord) {
    std::istringstream stream("HEAD" + text(stored(7L)) + "TAIL");
    std::string head(4, ' ');
    stream.read(head.data(), 4);
    rxStreamLoadArchive ar(stream);
    EXPECT_EQ(ar.bytesLeft(), 8U);
    long value = 0;
    ar || value;
    EXPECT_EQ(value, 7);
    EXPECT_EQ(ar.bytesLeft(), 4U);
    std::string tail;
    stream >> tail;
    EXPECT_EQ(tail, "TAIL");
}

TEST(StreamArchive, LengthIsUnknownWhereTheStreamCannotSeek) {
    const ByteVector bytes = stored(7L);
    PipeStream pipe(bytes);
    rxStreamLoadArchive ar(pipe);
    EXPECT_EQ(ar.bytesLeft(), std::nullopt);
    EXPECT_TRUE(pipe.good()) << "asking must not spoil the stream";
    long value = 0;
    ar || value;
    EXPECT_EQ(value, 7);
}

TEST(StreamArchive, CutOffInputIsRefused) {
    std::istringstream stream("abc");
    rxStreamLoadArchive ar(stream);
    long value = 42;
    try {
        ar || value;
        FAIL() << "three bytes were taken for four";
    } catch (const rxArchive::Errors& error) {
        EXPECT_EQ(error.message(), "the stream ends early: 4 bytes expected, 3 came");
    }
    EXPECT_EQ(value, 42);
}

TEST(StreamArchive, FailedStreamIsRefusedInBothDirections) {
    std::istringstream input("abcdefgh");
    input.setstate(std::ios::badbit);
    rxStreamLoadArchive loading(input);
    long value = 0;
    EXPECT_THROW(loading || value, rxArchive::Errors);
    std::ostringstream output;
    output.setstate(std::ios::badbit);
    rxStreamStoreArchive storing(output);
    EXPECT_THROW(storing || value, rxArchive::Errors);
}

TEST(StreamArchive, StreamThatThrowsIsReportedAsAnArchiveError) {
    std::istringstream input("abc");
    input.exceptions(std::ios::failbit | std::ios::eofbit | std::ios::badbit);
    rxStreamLoadArchive loading(input);
    long value = 0;
    EXPECT_THROW(loading || value, rxArchive::Errors);
    std::ostringstream output;
    output.setstate(std::ios::badbit);
    EXPECT_THROW(output.exceptions(std::ios::badbit), std::ios_base::failure);
    rxStreamStoreArchive storing(output);
    EXPECT_THROW(storing || value, rxArchive::Errors);
}

/// Takes a few bytes, then no more.
class FullMedium : public std::streambuf {
  public:
    explicit FullMedium(int capacity) : free_(capacity) {}

  protected:
    int_type overflow(int_type byte) override { return free_-- > 0 ? byte : traits_type::eof(); }

  private:
    int free_;
};

TEST(StreamArchive, FullMediumIsReported) {
    FullMedium medium(6);
    std::ostream stream(&medium);
    rxStreamStoreArchive ar(stream);
    long value = 1;
    EXPECT_NO_THROW(ar || value);
    EXPECT_THROW(ar || value, rxArchive::Errors);
}

/// Fails on its own with an exception that no stream knows.
class BrokenMedium : public std::streambuf {
  protected:
    int_type underflow() override { throw std::runtime_error("cable pulled"); }
    int_type overflow(int_type /*byte*/) override { throw std::runtime_error("cable pulled"); }
};

TEST(StreamArchive, MediumThatThrowsIsReportedAsAnArchiveError) {
    BrokenMedium medium;
    std::iostream stream(&medium);
    long value = 1;
    rxStreamLoadArchive loading(stream);
    EXPECT_THROW(loading || value, rxArchive::Errors);
    stream.clear();
    stream.exceptions(std::ios::badbit);
    rxStreamStoreArchive storing(stream);
    EXPECT_THROW(storing || value, rxArchive::Errors);
}

TEST(StreamArchive, StreamWithoutABufferIsRefused) {
    std::istream input(nullptr);
    rxStreamLoadArchive loading(input);
    long value = 0;
    EXPECT_THROW(loading || value, rxArchive::Errors);
}

}  // namespace
