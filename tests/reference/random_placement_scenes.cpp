#include <algorithm>
#include <cmath>

#include "foundation/image_functions.h"
#include "reference/random_grid_scenes.h"

namespace ptmatch::reference {
namespace {

using Positions = std::vector<rxPair<long>>;
using Defs = rx_PointToGridCorresponderDefs;

Positions block(long width, long height) {
    Positions positions;
    for (long y = 0; y < height; ++y) {
        for (long x = 0; x < width; ++x) positions.emplace_back(x, y);
    }
    return positions;
}

/// Each position stays with the given probability; at least three do.
Positions thinned(Random& random, const Positions& positions, double share) {
    Positions kept;
    for (const rxPair<long>& p : positions) {
        const bool isNeeded = kept.size() < 3 && positions.size() < 6;
        if (isNeeded || random.chance(share)) kept.push_back(p);
    }
    for (std::size_t k = 0; kept.size() < 3; ++k) kept.push_back(positions[k]);
    return kept;
}

Positions moved(const Positions& positions, const rxPair<long>& by) {
    Positions result;
    for (const rxPair<long>& p : positions) result.push_back(p + by);
    return result;
}

rxPair<long> somePlace(Random& random, long extent) {
    const long x = random.integer(-extent, extent);
    const long y = random.integer(-extent, extent);
    return {x, y};
}

void append(Positions& positions, const Positions& more) {
    positions.insert(positions.end(), more.begin(), more.end());
}

/// The positions in an image with some rim, most of it empty, and here and there a pixel that says
/// nothing.
rxPelBuffer<unsigned char> imageOf(Random& random, const Positions& positions, double strays) {
    if (positions.empty()) return {};
    rxPair<long> low = positions[0];
    rxPair<long> high = positions[0];
    for (const rxPair<long>& p : positions) {
        low = {std::min(low.x(), p.x()), std::min(low.y(), p.y())};
        high = {std::max(high.x(), p.x()), std::max(high.y(), p.y())};
    }
    const rxPair<long> rim{random.integer(0, 3), random.integer(0, 3)};
    const rxPair<long> corner = low - rim;
    rxPelBuffer<unsigned char> image =
        framedImage(high.x() + rim.x() - corner.x() + 1, high.y() + rim.y() - corner.y() + 1,  //
                    corner);
    for (const rxPair<long>& p : positions) image.put(p.x(), p.y(), 1);
    for (long y = 0; y < image.height(); ++y) {
        for (long x = 0; x < image.width(); ++x) {
            if (!random.chance(strays)) continue;
            const auto stray = static_cast<unsigned char>(random.pick<long>({2, 3, 128, 255}));
            image.put(x + corner.x(), y + corner.y(), stray);
        }
    }
    return image;
}

/// The pattern somewhere among other positions, some of it missing.
PlacementScene planted(Random& random, const Positions& pattern) {
    PlacementScene scene;
    scene.pattern = moved(pattern, somePlace(random, 6));
    if (random.chance(0.6)) shuffle(random, scene.pattern);
    scene.trainParams.featureType(
        random.pick<Defs::FeatureType>({Defs::eAllPoints, Defs::eBorderPoints, Defs::eBorderPoints,
                                        Defs::eWideBorderPoints, Defs::eWideBorderPoints}));
    const double share = random.pick<double>({0.7, 0.9, 1.0});
    scene.data = thinned(random, moved(scene.pattern, somePlace(random, 9)), share);
    const rxPair<long> corner = scene.data[0];
    for (long k = random.pick<long>({0, 0, 3, 10}); k > 0; --k) {
        scene.data.push_back(corner + somePlace(random, 6));
    }
    if (random.chance(0.5)) shuffle(random, scene.data);
    const double strays = random.pick<double>({0.0, 0.0, 0.1});
    scene.image = imageOf(random, scene.data, strays);
    scene.runParams.accept(random.pick<double>({0.05, 0.3, 0.5, 0.6, 0.75, 0.9, 1.0}));
    scene.runParams.maxNumResults(random.pick<long>({1, 1, 2, 3, 5, 100}));
    return scene;
}

PlacementScene blocks(Random& random) {
    const long width = random.integer(2, 7);
    return planted(random, block(width, random.integer(2, 7)));
}

PlacementScene blocksWithHoles(Random& random) {
    const long width = random.integer(3, 8);
    return planted(random, thinned(random, block(width, random.integer(3, 8)), 0.85));
}

PlacementScene scattered(Random& random) {
    const long width = random.integer(3, 9);
    return planted(random, thinned(random, block(width, random.integer(3, 9)), 0.4));
}

PlacementScene checkerboard(Random& random) {
    const long width = random.integer(3, 8);
    Positions pattern = block(width, random.integer(3, 8));
    const long odd = random.integer(0, 1);
    std::erase_if(pattern, [&](const rxPair<long>& p) { return (p.x() + p.y()) % 2 != odd; });
    PlacementScene scene = planted(random, thinned(random, pattern, 0.9));
    scene.trainParams.staggered(true);
    return scene;
}

// Told to be staggered, or not to be, against what it looks like.
PlacementScene wrongKindOfGrid(Random& random) {
    PlacementScene scene = random.chance(0.5) ? blocksWithHoles(random) : checkerboard(random);
    scene.trainParams.staggered(!scene.trainParams.staggered());
    return scene;
}

PlacementScene rows(Random& random) {
    const long length = random.integer(3, 12);
    const bool isRow = random.chance(0.5);
    return planted(random, thinned(random, isRow ? block(length, 1) : block(1, length), 0.8));
}

PlacementScene corners(Random& random) {
    const long side = random.integer(3, 7);
    Positions pattern = block(side, 1);
    append(pattern, block(1, side));
    return planted(random, pattern);
}

PlacementScene otherFeatureTypes(Random& random) {
    PlacementScene scene = blocksWithHoles(random);
    scene.trainParams.featureType(static_cast<Defs::FeatureType>(random.pick<long>({-1, 3, 99})));
    return scene;
}

PlacementScene wideBorders(Random& random) {
    const long width = random.integer(5, 10);
    PlacementScene scene =
        planted(random, thinned(random, block(width, random.integer(5, 10)), 0.8));
    scene.trainParams.featureType(Defs::eWideBorderPoints);
    scene.trainParams.staggered(random.chance(0.4));
    return scene;
}

PlacementScene exactCopies(Random& random) {
    PlacementScene scene = blocksWithHoles(random);
    scene.data = moved(scene.pattern, somePlace(random, 20));
    scene.image = imageOf(random, scene.data, 0.0);
    scene.runParams.accept(random.pick<double>({0.5, 1.0}));
    return scene;
}

PlacementScene severalOccurrences(Random& random) {
    const long width = random.integer(2, 4);
    PlacementScene scene =
        planted(random, thinned(random, block(width, random.integer(2, 4)), 0.7));
    for (long k = random.integer(1, 4); k > 0; --k) {
        append(scene.data, thinned(random, moved(scene.pattern, somePlace(random, 12)), 0.9));
    }
    scene.image = imageOf(random, scene.data, 0.0);
    scene.runParams.maxNumResults(random.integer(1, 6));
    return scene;
}

// A small block in a large one: one score at many places, more of them than are kept.
PlacementScene manyTies(Random& random) {
    PlacementScene scene = planted(random, block(random.integer(2, 3), 2));
    const long width = random.integer(4, 9);
    scene.data = block(width, random.integer(4, 9));
    scene.data = moved(scene.data, somePlace(random, 5));
    scene.image = imageOf(random, scene.data, 0.0);
    scene.runParams.accept(random.pick<double>({0.2, 0.5, 0.75, 1.0}));
    scene.runParams.maxNumResults(random.integer(1, 12));
    return scene;
}

// Acceptances at, just below and just above a whole number of probes.
PlacementScene acceptanceAtTheSteps(Random& random) {
    PlacementScene scene = random.chance(0.5) ? scattered(random) : blocksWithHoles(random);
    scene.trainParams.featureType(Defs::eAllPoints);
    const auto count = static_cast<double>(scene.pattern.size());
    const double share =
        static_cast<double>(random.integer(1, static_cast<long>(scene.pattern.size()))) / count;
    scene.runParams.accept(random.pick<double>(
        {share, std::nextafter(share, 0.0), std::nextafter(share, 2.0), share + 1e-3}));
    return scene;
}

// So much is asked for that hardly a first probe may disagree, or so little that nearly all may.
PlacementScene acceptanceAtTheEnds(Random& random) {
    PlacementScene scene = random.chance(0.5) ? blocks(random) : scattered(random);
    scene.runParams.accept(random.pick<double>({1.0, 0.99, 0.97, 0.1, 0.2}));
    scene.data.erase(scene.data.begin());
    return scene;
}

PlacementScene unusableParams(Random& random) {
    PlacementScene scene = blocks(random);
    const long which = random.integer(0, 2);
    if (which == 0) scene.runParams.maxNumResults(random.pick<long>({0, -1, -2147483648}));
    if (which == 1) {
        scene.runParams.accept(
            random.pick<double>({0.0, -0.5, 1e-9, -1e300, std::numeric_limits<double>::quiet_NaN(),
                                 -std::numeric_limits<double>::infinity()}));
    }
    if (which == 2) {
        scene.runParams.accept(
            random.pick<double>({1.6, 2.0, 1e300, std::numeric_limits<double>::infinity()}));
    }
    return scene;
}

// Data a few steps smaller than the pattern, up to the limit and beyond.
PlacementScene dataSmallerThanPattern(Random& random) {
    const long width = random.integer(5, 9);
    PlacementScene scene = planted(random, block(width, random.integer(5, 9)));
    const long columns = std::max(1L, width - random.integer(2, 6));
    scene.data = block(columns, random.integer(1, 9));
    scene.data = moved(scene.data, somePlace(random, 5));
    scene.image = imageOf(random, scene.data, 0.0);
    scene.runParams.accept(random.uniform(0.1, 0.6));
    return scene;
}

PlacementScene overhanging(Random& random) {
    PlacementScene scene = blocksWithHoles(random);
    const long cut = random.integer(1, 3);
    const long low = scene.pattern[0].x();
    Positions part = scene.pattern;
    std::erase_if(part, [&](const rxPair<long>& p) { return p.x() > low + cut; });
    scene.data = moved(part, somePlace(random, 5));
    scene.image = imageOf(random, scene.data, 0.0);
    scene.runParams.accept(random.uniform(0.2, 0.7));
    return scene;
}

PlacementScene samePositionTwice(Random& random) {
    PlacementScene scene = scattered(random);
    append(scene.pattern, thinned(random, scene.pattern, 0.4));
    append(scene.data, thinned(random, scene.data, 0.4));
    return scene;
}

PlacementScene noData(Random& random) {
    PlacementScene scene = blocks(random);
    scene.data.clear();
    scene.image = {};
    return scene;
}

PlacementScene oneDataPosition(Random& random) {
    PlacementScene scene = blocks(random);
    scene.data.assign(random.chance(0.5) ? 1 : 3, somePlace(random, 4));
    scene.image = framedImage(1, 1, scene.data[0]);
    scene.image.put(scene.data[0].x(), scene.data[0].y(), 1);
    return scene;
}

// Empty stretches wider than the pattern between clusters of data.
PlacementScene farApart(Random& random) {
    const long width = random.integer(2, 4);
    PlacementScene scene =
        planted(random, thinned(random, block(width, random.integer(2, 4)), 0.8));
    for (long k = random.integer(1, 3); k > 0; --k) {
        append(scene.data, thinned(random, moved(scene.pattern, somePlace(random, 60)), 0.9));
    }
    scene.image = imageOf(random, scene.data, 0.0);
    return scene;
}

// The same, and a pattern with so many empty places that a look at nothing may agree enough.
PlacementScene farApartMostlyEmpty(Random& random) {
    PlacementScene scene = farApart(random);
    scene.trainParams.featureType(Defs::eWideBorderPoints);
    scene.trainParams.staggered(random.chance(0.5));
    scene.pattern = {{0, 0}, {5, 0}, {0, 5}, {5, 5}, {2, 3}};
    scene.runParams.accept(random.pick<double>({0.3, 0.5, 0.6, 0.8}));
    scene.runParams.maxNumResults(random.pick<long>({1, 2, 5, 50}));
    return scene;
}

PlacementScene farFromOrigin(Random& random) {
    PlacementScene scene = blocksWithHoles(random);
    const rxPair<long> by(random.pick<long>({-1000000000, 1000000000}), 999999999);
    scene.pattern = moved(scene.pattern, by);
    if (random.chance(0.5)) scene.data = moved(scene.data, by);
    return scene;
}

PlacementScene wideData(Random& random) {
    PlacementScene scene = scattered(random);
    const rxPair<long> corner = scene.data[0];
    for (long k = random.integer(200, 700); k > 0; --k) {
        scene.data.push_back(corner + somePlace(random, 25));
    }
    scene.image = imageOf(random, scene.data, 0.02);
    return scene;
}

PlacementScene widePattern(Random& random) {
    const long width = random.integer(60, 140);
    PlacementScene scene =
        planted(random, thinned(random, block(width, random.integer(2, 4)), 0.6));
    if (random.chance(0.3)) {
        for (rxPair<long>& p : scene.pattern) p = {p.y(), p.x()};
        for (rxPair<long>& p : scene.data) p = {p.y(), p.x()};
    }
    return scene;
}

}  // namespace

rxPelBuffer<unsigned char> framedImage(long width, long height, const rxPair<long>& offset) {
    rxPelBuffer<unsigned char> image(width + 4, height + 3, 32);
    rfPelSet(image, static_cast<unsigned char>(1));
    image.window(3, 1, width, height, false);
    rfPelClear(image);
    image.offset(offset);
    return image;
}

const std::vector<SceneKind<PlacementScene>>& placementScenes() {
    using enum Outcome;
    static const std::vector<SceneKind<PlacementScene>> kinds{
        {"blocks", blocks},
        {"blocksWithHoles", blocksWithHoles},
        {"scattered", scattered},
        {"checkerboard", checkerboard},
        {"wrongKindOfGrid", wrongKindOfGrid},
        {"rows", rows},
        {"corners", corners},
        {"otherFeatureTypes", otherFeatureTypes},
        {"wideBorders", wideBorders},
        {"exactCopies", exactCopies},
        {"severalOccurrences", severalOccurrences},
        {"manyTies", manyTies},
        {"acceptanceAtTheSteps", acceptanceAtTheSteps},
        {"acceptanceAtTheEnds", acceptanceAtTheEnds, eSomeFind},
        {"unusableParams", unusableParams, eNothing},
        {"dataSmallerThanPattern", dataSmallerThanPattern, eSomeFind},
        {"overhanging", overhanging, eSomeFind},
        {"samePositionTwice", samePositionTwice},
        {"noData", noData, eNothing},
        {"oneDataPosition", oneDataPosition, eNothing},
        {"farApart", farApart},
        {"farApartMostlyEmpty", farApartMostlyEmpty},
        {"farFromOrigin", farFromOrigin},
        {"wideData", wideData},
        {"widePattern", widePattern, eSomeFind},
    };
    return kinds;
}

}  // namespace ptmatch::reference
