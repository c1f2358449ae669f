// Promise: any bytes, and any record with bytes of it changed, are a record or are refused with
// rxArchive::Errors, from memory as from streams; what was loaded can be stored, loads again, also
// over an object that was there before, stores to the same bytes, can be copied and, where a class
// does more than to hold numbers, used. A refused record leaves the object as it was.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <span>
#include <sstream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "foundation/archive.h"
#include "foundation/exception.h"
#include "foundation/fitter.h"
#include "foundation/geometry_archive.h"
#include "foundation/image.h"
#include "foundation/image_functions.h"
#include "foundation/memory_archive.h"
#include "foundation/persistent.h"
#include "foundation/stream_archive.h"
#include "fuzz_input.h"
#include "fuzzers.h"
#include "pattern_input.h"
#include "promise.h"
#include "ptmatch/certainty.h"
#include "ptmatch/distinct_instances.h"
#include "ptmatch/gridcorr.h"
#include "ptmatch/matched_pairs.h"
#include "ptmatch/matext.h"
#include "ptmatch/pinv.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/ptgdmap.h"
#include "ptmatch/refit.h"
#include "ptmatch/run_cost.h"
#include "ptmatch/run_watch.h"
#include "ptmatch/summaries.h"
#include "ptmatch/tm.h"
#include "refusals.h"
#include "support/pipe_stream.h"

namespace ptmatch::fuzz::archives {
namespace {

using Bytestring = std::vector<unsigned char>;

constexpr double kMostVotes = 50'000;
constexpr double kMostAssignments = 500;
constexpr double kMostImageBytes = 1 << 20;

const std::vector<rxVector<2>> kDots = {{0, 0},   {40, 0},   {40, 25},  {10, 30},  {0, 15},
                                        {80, 10}, {75, 100}, {75, 140}, {50, 140}, {45, 110}};

/// What a call may throw of its own accord.
constexpr Refusals<rxException, rxMatrixExt::SingularMatrix, rxMatrixExt::NotSquareMatrix,
                   rx2PtMatchTm::BadArgs, rx2PTm::BadArgs, rx3PtMatchTm::BadArgs, std::out_of_range,
                   std::length_error>
    tolerate;

/// A search small enough for thousands of executions.
bool isSmall(const rxPointMatcher& matcher, const rxPointMatcherRunParams& params) {
    const rxRunCost cost = rfRunCost(matcher, kDots, params);
    // An assignment takes a fit, a vote next to nothing.
    const bool isExhaustive = cost.mode == rxPointMatcherDefs::eExhaustiveMode;
    return cost.work < (isExhaustive ? kMostAssignments : kMostVotes) &&
           cost.imageBytes < kMostImageBytes && cost.numLatticePoints < 2'000;
}

const rxPointMatcher& trainedOnDots() {
    static const rxPointMatcher matcher = [] {
        rxPointMatcher made;
        made.train({kDots.begin(), kDots.begin() + 5}, rxPointMatcherDefs::eAutoDetect);
        return made;
    }();
    return matcher;
}

/// What does nothing but hold numbers: that it is copied is seen to for everything.
template <class T>
void use(T&) {}

void use(rxPointMatcher& matcher) {
    tolerate([&] { (void)matcher.modelPoints(); });
    tolerate([&] { (void)matcher.weights(); });
    tolerate([&] { (void)matcher.pattern(); });
    tolerate([&] {
        rxPointMatcherRunParams params;
        params.scaleUncertainty({-0.1, 0.1});
        params.autoGridSize(false);
        params.gridSize(20.0);
        if (!isSmall(matcher, params)) return;
        rxPointMatcherResultSet found;
        matcher.run(kDots, params, found);
        for (const auto& result : found.results()) (void)rfMatchedPairs(matcher, kDots, result);
    });
    rxPointMatcher copy(matcher);
    promise(copy.isTrained() == matcher.isTrained(), "a copy is trained as well");
    copy.untrain();
    promise(!copy.isTrained(), "untrained");
}

void use(rxPointMatcherRunParams& params) {
    std::ostringstream text;
    text << params;
    promise(!text.str().empty(), "a summary");
    promise(rxPointMatcherRunParams(params).maxNumResults() == params.maxNumResults(), "a copy");
    tolerate([&] {
        if (!isSmall(trainedOnDots(), params)) return;
        rxPointMatcherResultSet found;
        trainedOnDots().run(kDots, params, found);
    });
}

void use(rxPointMatcherResult& result) {
    std::ostringstream text;
    text << result;
    promise(!text.str().empty(), "a summary");
    tolerate([&] { (void)result.modelToDataMap(); });
    tolerate([&] { (void)result.gridToDataMap({0, 0}); });
    tolerate([&] { (void)rfMatchedPairs(trainedOnDots(), kDots, result); });
    for (const auto model : {rxRefitDefs::eRigid, rxRefitDefs::ePerspective}) {
        tolerate([&] { (void)rfRefit(trainedOnDots(), kDots, result, model); });
    }
}

void use(rxPointMatcherResultSet& found) {
    for (rxPointMatcherResult result : found.results()) use(result);
    tolerate([&] { (void)rfDistinctInstances(trainedOnDots(), found); });
    const rxPointMatcherRunParams params;
    tolerate([&] { (void)rfCertainty(trainedOnDots(), kDots, params, found, 0); });
}

void use(rxPtToGridMapRunParams& params) {
    tolerate([&] {
        rxPtToGridMapResult result;
        rfPtToGridMap(kDots, params, result);
    });
}

void use(rxPtToGridMapResult& result) {
    (void)(result.grid2point() * rxVector<2>(3, 4));
    for (const rxPair<long>& node : result.map()) (void)(result.grid2point() * node);
}

void use(rx_PointToGridCorresponderTrainParams& params) {
    const std::vector<rxPair<long>> positions = {{0, 0}, {1, 0}, {2, 1}, {0, 1}, {1, 1}};
    rx_PointToGridCorresponder tool;
    tolerate([&] { tool.train(positions, params, rxXform<2>()); });
}

void use(rx_PointToGridCorresponderRunParams& params) {
    const std::vector<rxPair<long>> positions = {{0, 0}, {1, 0}, {2, 1}, {0, 1}, {1, 1}};
    tolerate([&] {
        rx_PointToGridCorresponder tool;
        tool.train(positions, rx_PointToGridCorresponderTrainParams(), rxXform<2>());
        if (params.maxNumResults() > 1000) return;
        rx_PointToGridCorresponderResultSet found;
        tool.run(positions, params, found);
    });
}

void use(rx_PointToGridCorresponder& tool) {
    const rx_PointToGridCorresponder copy(tool);
    promise(copy.isTrained() == tool.isTrained(), "a copy is trained as well");
    promise(copy.probes() == tool.probes(), "a copy has the same probes");
    tolerate([&] {
        rx_PointToGridCorresponderResultSet found;
        const std::vector<rxPair<long>> positions = {{0, 0}, {1, 0}, {2, 1}, {0, 1}, {1, 1}};
        tool.run(positions, rx_PointToGridCorresponderRunParams(0.5, 1.0, 3), found);
        if (tool.pattern().width() > 64 || tool.pattern().height() > 64) return;
        tool.run(rxPelBuffer_const<unsigned char>(tool.pattern()),
                 rx_PointToGridCorresponderRunParams(0.5, 1.0, 3), found);
    });
}

void use(rx_PointToGridCorresponderResultSet& found) {
    rx_PointToGridCorresponderResultSet other;
    other = found;
    promise(other.results().size() == found.results().size(), "as many placements in a copy");
    for (std::size_t i = 0; i < other.results().size(); ++i) {
        const auto& a = other.results()[i];
        const auto& b = found.results()[i];
        promise(
            a.found() == b.found() && a.position() == b.position() && isSame(a.score(), b.score()),
            "the same placement in a copy");
    }
}

void use(rxRange& range) {
    const bool isNormal = range.range() == rxRangeDefs::Normal;
    const bool ascends = range.start() <= range.end();
    const bool holdsStart = range.isWithin(range.start());
    promise(!isNormal || holdsStart == ascends, "its bounds lie within a range that ascends");
    promise(isNormal || holdsStart == (range.range() == rxRangeDefs::Full), "all or nothing");
}

void use(rxAngleRange& range) {
    const double start = range.start().toDouble();
    const bool ascends = start <= range.end().toDouble();
    const bool isNormal = range.range() == rxRangeDefs::Normal;
    promise(!isNormal || range.isWithin(range.start()) == ascends,
            "its bounds lie within a range that ascends");
    promise(isSame(range.length().toDouble(), range.end().toDouble() - start), "a length");
}

void use(rx2PtMatchTm& tm) {
    (void)tm.b2a(tm.a2b(rxVector<2>(3, 4)));
    (void)tm.b2a(tm.a2b(rxRadian(0.5)));
    tolerate([&] { tm.append(tm); });
    tolerate([&] { tm.concat(tm); });
    tolerate([&] { tm.update(rxVector<2>(1, 2), rxVector<2>(3, 4)); });
    tolerate([&] { tm.fit(4); });
}

void use(rx2PTm& tm) {
    (void)tm.b2a(tm.a2b(rxVector<2>(3, 4)));
    tolerate([&] { tm.translate({1, 2}); });
    tolerate([&] { tm.update(rxVector<2>(1, 2), rxVector<2>(3, 4)); });
    tolerate([&] { tm.fit(); });
    tolerate([&] { (void)tm.a2bXform(); });
    tolerate([&] { (void)tm.a2bTm(); });
}

void use(rx3PtMatchTm& tm) {
    (void)tm.b2a(tm.a2b(rxVector<3>(3, 4, 5)));
    tolerate([&] { tm.translate({1, 2, 3}); });
    tolerate([&] { tm.update(rxVector<3>(1, 2, 3), rxVector<3>(3, 4, 5)); });
    tolerate([&] { tm.fit(); });
}

void use(rxPsuedoInverse& sums) {
    if (sums.numUnknowns() > 64) return;
    const std::vector<double> x(static_cast<std::size_t>(sums.numUnknowns()), 1.0);
    tolerate([&] { sums.update(x, 2.0); });
    tolerate([&] { (void)sums.fit(); });
    sums.reset();
}

void use(rxMatrixExt& matrix) {
    if (matrix.rows() > 64 || matrix.cols() > 64) return;
    std::vector<long> index(static_cast<std::size_t>(matrix.rows()));
    tolerate([&] {
        rxMatrixExt other(matrix);
        rxMatrixExt right(matrix.rows(), 1);
        other.gaussj(right);
    });
    tolerate([&] { matrix.ludcmp(index); });
}

template <class T>
void use(rxPelBuffer<T>& image) {
    const long width = image.width();
    image.window(0, 0, 1, 1, true);
    image.setEntire();
    promise(image.width() == width, "a window and back");
    const rxPelBuffer<T> sum(image.width(), image.height(), 32);
    rfPelAdd<T>(image, image, sum);
}

void use(rxXform<2>& xform) {
    tolerate([&] { promise(xform.inverse().isFinite(), "an inverse that is finite"); });
}

/// Whether the archive holds a T; refusals have to have a message.
template <class T>
bool loads(rxArchive& ar, T& value) {
    try {
        ar || value;
        return true;
    } catch (const rxArchive::Errors& error) {
        promise(!error.message().empty() || dynamic_cast<const rxArchive::UnknownVersion*>(&error),
                "a refusal has a message");
        return false;
    }
}

template <class T>
Bytestring recordOf(T& value) {
    rxMemoryStoreArchive storing;
    storing || value;
    return storing.takeStored();
}

/// Streams that can seek and pipes, which do not know what is left, give what memory gives.
template <class T>
void loadFromStreams(std::span<const std::uint8_t> bytes, bool isLoaded, const Bytestring& record) {
    std::istringstream seekable(std::string(bytes.begin(), bytes.end()));
    ptmatch::testing::PipeStream pipe(bytes);
    for (std::istream* const stream :
         {static_cast<std::istream*>(&seekable), static_cast<std::istream*>(&pipe)}) {
        T value{};
        rxStreamLoadArchive loading(*stream);
        promise(loads(loading, value) == isLoaded, "streams are taken as memory is");
        if (!isLoaded) continue;
        std::ostringstream out;
        rxStreamStoreArchive storing(out);
        storing || value;
        const std::string stored = out.str();
        promise(std::ranges::equal(
                    stored, record,
                    [](char a, unsigned char b) { return static_cast<unsigned char>(a) == b; }),
                "streams give what memory gives");
    }
}

/// Over an object that was there before, of the record `earlier` if it is one: what a record does
/// not hold of a matcher stays, everything else becomes as if it was loaded anew.
template <class T>
void loadOver(std::span<const std::uint8_t> bytes, std::span<const std::uint8_t> earlier,
              bool isLoaded, const Bytestring& record) {
    T there{};
    rxMemoryLoadArchive before(earlier);
    loads(before, there);
    const Bytestring held = recordOf(there);
    rxMemoryLoadArchive loading(bytes);
    promise(loads(loading, there) == isLoaded, "taken over another object as anew");
    const Bytestring left = recordOf(there);
    if (!isLoaded) {
        promise(left == held, "a refused record leaves the object as it was");
    } else if (!std::is_same_v<T, rxPointMatcher>) {
        promise(left == record, "over another object as anew");
    }
    T again{};
    rxMemoryLoadArchive reloading(left);
    promise(loads(reloading, again), "an object that can be stored and loaded");
    use(there);
}

/// A record of T, whatever the bytes are.
template <class T>
void loadStoreUse(std::span<const std::uint8_t> bytes, std::span<const std::uint8_t> earlier) {
    T loaded{};
    rxMemoryLoadArchive loading(bytes);
    const bool isLoaded = loads(loading, loaded);
    const bool isStreamed = !bytes.empty() && bytes.back() % 4 == 0;
    if (!isLoaded) {
        loadOver<T>(bytes, earlier, false, {});
        if (isStreamed) loadFromStreams<T>(bytes, false, {});
        return;
    }
    const Bytestring first = recordOf(loaded);
    if (isStreamed) loadFromStreams<T>(bytes, true, first);
    T again{};
    rxMemoryLoadArchive reloading(first);
    reloading || again;
    promise(reloading.bytesLeft() == 0, "a record is read to its end");
    promise(recordOf(again) == first, "stored, loaded and stored again gives the same bytes");
    loadOver<T>(bytes, earlier, true, first);
    T copy(loaded);
    promise(recordOf(copy) == first, "a copy stores to the same bytes");
    use(loaded);
}

/// A matcher that was trained before: what the record does not hold stays.
void loadOverTrained(std::span<const std::uint8_t> bytes,
                     std::span<const std::uint8_t> /*earlier*/) {
    rxPointMatcher matcher;
    const bool isExhaustive = !bytes.empty() && bytes.back() % 2 == 0;
    matcher.train({kDots.begin(), kDots.begin() + 3}, isExhaustive
                                                          ? rxPointMatcherDefs::eExhaustiveMode
                                                          : rxPointMatcherDefs::eAutoDetect);
    const Bytestring before = recordOf(matcher);
    rxMemoryLoadArchive loading(bytes);
    if (!loads(loading, matcher)) {
        promise(recordOf(matcher) == before, "a refused record leaves the matcher as it was");
        return;
    }
    use(matcher);
}

template <class T>
struct Rectangle {
    rxRectangle<T> value;
    friend rxArchive& operator||(rxArchive& ar, Rectangle& rectangle) {
        return rf_PersistenceHelper(ar, rectangle.value);
    }
};

/// An object of a class that the record names.
void loadPolymorphic(std::span<const std::uint8_t> bytes,
                     std::span<const std::uint8_t> /*earlier*/) {
    std::unique_ptr<rxPersistent> object;
    try {
        rxMemoryLoadArchive loading(bytes);
        object = rfLoadPolymorphic(loading);
    } catch (const rxArchive::Errors& error) {
        promise(!error.message().empty() || dynamic_cast<const rxArchive::UnknownVersion*>(&error),
                "a refusal has a message");
        return;
    }
    rxMemoryStoreArchive storing;
    rfStorePolymorphic(storing, *object);
    const Bytestring first = storing.takeStored();
    rxMemoryLoadArchive loading(first);
    rfStorePolymorphic(storing, *rfLoadPolymorphic(loading));
    promise(storing.stored() == first, "an object stored by name comes back");
    auto* exception = dynamic_cast<rxException*>(object.get());
    if (exception == nullptr) return;
    (void)object.release();
    try {
        exception->suicideAndRethrow();
    } catch (const rxException& error) {
        (void)error.errorNumber();
        promise(error.what() != nullptr, "a message");
    }
}

using Load = void (*)(std::span<const std::uint8_t>, std::span<const std::uint8_t>);

constexpr Load kLoads[] = {
    loadStoreUse<rxPointMatcher>,
    loadStoreUse<rxPointMatcherRunParams>,
    loadStoreUse<rxPointMatcherResult>,
    loadStoreUse<rxPointMatcherResultSet>,
    loadStoreUse<rxPtToGridMapRunParams>,
    loadStoreUse<rxPtToGridMapResult>,
    loadStoreUse<rx_PointToGridCorresponderTrainParams>,
    loadStoreUse<rx_PointToGridCorresponderRunParams>,
    loadStoreUse<rx_PointToGridCorresponderResult>,
    loadStoreUse<rx_PointToGridCorresponderResultSet>,
    loadStoreUse<rx_PointToGridCorresponder>,
    loadStoreUse<rx2PtMatchTm>,
    loadStoreUse<rx2PTm>,
    loadStoreUse<rx3PtMatchTm>,
    loadStoreUse<rxPsuedoInverse>,
    loadStoreUse<rxMatrixExt>,
    loadStoreUse<rxPelBuffer<unsigned char>>,
    loadStoreUse<rxPelBuffer<short>>,
    loadStoreUse<rxPelBuffer<unsigned short>>,
    loadStoreUse<rxPelBuffer<int>>,
    loadStoreUse<rxPelBuffer<unsigned int>>,
    loadStoreUse<rxPelBuffer<long>>,
    loadPolymorphic,
    loadOverTrained,
    // Up to here they are made as well, in this order.
    loadStoreUse<bool>,
    loadStoreUse<unsigned char>,
    loadStoreUse<int>,
    loadStoreUse<long>,
    loadStoreUse<unsigned long>,
    loadStoreUse<double>,
    loadStoreUse<std::string>,
    loadStoreUse<rxVector<2>>,
    loadStoreUse<rxVector<3>>,
    loadStoreUse<rxPair<long>>,
    loadStoreUse<rxRadian>,
    loadStoreUse<rxRange>,
    loadStoreUse<rxAngleRange>,
    loadStoreUse<rxXform<2>>,
    loadStoreUse<Rectangle<double>>,
    loadStoreUse<Rectangle<long>>,
    loadStoreUse<std::vector<double>>,
    loadStoreUse<std::vector<unsigned char>>,
    loadStoreUse<std::vector<std::string>>,
    loadStoreUse<std::vector<rxVector<2>>>,
    loadStoreUse<std::vector<std::vector<long>>>,
    loadStoreUse<std::vector<rxPointMatcherResult>>,
};

rxPelBuffer<unsigned char> madePattern(FuzzInput& input) {
    const long side = input.integer(1, 5);
    rxPelBuffer<unsigned char> image = markImage(input, side, side);
    const double step = input.flag() ? 40.0 : input.moderate(100.0);
    image.clientFromImageXform({rxMatrix<2>(step, 0.0, 0.0, step), {}});
    return image;
}

rxPointMatcher madeMatcher(FuzzInput& input) {
    rxPointMatcher matcher;
    tolerate([&] {
        switch (input.byte() % 4) {
            case 0:
                matcher.train(rxPelBuffer_const<unsigned char>(madePattern(input)));
                break;
            case 1:
                matcher.train(input.moderatePoints(3, 6, 200.0), {1, 2, 1, 0, -1, 3},
                              rxPointMatcherDefs::eAutoDetect);
                break;
            case 2:
                matcher.train(kDots, {1, 2, 1, 0, -1, 3, 1, 1, 1, 2},
                              rxPointMatcherDefs::eAutoDetect);
                break;
            default:
                matcher.train(input.moderatePoints(3, 6, 200.0), rxPointMatcherDefs::eAutoDetect);
                break;
        }
    });
    return matcher;
}

rxPointMatcherRunParams madeRunParams(FuzzInput& input) {
    rxPointMatcherRunParams params(static_cast<double>(input.byte()) / 255.0);
    tolerate([&] { params.rotationUncertainty(input.angleRange()); });
    tolerate([&] { params.xTranslationUncertainty(input.range()); });
    tolerate([&] { params.scaleUncertainty({-0.1, 0.1}); });
    params.autoGridSize(input.flag());
    tolerate([&] { params.gridSize(input.number()); });
    params.autoCaptureRange(input.flag());
    tolerate([&] { params.captureRange(input.number()); });
    params.maxNumResults(input.integer(1, 5));
    return params;
}

rxPointMatcherResultSet resultsOnDots() {
    rxPointMatcherRunParams params(0.3);
    params.maxNumResults(3);
    rxPointMatcherResultSet found;
    trainedOnDots().run(kDots, params, found);
    return found;
}

/// Of a run on points or on a grid.
rxPointMatcherResultSet madeResults(FuzzInput& input) {
    static const rxPointMatcherResultSet onDots = resultsOnDots();
    if (input.flag()) return onDots;
    rxPointMatcherResultSet found;
    tolerate([&] {
        rxPointMatcherRunParams params(0.3);
        params.maxNumResults(3);
        rxPointMatcher matcher;
        matcher.train(rxPelBuffer_const<unsigned char>(madePattern(input)));
        params.scaleUncertainty({-0.2, 0.2});
        std::vector<rxVector<2>> nodes;
        for (int i = 0; i < 25; ++i) nodes.emplace_back(40.0 * (i % 5), 40.0 * (i / 5));
        if (rfRunCost(matcher, nodes, params).work < kMostVotes) matcher.run(nodes, params, found);
    });
    return found;
}

rx_PointToGridCorresponder madeCorresponder(FuzzInput& input) {
    rx_PointToGridCorresponder tool;
    tolerate([&] {
        const rx_PointToGridCorresponderTrainParams params{
            input.flag(),
            static_cast<rx_PointToGridCorresponderDefs::FeatureType>(input.integer(0, 2))};
        tool.train(rxPelBuffer_const<unsigned char>(madePattern(input)), params);
    });
    return tool;
}

template <class T>
Bytestring madeImage(FuzzInput& input) {
    rxPelBuffer<T> image{input.integer(0, 4), input.integer(0, 4), 8};
    for (long y = 0; y < image.height(); ++y) {
        for (long x = 0; x < image.width(); ++x) {
            image.pointToRow(y)[x] = static_cast<T>(input.integer(-70'000, 70'000));
        }
    }
    image.offset({input.integer(-9, 9), input.byte()});
    return recordOf(image);
}

template <class Exception>
void throwOut(FuzzInput& input) {
    throw Exception(std::string(static_cast<std::size_t>(input.integer(0, 5)), 'x'));
}

Bytestring madeException(FuzzInput& input) {
    constexpr void (*kThrows[])(FuzzInput&) = {
        throwOut<rxMathError>,
        throwOut<rxArchive::Errors>,
        throwOut<rx_PelBuffer::Errors>,
        throwOut<rxAttention::Interrupted>,
        throwOut<rxDeadlinePassed>,
        throwOut<rxLSPointToPointFitter::Errors>,
        throwOut<rxPointMatcherDefs::BadParams>,
        throwOut<rxPointMatcherDefs::NotTrained>,
        throwOut<rxPointMatcherDefs::InsufficientModelPoints>,
        throwOut<rxPointMatcherDefs::NotRun>,
        throwOut<rx_PointToGridCorresponderDefs::InsufficientModelPoints>,
        throwOut<rx_PointToGridCorresponderDefs::InsufficientMemory>,
        [](FuzzInput& in) {
            const char* const source = in.flag() ? "source" : nullptr;
            throw rxArchive::UnknownVersion(source, static_cast<int>(in.byte()));
        },
    };
    rxMemoryStoreArchive storing;
    try {
        kThrows[input.byte() % std::size(kThrows)](input);
    } catch (const rxException& error) {
        rfStorePolymorphic(storing, error);
    }
    return storing.takeStored();
}

/// The record of an object of the kind.
Bytestring madeRecord(FuzzInput& input, std::size_t kind) {
    const auto record = [](auto value) { return recordOf(value); };
    const auto pair = [&](auto tm) {
        for (long n = input.integer(0, 6); n > 0; --n) {
            const rxVector<2> a = input.point();
            const rxVector<2> b = input.point();
            tolerate([&] { tm.update(a, b); });
        }
        return recordOf(tm);
    };
    switch (kind) {
        case 1:
            return record(madeRunParams(input));
        case 2: {
            const rxPointMatcherResultSet found = madeResults(input);
            return record(found.results().empty() ? rxPointMatcherResult()
                                                  : found.results().front());
        }
        case 3:
            return record(madeResults(input));
        case 4:
            return record(rxPtToGridMapRunParams{input.point(), input.point(), input.flag(),
                                                 input.number(), input.range(),
                                                 input.angleRange()});
        case 5: {
            rxPtToGridMapResult result;
            tolerate([&] {
                rfPtToGridMap({{0, 0}, {40, 0}, {0, 40}, {40, 40}, {80, 40}},
                              rxPtToGridMapRunParams({40, 0}, {0, 40}, false, 0.0, {0.8, 1.2},
                                                     {rxRadian(-0.3), rxRadian(0.3)}),
                              result);
            });
            return record(result);
        }
        case 6:
            return record(madeCorresponder(input).trainParams());
        case 7:
            return record(rx_PointToGridCorresponderRunParams{input.number(), input.number(),
                                                              input.integer(-1, 9)});
        case 8:
        case 9: {
            rx_PointToGridCorresponderResultSet found;
            const rx_PointToGridCorresponder tool = madeCorresponder(input);
            tolerate([&] {
                tool.run(rxPelBuffer_const<unsigned char>(tool.pattern()),
                         rx_PointToGridCorresponderRunParams(0.5, 1.0, 3), found);
            });
            if (kind == 9) return record(found);
            return record(found.results().empty() ? rx_PointToGridCorresponderResult()
                                                  : found.results().front());
        }
        case 10:
            return record(madeCorresponder(input));
        case 11:
            return pair(rx2PtMatchTm());
        case 12:
            return pair(rx2PTm());
        case 13: {
            rx3PtMatchTm tm;
            tolerate([&] { tm.scale(input.number()); });
            return record(tm);
        }
        case 14: {
            rxPsuedoInverse sums(input.integer(0, 3));
            std::vector<double> x(static_cast<std::size_t>(sums.numUnknowns()));
            for (double& value : x) value = input.number();
            sums.update(x, input.number());
            return record(sums);
        }
        case 15: {
            rxMatrixExt matrix{input.integer(0, 3), input.integer(1, 3)};
            for (long r = 0; r < matrix.rows(); ++r) matrix.element(r, 0, input.number());
            return record(matrix);
        }
        case 16:
            return madeImage<unsigned char>(input);
        case 17:
            return madeImage<short>(input);
        case 18:
            return madeImage<unsigned short>(input);
        case 19:
            return madeImage<int>(input);
        case 20:
            return madeImage<unsigned int>(input);
        case 21:
            return madeImage<long>(input);
        case 22:
            return madeException(input);
        default:
            return record(madeMatcher(input));
    }
}

constexpr std::size_t kNumMade = 24;

void tamper(FuzzInput& input, Bytestring& record) {
    for (long n = input.integer(0, 4); n > 0 && !record.empty(); --n) {
        // Heads and counts stand in front as a rule.
        const bool isNear = input.flag();
        const auto reach = static_cast<long>(record.size()) - 1;
        const long at = input.integer(0, isNear ? std::min(reach, 40L) : reach);
        const auto place = record.begin() + at;
        switch (input.byte() % 4) {
            case 0:
                record.erase(place, record.end());
                break;
            case 1:
                record.erase(place);
                break;
            case 2:
                record.insert(place, input.byte());
                break;
            default:
                *place = input.byte();
                break;
        }
    }
}

/// The record of the object that is there before another one of its kind is loaded: one that is
/// made, where they are, or else what the second half of the bytes is.
std::span<const std::uint8_t> earlierRecord(std::size_t kind, Bytes bytes) {
    if (kind >= kNumMade) return bytes.subspan(bytes.size() / 2);
    static std::array<Bytestring, kNumMade> records;
    if (records[kind].empty()) {
        static constexpr std::array<std::uint8_t, 16> kAny = {3, 3, 3, 3, 3, 3, 3, 3,
                                                              3, 3, 3, 3, 3, 3, 3, 3};
        FuzzInput input(kAny);
        records[kind] = madeRecord(input, kind);
    }
    return records[kind];
}

}  // namespace

void run(Bytes bytes) {
    if (bytes.empty()) return;
    if (bytes.front() < 128) {
        const std::size_t kind = bytes.front() % std::size(kLoads);
        kLoads[kind](bytes.subspan(1), earlierRecord(kind, bytes));
        return;
    }
    const std::size_t kind = bytes.front() % kNumMade;
    FuzzInput input(bytes.subspan(1));
    Bytestring record = madeRecord(input, kind);
    if (!record.empty() && input.byte() < 64) kLoads[kind](record, earlierRecord(kind, {}));
    tamper(input, record);
    kLoads[kind](record, earlierRecord(kind, {}));
}

}  // namespace ptmatch::fuzz::archives
