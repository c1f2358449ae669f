// Promise: any bytes are a record or are refused with rxArchive::Errors; what was loaded can be
// stored, loads again, stores to the same bytes, and can be used.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "foundation/archive.h"
#include "foundation/exception.h"
#include "foundation/geometry_archive.h"
#include "foundation/image.h"
#include "foundation/memory_archive.h"
#include "foundation/persistent.h"
#include "promise.h"
#include "ptmatch/gridcorr.h"
#include "ptmatch/least_squares.h"
#include "ptmatch/matext.h"
#include "ptmatch/pinv.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/ptgdmap.h"
#include "ptmatch/run_cost.h"
#include "ptmatch/tm.h"

namespace {

using ptmatch::fuzz::promise;

constexpr double kMostWork = 2e6;
constexpr double kMostImageBytes = 1 << 24;

const std::vector<rxVector<2>> kDots = {{0, 0},   {40, 0},   {40, 25},  {10, 30},  {0, 15},
                                        {80, 10}, {75, 100}, {75, 140}, {50, 140}, {45, 110}};

/// Whatever a call may throw of its own accord.
void tolerate(const std::function<void()>& call) {
    try {
        call();
    } catch (const rxException&) {
    } catch (const rxMatrixExt::SingularMatrix&) {
    } catch (const rxMatrixExt::NotSquareMatrix&) {
    } catch (const std::out_of_range&) {
    } catch (const std::length_error&) {
    }
}

/// A search small enough for thousands of executions.
bool isSmall(const rxPointMatcher& matcher, const rxPointMatcherRunParams& params) {
    const rxRunCost cost = rfRunCost(matcher, kDots, params);
    return cost.work < kMostWork && cost.imageBytes < kMostImageBytes &&
           cost.numLatticePoints < 20'000;
}

template <class T>
void use(T&) {}

void use(rxPointMatcher& matcher) {
    tolerate([&] {
        const rxPointMatcherRunParams params;
        if (!matcher.isTrained() || !isSmall(matcher, params)) return;
        rxPointMatcherResultSet found;
        matcher.run(kDots, params, found);
    });
}

void use(rxPointMatcherRunParams& params) {
    rxPointMatcher matcher;
    matcher.train({kDots.begin(), kDots.begin() + 5}, rxPointMatcherDefs::eAutoDetect);
    tolerate([&] {
        if (!isSmall(matcher, params)) return;
        rxPointMatcherResultSet found;
        matcher.run(kDots, params, found);
    });
}

void use(rxPointMatcherResult& result) {
    tolerate([&] { (void)result.modelToDataMap(); });
    tolerate([&] { (void)result.gridToDataMap({0, 0}); });
}

void use(rxPtToGridMapRunParams& params) {
    tolerate([&] {
        rxPtToGridMapResult result;
        rfPtToGridMap(kDots, params, result);
    });
}

void use(rx_PointToGridCorresponder& tool) {
    tolerate([&] {
        rx_PointToGridCorresponderResultSet found;
        const std::vector<rxPair<long>> positions = {{0, 0}, {1, 0}, {2, 1}, {0, 1}, {1, 1}};
        tool.run(positions, rx_PointToGridCorresponderRunParams(0.5, 1.0, 3), found);
    });
}

void use(rx2PtMatchTm& tm) {
    (void)tm.b2a(tm.a2b(rxVector<2>(3, 4)));
    tolerate([&] { tm.append(tm); });
    tolerate([&] { tm.fit(-1); });
}

void use(rx2PTm& tm) {
    (void)tm.b2a(tm.a2b(rxVector<2>(3, 4)));
    tolerate([&] { tm.translate({1, 2}); });
    tolerate([&] { tm.fit(); });
    tolerate([&] { (void)tm.a2bXform(); });
}

void use(rx3PtMatchTm& tm) {
    (void)tm.b2a(tm.a2b(rxVector<3>(3, 4, 5)));
    tolerate([&] { tm.translate({1, 2, 3}); });
    tolerate([&] { tm.fit(); });
}

void use(rxPsuedoInverse& sums) {
    if (sums.numUnknowns() > 64) return;
    const std::vector<double> x(static_cast<std::size_t>(sums.numUnknowns()), 1.0);
    tolerate([&] { sums.update(x, 2.0); });
    tolerate([&] { (void)sums.fit(); });
}

void use(rxMatrixExt& matrix) {
    if (matrix.rows() > 64 || matrix.cols() > 64) return;
    std::vector<long> index(static_cast<std::size_t>(matrix.rows()));
    tolerate([&] {
        rxMatrixExt other(matrix);
        rxMatrixExt none;
        other.gaussj(none);
    });
    tolerate([&] { matrix.ludcmp(index); });
}

template <class T>
void store(rxArchive& ar, T& value) {
    ar || value;
}

/// A record of T, whatever the bytes are.
template <class T>
void loadStoreUse(std::span<const std::uint8_t> bytes) {
    T loaded{};
    try {
        rxMemoryLoadArchive loading(bytes);
        loading || loaded;
    } catch (const rxArchive::Errors& error) {
        promise(!error.message().empty(), "a refusal has a message");
        return;
    }
    rxMemoryStoreArchive storing;
    storing || loaded;
    const std::vector<unsigned char> first = storing.takeStored();
    T again{};
    rxMemoryLoadArchive loading(first);
    loading || again;
    promise(loading.bytesLeft() == 0, "a record is read to its end");
    storing || again;
    promise(storing.stored() == first, "stored, loaded and stored again gives the same bytes");
    use(loaded);
}

/// An object of a class that the record names.
void loadPolymorphic(std::span<const std::uint8_t> bytes) {
    std::unique_ptr<rxPersistent> object;
    try {
        rxMemoryLoadArchive loading(bytes);
        object = rfLoadPolymorphic(loading);
    } catch (const rxArchive::Errors& error) {
        promise(!error.message().empty(), "a refusal has a message");
        return;
    }
    rxMemoryStoreArchive storing;
    rfStorePolymorphic(storing, *object);
    const std::vector<unsigned char> first = storing.takeStored();
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
    }
}

using Load = void (*)(std::span<const std::uint8_t>);

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
    loadStoreUse<rxRange>,
    loadStoreUse<rxAngleRange>,
    loadStoreUse<rxXform<2>>,
    loadStoreUse<std::string>,
    loadStoreUse<std::vector<double>>,
    loadStoreUse<std::vector<std::string>>,
    loadStoreUse<std::vector<rxVector<2>>>,
    loadStoreUse<std::vector<rxPointMatcherResult>>,
    loadPolymorphic,
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    kLoads[data[0] % std::size(kLoads)]({data + 1, size - 1});
    return 0;
}
