#include "archive_content.h"

#include <gtest/gtest.h>

#include <cmath>

#include "archive_text.h"
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
