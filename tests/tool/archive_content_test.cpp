#include "archive_content.h"

#include <gtest/gtest.h>

#include <cmath>

#include "archive_text.h"
#include "foundation/image.h"
#include "foundation/image_functions.h"
#include "foundation/memory_archive.h"
#include "input_error.h"

using namespace ptmatch::tool;

namespace {

rxPointMatcher trianglesMatcher() {
    rxPointMatcher matcher;
    matcher.train({{0, 0}, {4, 0}, {0, 4}}, {1, -2, 5}, rxPointMatcherDefs::eAutoDetect);
    return matcher;
}

template <class... Records>
std::string stored(Records... records) {
    rxMemoryStoreArchive archive;
    (archive || ... || records);
    return {archive.stored().begin(), archive.stored().end()};
}

std::string faultOf(const std::string& bytes) {
    try {
        parseArchive(bytes, "t.ptm");
    } catch (const InputError& error) {
        return error.what();
    }
    return {};
}

}  // namespace

TEST(ArchiveContent, RecordsAreToldApartInTheirOrder) {
    rxPointMatcher matcher = trianglesMatcher();
    rxPointMatcherResultSet found;
    matcher.run({{10, 0}, {14, 0}, {10, 4}}, rxPointMatcherRunParams(), found);
    rxPtToGridMapResult mapped;
    const std::string bytes = stored(matcher, rxPointMatcherRunParams(), found,
                                     found.results().front(), rxPtToGridMapRunParams(), mapped);
    const ArchiveContent content = parseArchive(bytes, "all.ptm");
    ASSERT_EQ(content.records.size(), 6U);
    EXPECT_EQ(content.bytes, bytes.size());
    const char* const kinds[] = {
        "matcher trained on points", "run parameters",     "result set", "result",
        "grid mapping parameters",   "grid mapping result"};
    std::size_t offset = 0;
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(content.records[i].kind(), kinds[i]);
        EXPECT_EQ(content.records[i].offset, offset);
        offset += content.records[i].size;
    }
    EXPECT_EQ(offset, bytes.size());
}

TEST(ArchiveContent, TellsPointsWeightsAndGridSize) {
    const ArchiveContent content = parseArchive(stored(trianglesMatcher()), "t.ptm");
    const auto& matcher = std::get<MatcherContent>(content.records.at(0).content);
    ASSERT_TRUE(matcher.model);
    EXPECT_EQ(matcher.model->points, (std::vector<rxVector<2>>{{0, 0}, {4, 0}, {0, 4}}));
    EXPECT_EQ(matcher.model->weights, (std::vector<long>{1, -2, 5}));
    EXPECT_EQ(matcher.defaultGridSize, 1.0);  // a quarter of the smallest distance
    EXPECT_FALSE(matcher.grid);
    const ModelFigures figures = figuresOf(*matcher.model);
    EXPECT_EQ(figures.positive, 2U);
    EXPECT_EQ(figures.negative, 1U);
    EXPECT_EQ(figures.totalWeight, 6);
    EXPECT_EQ(figures.high, rxVector<2>(4, 4));
}

TEST(ArchiveContent, AnUntrainedMatcherIsSaidToBeOne) {
    const ArchiveContent content = parseArchive(stored(rxPointMatcher()), "t.ptm");
    EXPECT_EQ(content.records.at(0).kind(), "untrained matcher");
}

TEST(ArchiveContent, EveryByteBelongsToARecord) {
    const std::string bytes = stored(rxPointMatcherRunParams(), trianglesMatcher());
    // Two of the parts are whole records: the parameters, and, as it happens, a result set without
    // results, which is a version, a number and an empty vector.
    const std::size_t params = stored(rxPointMatcherRunParams()).size();
    const std::size_t emptySet = stored(rxPointMatcherResultSet()).size();
    for (std::size_t size = 1; size < bytes.size(); ++size) {
        if (size == params || size == emptySet) continue;
        EXPECT_THROW(parseArchive(bytes.substr(0, size), "cut"), InputError) << size;
    }
    EXPECT_THROW(parseArchive(bytes + std::string(1, '\0'), "long"), InputError);
}

TEST(ArchiveContent, HoldsManyRecordsUpToABound) {
    const std::string one = stored(rxPointMatcher());
    std::string bytes;
    for (int i = 0; i < 20000; ++i) bytes += one;
    EXPECT_EQ(parseArchive(bytes, "many.ptm").records.size(), 20000U);
    EXPECT_EQ(faultOf(bytes + one), "t.ptm: holds more than 20000 records");
}

TEST(ArchiveContent, ZerosAreNoRecords) {
    const std::string start = "t.ptm: is no archive of records that ptmatch knows, or is damaged";
    for (const std::size_t size : {73U, 100U, 4096U}) {
        EXPECT_EQ(faultOf(std::string(size, '\0')).rfind(start, 0), 0U) << size;
        const std::string bytes = stored(trianglesMatcher()) + std::string(size, '\0');
        EXPECT_EQ(faultOf(bytes).rfind(start, 0), 0U) << size;
    }
}

TEST(ArchiveContent, APatternThatIsTooLargeDoesNotHideTheOthers) {
    rxPelBuffer<unsigned char> image((1L << 24) + 1, 1, 1);
    rfPelClear(image);
    for (const long x : {0L, 1L, 2L, 1L << 24}) image.put(x, 0, 1);
    rxPointMatcher matcher;
    matcher.train(image);
    const ArchiveContent content =
        parseArchive(stored(matcher, rxPointMatcherRunParams()), "t.ptm");
    ASSERT_EQ(content.records.size(), 2U);
    EXPECT_EQ(content.records[0].kind(), "matcher trained on a grid pattern");
    EXPECT_EQ(content.records[1].kind(), "run parameters");
    const std::string fault = "spreads over 16777217 x 1 positions, more than 16777216";
    EXPECT_NE(archiveText(content).find("cannot be shown: t.ptm: " + fault), std::string::npos);
    EXPECT_NE(archiveJson(content).find("\"fault\": \"t.ptm: " + fault), std::string::npos);
}
