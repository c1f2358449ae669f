#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

#include "foundation/exception.h"
#include "foundation/fitter.h"
#include "foundation/memory_archive.h"
#include "ptmatch/matext.h"
#include "ptmatch/tm.h"
#include "reference/random_moves.h"
#include "reference/reference_accumulator.h"
#include "reference/reference_matrix.h"
#include "reference/reference_perspective.h"
#include "reference/reference_planar.h"
#include "reference/reference_space.h"
#include "support/archive_bytes.h"
#include "support/same_numbers.h"

// The fitted transforms against the plain reference, on thousands of random sequences of calls:
// after every call the same exception and the same state, to the last bit of transforms and
// accumulated sums. PTMATCH_DIFFERENTIAL_CASES sets the number of sequences of each kind.
namespace {

using ptmatch::reference::Accumulator;
using ptmatch::reference::Call;
using ptmatch::reference::MoveKind;
using ptmatch::reference::Perspective;
using ptmatch::reference::PlanarTransform;
using ptmatch::reference::PlaneMove;
using ptmatch::reference::Random;
using ptmatch::reference::SpaceMove;
using ptmatch::reference::SpaceTransform;
using ptmatch::testing::sameNumbers;
using ptmatch::testing::stored;

constexpr long kSequencesOfAKind = 40;
constexpr long kMovesOfASequence = 25;
constexpr std::uint64_t kFirstSeed = 5'100'000;

long sequencesOfAKind() {
    const char* asked = std::getenv("PTMATCH_DIFFERENTIAL_CASES");
    return asked == nullptr ? kSequencesOfAKind : std::max(1L, std::atol(asked));
}

/// What a call threw, in words; empty when it did not. BadArgs is the class's own.
template <class BadArgs, class Invoke>
std::string thrownBy(const Invoke& invoke) {
    try {
        invoke();
    } catch (const BadArgs&) {
        return "lists of different lengths";
    } catch (const rxMatrixExt::SingularMatrix&) {
        return "singular matrix";
    } catch (const ptmatch::reference::SingularMatrix&) {
        return "singular matrix";
    } catch (const rxLSPointToPointFitter::Errors& e) {
        return "fitter: " + e.message();
    } catch (const rxMathError& e) {
        return "mathematics: " + e.message();
    }
    return {};
}

template <class Invoke>
std::string thrownByReference(const Invoke& invoke) {
    return thrownBy<ptmatch::reference::UnequalLists>(invoke);
}

std::vector<double> numbersOf(const rxXform<2>& xform) {
    const rxMatrix<2>& m = xform.matrix();
    return {m.element(0, 0), m.element(0, 1),   m.element(1, 0),
            m.element(1, 1), xform.trans().x(), xform.trans().y()};
}

std::vector<double> numbersOf(const rxVector<2>& v) {
    return {v.x(), v.y()};
}

std::vector<double> numbersOf(const rxVector<3>& v) {
    return {v.x(), v.y(), v.z()};
}

const std::vector<rxVector<2>> kPlaneProbes{{0, 0}, {1, 0}, {-3, 7}, {250.5, -0.0}, {1e6, 1e-6}};
const std::vector<rxVector<3>> kSpaceProbes{{0, 0, 0}, {1, 0, 0}, {-3, 7, 0.5}, {250.5, -0.0, 1e6}};

/// Both forms of mapping, in both directions.
template <class Library, class Reference, class Probe>
void expectSameMapping(const Library& actual, const Reference& expected,
                       const std::vector<Probe>& probes) {
    for (const Probe& p : probes) {
        Probe forth;
        Probe back;
        actual.a2b(p, forth);
        actual.b2a(p, back);
        EXPECT_TRUE(sameNumbers(numbersOf(actual.a2b(p)), numbersOf(expected.a2b(p))));
        EXPECT_TRUE(sameNumbers(numbersOf(actual.b2a(p)), numbersOf(expected.b2a(p))));
        EXPECT_TRUE(sameNumbers(numbersOf(forth), numbersOf(expected.a2b(p))));
        EXPECT_TRUE(sameNumbers(numbersOf(back), numbersOf(expected.b2a(p))));
    }
}

/// The pairs of both give the same fits: the two models see all that the pairs have left.
void expectSamePairs(const rx2PtMatchTm& actual, const PlanarTransform& expected) {
    for (const int dof : {4, 6}) {
        rx2PtMatchTm actualFit = actual;
        PlanarTransform expectedFit = expected;
        const std::string thrown = thrownByReference([&] { expectedFit.fit(dof); });
        EXPECT_EQ(thrownBy<rx2PtMatchTm::BadArgs>([&] { actualFit.fit(dof); }), thrown);
        EXPECT_TRUE(sameNumbers(numbersOf(actualFit.a2bXform()), numbersOf(expectedFit.a2bXform)));
    }
}

void expectSameXforms(const rx2PtMatchTm& actual, const PlanarTransform& expected) {
    EXPECT_TRUE(sameNumbers(numbersOf(actual.a2bXform()), numbersOf(expected.a2bXform))) << "a2b";
    EXPECT_TRUE(sameNumbers(numbersOf(actual.b2aXform()), numbersOf(expected.b2aXform))) << "b2a";
}

void expectSameState(const rx2PtMatchTm& actual, const PlanarTransform& expected) {
    expectSameXforms(actual, expected);
    expectSamePairs(actual, expected);
    expectSameMapping(actual, expected, kPlaneProbes);
    for (const double radians : {0.0, 0.5, 3.0, -2.0}) {
        const rxRadian angle(radians);
        EXPECT_TRUE(sameNumbers(std::array{actual.a2b(angle).toDouble()},
                                std::array{expected.a2b(angle).toDouble()}));
        EXPECT_TRUE(sameNumbers(std::array{actual.b2a(angle).toDouble()},
                                std::array{expected.b2a(angle).toDouble()}));
    }
    EXPECT_TRUE(actual == expected.a2bXform);
}

std::vector<double> flat(const ptmatch::reference::Matrix& matrix) {
    std::vector<double> all;
    for (const std::vector<double>& row : matrix) all.insert(all.end(), row.begin(), row.end());
    return all;
}

/// Reads the record of a fitted transform by its layout, with nothing of the library: fields in a
/// row, the least significant byte first.
class RecordReader {
  public:
    explicit RecordReader(std::span<const unsigned char> bytes) : rest_(bytes) {}

    void expectByte(std::uint64_t value) { EXPECT_EQ(take(1), value); }
    void expectWord(std::uint64_t value) { EXPECT_EQ(take(4), value); }
    void expectEnd() const { EXPECT_TRUE(rest_.empty()); }

    std::vector<double> doubles(std::size_t count) {
        std::vector<double> values(count);
        for (double& value : values) value = std::bit_cast<double>(take(8));
        return values;
    }

    void expectSequence(std::span<const double> expected, const char* what) {
        expectByte(0);
        expectWord(expected.size());
        EXPECT_TRUE(sameNumbers(doubles(expected.size()), expected)) << what;
    }

    void expectSums(const Accumulator& expected) {
        expectWord(1100);
        expectWord(1100);
        expectWord(expected.rhs.size());
        expectWord(expected.rhs.size());
        expectSequence(flat(expected.normal), "normal matrix");
        expectSequence(expected.rhs, "right-hand side");
    }

    /// The parameters of both directions in turn.
    void expectParams(std::span<const double> a2b, std::span<const double> b2a) {
        std::vector<double> expected;
        for (std::size_t i = 0; i < a2b.size(); ++i) {
            expected.push_back(a2b[i]);
            expected.push_back(b2a[i]);
        }
        EXPECT_TRUE(sameNumbers(doubles(expected.size()), expected)) << "parameters, a2b and b2a";
    }

  private:
    /// 0 behind the end; the numbers expected there are never all 0.
    std::uint64_t take(std::size_t size) {
        size = std::min(size, rest_.size());
        std::uint64_t value = 0;
        for (std::size_t i = size; i-- > 0;) value = value << 8U | rest_[i];
        rest_ = rest_.subspan(size);
        return value;
    }

    std::span<const unsigned char> rest_;
};

/// The others have no approximation.
template <class Library, class Reference>
void expectSameApproximation(const Library& /*actual*/, const Reference& /*expected*/) {}

void expectSameApproximation(const rx2PTm& actual, const Perspective& expected) {
    rx2PtMatchTm actualTm;
    rxXform<2> actualXform;
    PlanarTransform expectedTm;
    const std::string thrown = thrownByReference([&] { expectedTm = expected.a2bTm(); });
    EXPECT_EQ(thrownBy<rx2PTm::BadArgs>([&] { actualTm = actual.a2bTm(); }), thrown);
    EXPECT_EQ(thrownBy<rx2PTm::BadArgs>([&] { actualXform = actual.a2bXform(); }), thrown);
    expectSameXforms(actualTm, expectedTm);
    expectSamePairs(actualTm, expectedTm);
    EXPECT_TRUE(sameNumbers(numbersOf(actualXform), numbersOf(expectedTm.a2bXform)));
}

void expectSameState(const rx2PTm& actual, const Perspective& expected) {
    const std::vector<unsigned char> bytes = stored(actual);
    RecordReader record(bytes);
    record.expectWord(1100);
    record.expectParams(expected.a2bParams, expected.b2aParams);
    record.expectSums(expected.solver);
    record.expectEnd();
    expectSameMapping(actual, expected, kPlaneProbes);
}

void expectSameState(const rx3PtMatchTm& actual, const SpaceTransform& expected) {
    const std::vector<unsigned char> bytes = stored(actual);
    RecordReader record(bytes);
    record.expectWord(1100);
    record.expectSums(expected.solverX);
    record.expectSums(expected.solverY);
    record.expectSums(expected.solverZ);
    record.expectParams(expected.a2bParams, expected.b2aParams);
    record.expectEnd();
    expectSameMapping(actual, expected, kSpaceProbes);
}

template <class Tm>
void load(Tm& tm, const Tm& saved) {
    const std::vector<unsigned char> bytes = stored(saved);
    rxMemoryLoadArchive ar(bytes);
    ar || tm;
    EXPECT_EQ(ar.bytesLeft(), 0U);
}
// What a load from the record of `saved` comes to.
void load(PlanarTransform& tm, const PlanarTransform& saved) {
    tm.a2bXform = saved.a2bXform;
    tm.b2aXform = saved.b2aXform;  // the pairs are no part of the record
}
void load(Perspective& tm, const Perspective& saved) {
    tm = saved;
}
void load(SpaceTransform& tm, const SpaceTransform& saved) {
    tm = saved;
}

/// @param part  at least 0 and below 1: how much of the record is there.
template <class Tm>
void loadCutOff(Tm& tm, const Tm& saved, double part) {
    std::vector<unsigned char> bytes = stored(saved);
    bytes.resize(static_cast<std::size_t>(part * static_cast<double>(bytes.size())));
    rxMemoryLoadArchive ar(bytes);
    EXPECT_THROW(ar || tm, rxArchive::Errors);
}
// Such a load comes to nothing.
void loadCutOff(PlanarTransform& /*tm*/, const PlanarTransform& /*saved*/, double /*part*/) {}
void loadCutOff(Perspective& /*tm*/, const Perspective& /*saved*/, double /*part*/) {}
void loadCutOff(SpaceTransform& /*tm*/, const SpaceTransform& /*saved*/, double /*part*/) {}

/// What the calls have in common for every pair of library and reference.
template <class Tm, class Move>
void applyCommon(Tm& tm, Tm& saved, const Move& move) {
    switch (move.call) {
        case Call::kUpdateLists:
            return tm.update(move.a, move.b);
        case Call::kIdentity:
            return tm.identity();
        case Call::kTranslate:
            return tm.translate(move.vector);
        case Call::kScale:
            return tm.scale(move.vector);
        case Call::kSave:
            saved = tm;
            return;
        case Call::kRestore:
            tm = saved;
            return;
        case Call::kLoad:
            return load(tm, saved);
        case Call::kLoadCutOff:
            return loadCutOff(tm, saved, move.part);
        default:
            return tm.update(move.a.front(), move.b.front());
    }
}

// The library's classes have a form of scale that takes one factor.
void scaleEvenly(PlanarTransform& tm, double factor) {
    tm.scale(rxVector<2>(factor, factor));
}
void scaleEvenly(SpaceTransform& tm, double factor) {
    tm.scale(rxVector<3>(factor, factor, factor));
}
template <class Tm>
void scaleEvenly(Tm& tm, double factor) {
    tm.scale(factor);
}

/// On rx2PtMatchTm or its twin.
template <class Tm>
void applyPlanar(Tm& tm, Tm& saved, const PlaneMove& move) {
    switch (move.call) {
        case Call::kFit:
            return tm.fit(move.dof);
        case Call::kFitLists:
            return tm.fit(move.a, move.b, move.dof);
        case Call::kReset:
            return tm.reset();
        case Call::kRotate:
            return tm.rotate(move.angle);
        case Call::kScaleEvenly:
            return scaleEvenly(tm, move.vector.x());
        case Call::kAppend:
            return tm.append(Tm(move.other));
        case Call::kConcat:
            return tm.concat(Tm(move.other));
        case Call::kAppendItself:
            return tm.append(tm);
        case Call::kConcatItself:
            return tm.concat(tm);
        case Call::kConstructFromLists:
            tm = Tm(move.a, move.b, move.dof);
            return;
        case Call::kConstructFromXform:
            tm = Tm(move.other);
            return;
        default:
            return applyCommon(tm, saved, move);
    }
}

/// On rx2PTm with rx2PtMatchTm, or on their twins.
template <class Planar, class Tm>
void applyPerspective(Tm& tm, Tm& saved, const PlaneMove& move) {
    switch (move.call) {
        case Call::kFit:
            return tm.fit();
        case Call::kFitLists:
            return tm.fit(move.a, move.b);
        case Call::kRotate:
        case Call::kReset:
            return tm.rotate(move.angle);
        case Call::kScaleEvenly:
            return tm.scale(rxVector<2>(move.vector.x(), move.vector.x()));
        case Call::kConstructFromLists:
        case Call::kAppend:
            tm = Tm(move.a, move.b);
            return;
        case Call::kConstructFromXform:
        case Call::kConcat:
            tm = Tm(Planar(move.other));
            return;
        default:
            return applyCommon(tm, saved, move);
    }
}

/// On rx3PtMatchTm or its twin.
template <class Tm>
void applySpace(Tm& tm, Tm& saved, const SpaceMove& move) {
    switch (move.call) {
        case Call::kFit:
            return tm.fit();
        case Call::kFitLists:
            return tm.fit(move.a, move.b);
        case Call::kRotate:
        case Call::kAppend:
        case Call::kConcat:
            if (move.axis == 0) return tm.rotateOnX(move.angle);
            if (move.axis == 1) return tm.rotateOnY(move.angle);
            return tm.rotateOnZ(move.angle);
        case Call::kScaleEvenly:
            return scaleEvenly(tm, move.vector.x());
        case Call::kConstructFromLists:
        case Call::kConstructFromXform:
            tm = Tm(move.a, move.b);
            return;
        default:
            return applyCommon(tm, saved, move);
    }
}

class MovesDifferential : public testing::TestWithParam<MoveKind> {
  protected:
    /// Makes the moves on both and compares after each; adds up how they ended. Every other
    /// sequence starts from the class-wide identity, which differs from a new object within.
    template <class BadArgs, class Library, class Reference, class Move, class ApplyToLibrary,
              class ApplyToReference>
    void compareOneSequence(const std::vector<Move>& moves, const ApplyToLibrary& applyToLibrary,
                            const ApplyToReference& applyToReference) {
        Library actual = ++sequences_ % 2 == 0 ? Library::I : Library();
        Library actualSaved = actual;
        Reference expected;
        Reference expectedSaved;
        for (std::size_t i = 0; i < moves.size() && !HasFailure(); ++i) {
            SCOPED_TRACE(testing::Message()
                         << "move " << i << ", call " << static_cast<int>(moves[i].call));
            const std::string thrown =
                thrownByReference([&] { applyToReference(expected, expectedSaved, moves[i]); });
            EXPECT_EQ(thrownBy<BadArgs>([&] { applyToLibrary(actual, actualSaved, moves[i]); }),
                      thrown);
            expectSameState(actual, expected);
            // Costs as much as ten moves.
            if (i % 5 == 4) expectSameApproximation(actual, expected);
            ++(thrown.empty() ? done_ : refused_);
        }
    }

    template <class Compare>
    void compareMany(const Compare& compare) {
        for (long i = 0; i < sequencesOfAKind() && !HasFailure(); ++i) {
            const std::uint64_t seed = kFirstSeed + static_cast<std::uint64_t>(i);
            SCOPED_TRACE(testing::Message() << GetParam().name << ", seed " << seed);
            Random random(seed);
            compare(random);
        }
        // Lists of different lengths alone make some calls fail, and identity() never does.
        if (sequencesOfAKind() >= kSequencesOfAKind) {
            EXPECT_GT(refused_, 0);
            EXPECT_GT(done_, 0);
        }
    }

  private:
    long done_ = 0;
    long refused_ = 0;
    long sequences_ = 0;
};

TEST_P(MovesDifferential, PlanarTransformEqualsTheReference) {
    compareMany([this](Random& random) {
        compareOneSequence<rx2PtMatchTm::BadArgs, rx2PtMatchTm, PlanarTransform>(
            planeMoves(random, GetParam(), kMovesOfASequence), applyPlanar<rx2PtMatchTm>,
            applyPlanar<PlanarTransform>);
    });
}

TEST_P(MovesDifferential, PerspectiveTransformEqualsTheReference) {
    compareMany([this](Random& random) {
        compareOneSequence<rx2PTm::BadArgs, rx2PTm, Perspective>(
            planeMoves(random, GetParam(), kMovesOfASequence),
            applyPerspective<rx2PtMatchTm, rx2PTm>, applyPerspective<PlanarTransform, Perspective>);
    });
}

TEST_P(MovesDifferential, SpaceTransformEqualsTheReference) {
    compareMany([this](Random& random) {
        compareOneSequence<rx3PtMatchTm::BadArgs, rx3PtMatchTm, SpaceTransform>(
            spaceMoves(random, GetParam(), kMovesOfASequence), applySpace<rx3PtMatchTm>,
            applySpace<SpaceTransform>);
    });
}

INSTANTIATE_TEST_SUITE_P(Random, MovesDifferential,
                         testing::ValuesIn(ptmatch::reference::moveKinds()),
                         [](const auto& kind) { return kind.param.name; });

}  // namespace
