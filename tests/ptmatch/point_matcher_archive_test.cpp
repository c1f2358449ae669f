#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <span>
#include <vector>

#include "foundation/geometry_archive.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/ppmatch.h"
#include "support/archive_bytes.h"
#include "support/archive_tampering.h"

namespace {

using ptmatch::testing::ByteVector;
using ptmatch::testing::joined;
using ptmatch::testing::loaded;
using ptmatch::testing::stored;
using Defs = rxPointMatcherDefs;
using Points = std::vector<rxVector<2>>;
using Positions = std::vector<rxPair<long>>;
using Weights = std::vector<long>;

const Points kTriangle = {{0, 0}, {4, 0}, {0, 3}};
const Points kSquare = {{0, 0}, {2, 0}, {2, 2}, {0, 2}};

rxPointMatcher trained(const Points& points, Defs::Mode mode = Defs::eAutoDetect) {
    rxPointMatcher matcher;
    matcher.train(points, mode);
    return matcher;
}

ByteVector modelRecord(const Points& points) {
    rx_PointMatcherModel model;
    model.train(points);
    return stored(model);
}

const ByteVector kAbsent = {0, 0, 0, 0};
const ByteVector kPresent = {1, 0, 0, 0};

/// The end of a matcher's record: what belongs to a trained grid, empty here.
const ByteVector kNoGrid = joined({stored(rxXform<2>()), {0, 0, 0, 0}, {0, 0, 0, 0, 0}});

/// A record with a nested matcher and no corresponder, which no training leaves behind, but a load
/// keeps.
ByteVector nestingRecord(const ByteVector& nested, const Positions& positions) {
    const rxXform<2> xform(rxMatrix<2>(2, 0, 0, 2), rxVector<2>(5, 6));
    return joined(
        {stored(200009UL), kAbsent, kAbsent, kPresent, nested, stored(xform, 3L, positions)});
}

TEST(PointMatcherRecord, UntrainedOneIsThisVeryRecord) {
    const ByteVector zero(8, 0);
    const ByteVector one = {0, 0, 0, 0, 0, 0, 0xf0, 0x3f};
    const ByteVector expected = joined({
        {0x49, 0x0d, 0x03, 0x00},  // 200009
        {0, 0, 0, 0},              // no model
        {0, 0, 0, 0},              // no grid corresponder
        {0, 0, 0, 0},              // no grid matcher
        one,
        zero,
        zero,
        one,
        zero,
        zero,             // grid transform: identity
        {0, 0, 0, 0},     // grid points
        {0, 0, 0, 0, 0},  // grid positions
    });
    EXPECT_EQ(stored(rxPointMatcher()), expected);
}

TEST(PointMatcherRecord, TrainedOneHoldsItsModel) {
    const ByteVector expected =
        joined({stored(200009UL), kPresent, modelRecord(kTriangle), kAbsent, kAbsent, kNoGrid});
    EXPECT_EQ(stored(trained(kTriangle)), expected);
}

TEST(PointMatcherRecord, LoadReversesStore) {
    rxPointMatcher source;
    source.train(kTriangle, {5, 1, -3}, Defs::eAutoDetect);
    const rxPointMatcher copy = loaded<rxPointMatcher>(stored(source));
    EXPECT_EQ(stored(copy), stored(source));
    EXPECT_EQ(copy.trainMode(), Defs::ePointToPoint);
    EXPECT_EQ(copy.modelPoints(), kTriangle);
    EXPECT_EQ(copy.weights(), Weights({5, 1, -3}));
}

TEST(PointMatcherRecord, ModeIsNotRecorded) {
    const rxPointMatcher exhaustive = trained(kTriangle, Defs::eExhaustiveMode);
    EXPECT_EQ(stored(exhaustive), stored(trained(kTriangle)));
    EXPECT_EQ(loaded<rxPointMatcher>(stored(exhaustive)).trainMode(), Defs::ePointToPoint);

    rxPointMatcher target = trained(kSquare, Defs::eExhaustiveMode);
    const ByteVector bytes = stored(trained(kTriangle));
    rxMemoryLoadArchive ar(bytes);
    ar || target;
    EXPECT_EQ(target.trainMode(), Defs::eExhaustiveMode);
    EXPECT_EQ(target.modelPoints(), kTriangle);
}

TEST(PointMatcherRecord, AbsentModelLeavesTheOldOne) {
    rxPointMatcher target = trained(kSquare);
    const ByteVector bytes = stored(rxPointMatcher());
    rxMemoryLoadArchive ar(bytes);
    ar || target;
    EXPECT_TRUE(target.isTrained());
    EXPECT_EQ(target.modelPoints(), kSquare);
}

TEST(PointMatcherRecord, AnyNonZeroPresenceIsPresent) {
    for (const long presence : {2L, -1L}) {
        const ByteVector bytes =
            joined({stored(200009UL, presence), modelRecord(kTriangle), kAbsent, kAbsent, kNoGrid});
        EXPECT_EQ(loaded<rxPointMatcher>(bytes).modelPoints(), kTriangle);
    }
}

TEST(PointMatcherRecord, ModelsOfOlderVersionsCountTheirPoints) {
    for (const unsigned long version : {0UL, 200009UL}) {
        ByteVector model = modelRecord(kSquare);
        model.resize(model.size() - 9);  // no weights, no total weight
        const ByteVector head = stored(version);
        std::copy(head.begin(), head.end(), model.begin());
        const ByteVector bytes =
            joined({stored(200009UL), kPresent, model, kAbsent, kAbsent, kNoGrid});
        const rxPointMatcher matcher = loaded<rxPointMatcher>(bytes);
        EXPECT_EQ(matcher.weights(), Weights({1, 1, 1, 1}));
        EXPECT_EQ(stored(matcher), stored(trained(kSquare)));
    }
}

TEST(PointMatcherRecord, ModelMarkedUntrainedAnswersNothing) {
    const ByteVector bytes = joined(
        {stored(200009UL), kPresent, stored(rx_PointMatcherModel()), kAbsent, kAbsent, kNoGrid});
    rxPointMatcher matcher = trained(kSquare, Defs::eExhaustiveMode);
    rxMemoryLoadArchive ar(bytes);
    ar || matcher;
    EXPECT_TRUE(matcher.isTrained());  // by its mode alone
    EXPECT_THROW((void)matcher.modelPoints(), Defs::NotTrained);
    EXPECT_FALSE(loaded<rxPointMatcher>(bytes).isTrained());
}

TEST(PointMatcherRecord, OlderVersionsHaveTheSameLayoutAndNewerOnesAreUnknown) {
    ByteVector bytes = stored(trained(kTriangle));
    const auto withVersion = [&bytes](unsigned long version) {
        const ByteVector head = stored(version);
        std::copy(head.begin(), head.end(), bytes.begin());
        return bytes;
    };
    for (const unsigned long version : {0UL, 1UL, 200008UL}) {
        EXPECT_EQ(loaded<rxPointMatcher>(withVersion(version)).modelPoints(), kTriangle);
    }
    for (const unsigned long version : {200010UL, 4294967295UL}) {
        try {
            loaded<rxPointMatcher>(withVersion(version));
            ADD_FAILURE() << "version " << version << " was read";
        } catch (const rxArchive::UnknownVersion& error) {
            EXPECT_STREQ(error.source(), "ptmatch/ppmatch");
            EXPECT_EQ(error.line(), 2890);
        }
    }
}

TEST(PointMatcherRecord, NestedMatcherIsKeptCopiedAndForgotten) {
    const Positions positions = {{0, 0}, {1, 0}, {0, 1}};
    const ByteVector bytes = nestingRecord(stored(trained(kTriangle)), positions);
    rxPointMatcher matcher = loaded<rxPointMatcher>(bytes);
    EXPECT_FALSE(matcher.isTrained());  // the nested one serves a grid, which is absent
    EXPECT_EQ(stored(matcher), bytes);
    EXPECT_EQ(stored(rxPointMatcher(matcher)), bytes);
    rxPointMatcher assigned = trained(kSquare);
    assigned = matcher;
    EXPECT_EQ(stored(assigned), bytes);

    matcher.untrain();  // leaves the transform and the number of grid points
    const rxXform<2> xform(rxMatrix<2>(2, 0, 0, 2), rxVector<2>(5, 6));
    EXPECT_EQ(
        stored(matcher),
        joined({stored(200009UL), kAbsent, kAbsent, kAbsent, stored(xform, 3L), {0, 0, 0, 0, 0}}));
}

TEST(PointMatcherRecord, LoadIntoNestedMatchersMergesThem) {
    const Positions positions = {{0, 0}, {1, 0}, {0, 1}};
    const ByteVector full = nestingRecord(stored(trained(kTriangle)), positions);
    rxPointMatcher target = loaded<rxPointMatcher>(full);
    const ByteVector untrainedInside = nestingRecord(stored(rxPointMatcher()), positions);
    rxMemoryLoadArchive ar(untrainedInside);
    ar || target;
    EXPECT_EQ(stored(target), full);  // the nested model was absent from the record, so it stays
}

TEST(PointMatcherRecord, GridPositionsAreAsManyAsGridPoints) {
    const ByteVector nested = stored(trained(kTriangle));
    for (const Positions& positions :
         {Positions{}, Positions{{0, 0}, {1, 0}}, Positions{{0, 0}, {1, 0}, {0, 1}, {1, 1}}}) {
        const ByteVector bytes = nestingRecord(nested, positions);
        EXPECT_THAT([&] { loaded<rxPointMatcher>(bytes); },
                    ::testing::ThrowsMessage<rxArchive::Errors>(
                        ::testing::HasSubstr("the numbers of grid positions and of grid points")));
    }
    // A dense grid has positions and no points to match: its nested matcher is untrained.
    const ByteVector dense = nestingRecord(stored(rxPointMatcher()), Positions{{0, 0}, {1, 0}});
    EXPECT_EQ(stored(loaded<rxPointMatcher>(dense)), dense);
}

TEST(PointMatcherRecord, NestingIsBounded) {
    const auto nestedTo = [](int depth) {
        ByteVector bytes;
        const ByteVector head = joined({stored(200009UL), kAbsent, kAbsent, kPresent});
        for (int i = 0; i < depth; ++i) bytes.insert(bytes.end(), head.begin(), head.end());
        const ByteVector core = stored(rxPointMatcher());
        bytes.insert(bytes.end(), core.begin(), core.end());
        for (int i = 0; i < depth; ++i) bytes.insert(bytes.end(), kNoGrid.begin(), kNoGrid.end());
        return bytes;
    };
    // Each matcher and the list of positions within the innermost one count.
    const ByteVector deepest = nestedTo(rxArchive::kMaxNesting - 2);
    EXPECT_EQ(stored(loaded<rxPointMatcher>(deepest)), deepest);
    EXPECT_THROW(loaded<rxPointMatcher>(nestedTo(rxArchive::kMaxNesting - 1)), rxArchive::Errors);
    EXPECT_THROW(loaded<rxPointMatcher>(nestedTo(100000)), rxArchive::Errors);
}

TEST(PointMatcherRecord, FailedLoadLeavesTheMatcherAsItWas) {
    rxPointMatcher source;
    source.train(kTriangle, {5, 1, -3}, Defs::eAutoDetect);
    const ByteVector bytes = nestingRecord(stored(source), {{0, 0}, {1, 0}, {0, 1}});
    const ByteVector before = stored(trained(kSquare));
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        rxMemoryLoadArchive ar{std::span(bytes).first(length)};
        rxPointMatcher target = trained(kSquare, Defs::eExhaustiveMode);
        EXPECT_THROW(ar || target, rxArchive::Errors);
        EXPECT_EQ(stored(target), before);
        EXPECT_EQ(target.trainMode(), Defs::eExhaustiveMode);
    }
}

TEST(PointMatcherRecord, DamagedRecordsAreRefusedOrLoaded) {
    const auto load = [](rxArchive& ar) {
        rxPointMatcher fresh;
        ar || fresh;
    };
    rxPointMatcher source;
    source.train(kTriangle, {5, 1, -3}, Defs::eAutoDetect);
    EXPECT_GT(ptmatch::testing::expectTamperingHandled(stored(source), load), 0U);
    ptmatch::testing::expectTamperingHandled(
        nestingRecord(stored(source), {{0, 0}, {1, 0}, {0, 1}}), load);
}

// A damaged default grid size may be any positive number: a run finds what it can or refuses.
void expectRunEnds(const rxPointMatcher& matcher) {
    rxPointMatcherResultSet found;
    try {
        matcher.run(kTriangle, rxPointMatcherRunParams(), found);
    } catch (const rxPointMatcherDefs::BadParams&) {
    }
    for (const rxPointMatcherResult& result : found.results()) {
        EXPECT_TRUE(result.modelToDataXform().isFinite());
        EXPECT_EQ(result.modelToDataMap().size(), matcher.modelPoints().size());
    }
}

TEST(PointMatcherRecord, WhatLoadsAfterDamageCanBeUsed) {
    rxPointMatcher source;
    source.train(kTriangle, {5, 1, -3}, Defs::eAutoDetect);
    ByteVector bytes = stored(source);
    int usable = 0;
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            bytes[at] = static_cast<unsigned char>(bytes[at] ^ (1U << bit));
            try {
                const rxPointMatcher matcher = loaded<rxPointMatcher>(bytes);
                if (matcher.isTrained()) {
                    EXPECT_GE(matcher.modelPoints().size(), 3U);
                    EXPECT_EQ(matcher.weights().size(), matcher.modelPoints().size());
                    expectRunEnds(matcher);
                    ++usable;
                }
            } catch (const rxArchive::Errors&) {
            }
            bytes[at] = static_cast<unsigned char>(bytes[at] ^ (1U << bit));
        }
    }
    EXPECT_GT(usable, 0);  // a bit of the default grid size or of the low digits of a centre
}

}  // namespace
