#include <algorithm>
#include <cmath>

#include "foundation/angle.h"
#include "foundation/range.h"
#include "reference/random_grid_scenes.h"

namespace ptmatch::reference {
namespace {

using Positions = std::vector<rxPair<long>>;

/// A pattern, its coordinates, and what a camera sees of it.
struct Board {
    long columns = 6;
    long rows = 5;
    rxPair<long> margin;    ///< Empty columns on the left, empty rows at the top of the image.
    long farMargin = 0;     ///< Empty columns and rows on the other sides.
    rxPair<long> offset;    ///< Of the image.
    Positions positions;    ///< Within the columns and rows.
    Positions surrounding;  ///< Of further points that are seen, but no part of the pattern.
    rxXform<2> modelFromGrid;
    rxXform<2> dataFromModel;
    double jitter = 0.0;  ///< In data units.
    double missing = 0.0;
    long clutter = 0;
};

rxXform<2> linear(double xx, double xy, double yx, double yy) {
    return {rxMatrix<2>(xx, xy, yx, yy), rxVector<2>()};
}

rxXform<2> turned(double degrees, double scale, const rxVector<2>& shift) {
    const rxRadian angle{rxDegree(degrees)};
    return {shift, angle, angle, scale, scale};
}

Positions block(long columns, long rows) {
    Positions positions;
    for (long y = 0; y < rows; ++y) {
        for (long x = 0; x < columns; ++x) positions.emplace_back(x, y);
    }
    return positions;
}

void thin(Random& random, Positions& positions, double missing) {
    std::erase_if(positions, [&](const rxPair<long>&) { return random.chance(missing); });
}

rxVector<2> someShift(Random& random, double extent) {
    return {random.uniform(-extent, extent), random.uniform(-extent, extent)};
}

/// A pattern on whole units of 10, turned a little and moved before the camera.
Board someBoard(Random& random) {
    Board board;
    board.columns = random.integer(4, 8);
    board.rows = random.integer(4, 8);
    board.positions = block(board.columns, board.rows);
    thin(random, board.positions, 0.12);
    board.modelFromGrid = linear(10.0, 0.0, 0.0, 10.0);
    const double angle = random.uniform(-12.0, 12.0);
    const double scale = random.uniform(0.9, 1.1);
    board.dataFromModel = turned(angle, scale, someShift(random, 80.0));
    board.jitter = random.uniform(0.0, 1.0);
    board.missing = random.pick<double>({0.0, 0.05, 0.15});
    return board;
}

rxPelBuffer<unsigned char> imageOf(Random& random, const Board& board) {
    rxPelBuffer<unsigned char> image =
        framedImage(board.margin.x() + board.columns + board.farMargin,
                    board.margin.y() + board.rows + board.farMargin, board.offset);
    for (const rxPair<long>& p : board.positions) {
        const rxPair<long> at = p + board.margin + board.offset;
        image.put(at.x(), at.y(), static_cast<unsigned char>(random.integer(1, 255)));
    }
    image.clientFromImageXform(board.modelFromGrid);
    return image;
}

GridMatchScene sceneOf(Random& random, const Board& board) {
    GridMatchScene scene;
    scene.image = imageOf(random, board);
    const rxXform<2> dataFromGrid = board.dataFromModel * board.modelFromGrid;
    Positions seen = board.positions;
    seen.insert(seen.end(), board.surrounding.begin(), board.surrounding.end());
    for (const rxPair<long>& p : seen) {
        if (random.chance(board.missing)) continue;
        const rxVector<2> node = dataFromGrid * rxVector<2>(p + board.margin);
        scene.data.push_back(node + someShift(random, board.jitter));
    }
    for (long k = board.clutter; k > 0; --k) {
        const rxVector<2> place{random.uniform(-2.0, static_cast<double>(board.columns) + 2.0),
                                random.uniform(-2.0, static_cast<double>(board.rows) + 2.0)};
        scene.data.push_back(dataFromGrid * place);
    }
    if (random.chance(0.6)) shuffle(random, scene.data);
    scene.params.scaleUncertainty(rxRange(-0.2, 0.2));
    scene.params.minCoverage(random.pick<double>({0.2, 0.4, 0.5, 0.6, 0.75}));
    scene.params.maxNumResults(random.integer(1, 5));
    return scene;
}

GridMatchScene board(Random& random) {
    return sceneOf(random, someBoard(random));
}

GridMatchScene noiseFree(Random& random) {
    Board board = someBoard(random);
    board.jitter = 0.0;
    board.missing = 0.0;
    return sceneOf(random, board);
}

// Whole coordinates and only exact distances.
GridMatchScene exactDistances(Random& random) {
    Board board = someBoard(random);
    board.jitter = 0.0;
    board.dataFromModel = turned(0.0, 1.0, {static_cast<double>(random.integer(-9, 9)), 4.0});
    GridMatchScene scene = sceneOf(random, board);
    scene.params.scaleUncertainty(rxRange(0.0, 0.0));
    return scene;
}

GridMatchScene jitter(Random& random) {
    Board board = someBoard(random);
    board.jitter = random.uniform(1.0, 2.5);
    return sceneOf(random, board);
}

GridMatchScene clutter(Random& random) {
    Board board = someBoard(random);
    board.clutter = random.integer(5, 40);
    return sceneOf(random, board);
}

GridMatchScene missingPoints(Random& random) {
    Board board = someBoard(random);
    board.missing = random.uniform(0.2, 0.5);
    GridMatchScene scene = sceneOf(random, board);
    scene.params.minCoverage(random.uniform(0.1, 0.6));
    return scene;
}

// A plate that goes on around the pattern: many placements score alike.
GridMatchScene largerPlate(Random& random) {
    Board board = someBoard(random);
    const long more = random.integer(1, 3);
    for (const rxPair<long>& p : block(board.columns + 2 * more, board.rows + more)) {
        const rxPair<long> q = p - rxPair<long>(more, 0);
        const bool isInside =
            std::find(board.positions.begin(), board.positions.end(), q) != board.positions.end();
        if (!isInside && random.chance(0.8)) board.surrounding.push_back(q);
    }
    return sceneOf(random, board);
}

GridMatchScene twoOccurrences(Random& random) {
    Board board = someBoard(random);
    const rxPair<long> away{board.columns + random.integer(0, 1), random.integer(-1, 1)};
    for (const rxPair<long>& p : board.positions) board.surrounding.push_back(p + away);
    GridMatchScene scene = sceneOf(random, board);
    scene.params.maxNumResults(random.integer(2, 5));
    return scene;
}

GridMatchScene staggered(Random& random) {
    Board board = someBoard(random);
    board.columns = random.integer(6, 11);
    board.rows = random.integer(5, 9);
    const long odd = random.integer(0, 1);
    board.positions = block(board.columns, board.rows);
    std::erase_if(board.positions,
                  [&](const rxPair<long>& p) { return (p.x() + p.y()) % 2 != odd; });
    thin(random, board.positions, 0.08);
    board.offset = {random.integer(-3, 3), random.integer(-3, 3)};
    return sceneOf(random, board);
}

GridMatchScene lineOf(Random& random, bool isRow) {
    Board board = someBoard(random);
    const long length = random.integer(11, 20);
    board.columns = isRow ? length : 1;
    board.rows = isRow ? 1 : length;
    board.positions = block(board.columns, board.rows);
    // Ten in one piece, so that it is not sparse.
    board.positions.erase(board.positions.begin() + 10);
    return sceneOf(random, board);
}

GridMatchScene singleRow(Random& random) {
    return lineOf(random, true);
}

GridMatchScene singleColumn(Random& random) {
    return lineOf(random, false);
}

// A line of a whole plate. What lies beside it has whole positions only where both steps are equal.
GridMatchScene lineOfAPlate(Random& random) {
    Board board = someBoard(random);
    board.modelFromGrid = linear(10.0, 0.0, 0.0, random.pick<double>({10.0, 8.3, 12.4}));
    const bool isRow = random.chance(0.5);
    const long length = random.integer(11, 14);
    board.columns = isRow ? length : 1;
    board.rows = isRow ? 1 : length;
    board.positions = block(board.columns, board.rows);
    for (const rxPair<long>& p : block(isRow ? length : 5, isRow ? 5 : length)) {
        const rxPair<long> beside = p - (isRow ? rxPair<long>(0, 2) : rxPair<long>(2, 0));
        if ((isRow ? beside.y() : beside.x()) != 0) board.surrounding.push_back(beside);
    }
    return sceneOf(random, board);
}

// Of a plate, only one row is seen: the pairs of a result lie on a line.
GridMatchScene oneRowSeen(Random& random) {
    Board board = someBoard(random);
    board.positions = block(board.columns, 3);
    board.rows = 3;
    GridMatchScene scene = sceneOf(random, board);
    const rxXform<2> dataFromGrid = board.dataFromModel * board.modelFromGrid;
    scene.data.clear();
    for (long x = 0; x < board.columns; ++x) {
        const rxVector<2> node = dataFromGrid * rxVector<2>(rxPair<long>(x, 1));
        scene.data.push_back(node + someShift(random, 0.5 * board.jitter));
    }
    scene.params.minCoverage(random.uniform(0.1, 0.33));
    return scene;
}

GridMatchScene margins(Random& random) {
    Board board = someBoard(random);
    board.margin = {random.integer(0, 3), random.integer(0, 3)};
    board.farMargin = random.integer(0, 2);
    board.offset = {random.integer(-5, 5), random.integer(-5, 5)};
    return sceneOf(random, board);
}

/// A change of client coordinates of that board, under which the camera sees the same.
GridMatchScene withClient(Random& random, Board board, const rxXform<2>& newFromOld) {
    board.dataFromModel = board.dataFromModel * newFromOld.inverse();
    board.modelFromGrid = newFromOld * board.modelFromGrid;
    return sceneOf(random, board);
}

GridMatchScene clientMoved(Random& random) {
    const Board board = someBoard(random);
    return withClient(random, board, turned(0.0, 1.0, someShift(random, 500.0)));
}

// So far that the steps between its grid positions lose most of their digits.
GridMatchScene clientFarAway(Random& random) {
    Board board = someBoard(random);
    board.modelFromGrid = linear(10.3, 0.0, 0.0, 9.9);
    const double extent = random.pick<double>({1e13, 1e15, 4e15});
    GridMatchScene scene = withClient(random, board, turned(0.0, 1.0, someShift(random, extent)));
    scene.params.autoCaptureRange(false);
    scene.params.captureRange(std::max(0.5, board.jitter));
    return scene;
}

// Moved back before the camera, so that the steps keep their directions and lengths in the data.
GridMatchScene clientOf(Random& random, const rxXform<2>& shape) {
    Board board = someBoard(random);
    board.modelFromGrid = shape * board.modelFromGrid;
    board.modelFromGrid.trans(someShift(random, 30.0));
    board.offset = {random.integer(-4, 4), random.integer(-4, 4)};
    return sceneOf(random, board);
}

GridMatchScene clientTurned(Random& random) {
    return clientOf(random, turned(random.uniform(-180.0, 180.0), 1.0, {}));
}

GridMatchScene clientScaled(Random& random) {
    const double x = random.uniform(0.2, 3.0);
    return clientOf(random, linear(x, 0.0, 0.0, random.uniform(0.2, 3.0)));
}

GridMatchScene clientSheared(Random& random) {
    const double shear = random.uniform(-0.6, 0.6);
    return clientOf(random, linear(1.0, shear, random.uniform(-0.3, 0.3), 1.0));
}

GridMatchScene clientMirrored(Random& random) {
    return clientOf(
        random, random.pick<rxXform<2>>({linear(-1.0, 0.0, 0.0, 1.0), linear(1.0, 0.0, 0.0, -1.0),
                                         linear(0.0, 1.0, 1.0, 0.0)}));
}

GridMatchScene singularClient(Random& random) {
    return clientOf(
        random, random.pick<rxXform<2>>({linear(0.0, 0.0, 0.0, 0.0), linear(1.0, 0.0, 0.0, 0.0),
                                         linear(0.0, 0.0, 1.0, 0.0), linear(1.0, 2.0, 2.0, 4.0)}));
}

GridMatchScene captureGiven(Random& random) {
    GridMatchScene scene = random.chance(0.5) ? jitter(random) : clutter(random);
    scene.params.autoCaptureRange(random.chance(0.3));
    scene.params.captureRange(random.pick<double>({0.0, 0.5, 1.0, 3.0, 5.0}));
    return scene;
}

// Everything is near enough to its node; the same node over and over.
GridMatchScene captureHuge(Random& random) {
    GridMatchScene scene = clutter(random);
    scene.params.autoCaptureRange(false);
    scene.params.captureRange(random.pick<double>({8.0, 1e4}));
    return scene;
}

// All within half a step: one position has them all, and no transform is determined.
GridMatchScene oneCellSeen(Random& random) {
    GridMatchScene scene = board(random);
    scene.data.clear();
    const double spacing = random.uniform(1.1, 1.5);
    for (long k = random.integer(3, 4); k > 0; --k) {
        scene.data.emplace_back(spacing * static_cast<double>(k), 0.0);
    }
    scene.params.scaleUncertainty(rxRange(-0.9, 0.0));
    scene.params.autoCaptureRange(false);
    scene.params.captureRange(100.0);
    return scene;
}

// Exactly on a line that is none of the grid: positions in two directions, points in one.
GridMatchScene slantedLineSeen(Random& random) {
    GridMatchScene scene = board(random);
    const rxVector<2> step = random.pick<rxVector<2>>({{10.0, 5.0}, {8.0, 4.0}, {10.0, 2.5}});
    scene.data.clear();
    for (long k = 0; k < 12; ++k) {
        scene.data.emplace_back(static_cast<double>(k) * step.x(),
                                static_cast<double>(k) * step.y());
    }
    scene.params.autoCaptureRange(false);
    scene.params.captureRange(random.pick<double>({6.0, 10.0, 100.0}));
    scene.params.minCoverage(0.1);
    const double half = random.uniform(1.0, 30.0);
    scene.params.rotationUncertainty(degrees(-half, half));
    return scene;
}

GridMatchScene scaleRanges(Random& random) {
    Board board = someBoard(random);
    board.dataFromModel = turned(3.0, random.uniform(0.7, 1.5), {5.0, 5.0});
    GridMatchScene scene = sceneOf(random, board);
    const double start = random.uniform(-0.6, 0.1);
    scene.params.scaleUncertainty(rxRange(start, start + random.uniform(0.0, 1.0)));
    return scene;
}

GridMatchScene rotationRanges(Random& random) {
    Board board = someBoard(random);
    const double angle = random.uniform(-180.0, 180.0);
    board.dataFromModel = turned(angle, 1.0, someShift(random, 50.0));
    GridMatchScene scene = sceneOf(random, board);
    const double half = random.pick<double>({0.0, 1.0, 5.0, 40.0});
    scene.params.rotationUncertainty(random.chance(0.3) ? rxAngleRange::FullRange()
                                                        : degrees(angle - half, angle + half));
    return scene;
}

// Grid mode knows neither a start pose nor windows of translation.
GridMatchScene poseIsIgnored(Random& random) {
    GridMatchScene scene = board(random);
    scene.params.startPose(turned(random.uniform(-180.0, 180.0), 3.0, {1000.0, -500.0}));
    scene.params.xTranslationUncertainty(rxRange(5.0, 6.0));
    scene.params.yTranslationUncertainty(rxRange(-100.0, -90.0));
    return scene;
}

GridMatchScene coverageAtTheEnds(Random& random) {
    GridMatchScene scene = random.chance(0.5) ? noiseFree(random) : largerPlate(random);
    scene.params.minCoverage(random.pick<double>({0.02, 0.05, 0.1, 0.95, 1.0}));
    return scene;
}

GridMatchScene coverageOfNothing(Random& random) {
    GridMatchScene scene = board(random);
    scene.params.minCoverage(random.pick<double>({0.0, 1e-9}));
    return scene;
}

GridMatchScene samePointsTwice(Random& random) {
    GridMatchScene scene = board(random);
    const std::vector<rxVector<2>> once = scene.data;
    for (const rxVector<2>& p : once) {
        if (random.chance(0.3)) scene.data.push_back(p);
        if (random.chance(0.2)) scene.data.push_back(p + someShift(random, 1.0));
    }
    if (random.chance(0.5)) shuffle(random, scene.data);
    return scene;
}

// A pattern that looks the same from many places, on whole coordinates: coverage and error tie.
GridMatchScene tiesOfResults(Random& random) {
    Board board = someBoard(random);
    board.columns = random.integer(4, 5);
    board.rows = random.integer(3, 4);
    board.positions = block(board.columns, board.rows);
    for (const rxPair<long>& p : block(board.columns + 2, board.rows + 2)) {
        if (p.x() >= board.columns || p.y() >= board.rows) board.surrounding.push_back(p);
    }
    board.jitter = 0.0;
    board.missing = 0.0;
    board.dataFromModel = turned(0.0, 1.0, {static_cast<double>(random.integer(-9, 9)), 4.0});
    GridMatchScene scene = sceneOf(random, board);
    scene.params.maxNumResults(random.integer(2, 12));
    return scene;
}

GridMatchScene noData(Random& random) {
    GridMatchScene scene = board(random);
    scene.data.clear();
    return scene;
}

GridMatchScene fewData(Random& random) {
    GridMatchScene scene = board(random);
    scene.data.resize(
        std::min<std::size_t>(scene.data.size(), static_cast<std::size_t>(random.integer(1, 8))));
    scene.params.minCoverage(random.uniform(0.02, 0.1));
    return scene;
}

/// At most 9 points.
Board smallBoard(Random& random) {
    Board board = someBoard(random);
    board.columns = random.integer(2, 5);
    board.rows = random.integer(2, 4);
    board.positions = block(board.columns, board.rows);
    shuffle(random, board.positions);
    const long count = random.integer(4, 9);
    if (static_cast<long>(board.positions.size()) > count) {
        board.positions.resize(static_cast<std::size_t>(count));
    }
    board.dataFromModel = turned(random.uniform(-12.0, 12.0), 1.0, {30.0, -7.0});
    board.jitter = random.uniform(0.0, 0.4);
    board.missing = random.pick<double>({0.0, 0.0, 0.1});
    return board;
}

GridMatchScene sparseOf(Random& random, const Board& board) {
    GridMatchScene scene = sceneOf(random, board);
    scene.params.scaleUncertainty(rxRange(0.0, 0.0));
    return scene;
}

GridMatchScene small(Random& random) {
    return sparseOf(random, smallBoard(random));
}

GridMatchScene smallInClutter(Random& random) {
    Board board = smallBoard(random);
    board.clutter = random.integer(3, 12);
    return sparseOf(random, board);
}

// Ten and more points, none of which has two neighbours.
GridMatchScene withoutNeighbours(Random& random) {
    Board board = someBoard(random);
    board.positions.clear();
    const long stride = random.integer(2, 3);
    const bool hasPairs = stride == 3 && random.chance(0.5);
    board.columns = 5 * stride;
    board.rows = 3 * stride;
    for (const rxPair<long>& p : block(5, 3)) {
        const rxPair<long> place(p.x() * stride, p.y() * stride);
        if (random.chance(0.15)) continue;
        board.positions.push_back(place);
        if (hasPairs && random.chance(0.3)) board.positions.push_back(place + rxPair<long>(1, 0));
    }
    board.dataFromModel = turned(random.uniform(-10.0, 10.0), 1.0, {3.0, 4.0});
    board.jitter = random.uniform(0.0, 0.5);
    return sparseOf(random, board);
}

GridMatchScene shortRow(Random& random) {
    Board board = smallBoard(random);
    const long length = random.integer(3, 9);
    const bool isRow = random.chance(0.5);
    board.columns = isRow ? length : 1;
    board.rows = isRow ? 1 : length;
    board.positions = block(board.columns, board.rows);
    return sparseOf(random, board);
}

// The positions of the model leave the empty margin out of account.
GridMatchScene smallWithMargins(Random& random) {
    Board board = smallBoard(random);
    board.margin = {random.integer(0, 2), random.integer(0, 2)};
    board.farMargin = random.integer(0, 2);
    board.offset = {random.integer(-5, 5), random.integer(-5, 5)};
    return sparseOf(random, board);
}

// Nothing of it is left in the pattern.
GridMatchScene smallBeyondItsMargins(Random& random) {
    Board board = smallBoard(random);
    board.margin = {random.integer(5, 8), random.integer(0, 2)};
    return sparseOf(random, board);
}

GridMatchScene smallClient(Random& random, const rxXform<2>& shape) {
    Board board = smallBoard(random);
    board.modelFromGrid = shape * board.modelFromGrid;
    board.modelFromGrid.trans(someShift(random, 30.0));
    board.offset = {random.integer(-4, 4), random.integer(-4, 4)};
    return sparseOf(random, board);
}

GridMatchScene smallClientTurned(Random& random) {
    const double angle = random.uniform(-180.0, 180.0);
    return smallClient(random, turned(angle, random.uniform(0.5, 2.0), {}));
}

GridMatchScene smallClientSheared(Random& random) {
    const double shear = random.uniform(-0.6, 0.6);
    return smallClient(random, linear(random.pick<double>({1.0, -1.0}), shear, 0.1, 1.3));
}

GridMatchScene smallSingularClient(Random& random) {
    return smallClient(
        random, random.pick<rxXform<2>>({linear(0.0, 0.0, 0.0, 0.0), linear(1.0, 0.0, 0.0, 0.0),
                                         linear(1.0, 2.0, 2.0, 4.0)}));
}

GridMatchScene smallSeveralResults(Random& random) {
    Board board = smallBoard(random);
    for (long k = random.integer(1, 2); k > 0; --k) {
        const rxPair<long> away{random.integer(-4, 4), random.integer(3, 6)};
        for (const rxPair<long>& p : board.positions) board.surrounding.push_back(p + away);
    }
    GridMatchScene scene = sparseOf(random, board);
    scene.params.minCoverage(random.uniform(0.3, 0.7));
    scene.params.maxNumResults(random.integer(2, 6));
    return scene;
}

// The nested search starts in the middle of the range, and is given the range besides.
GridMatchScene smallRotationRanges(Random& random) {
    Board board = smallBoard(random);
    const double angle = random.uniform(-180.0, 180.0);
    board.dataFromModel = turned(angle, 1.0, someShift(random, 20.0));
    GridMatchScene scene = sparseOf(random, board);
    const double middle = 0.5 * angle;
    const double half = random.uniform(1.0, 12.0);
    scene.params.rotationUncertainty(random.chance(0.3) ? rxAngleRange::FullRange()
                                                        : degrees(middle - half, middle + half));
    return scene;
}

GridMatchScene smallScaleRanges(Random& random) {
    Board board = smallBoard(random);
    board.dataFromModel = turned(2.0, random.uniform(0.85, 1.2), {9.0, -9.0});
    GridMatchScene scene = sparseOf(random, board);
    scene.params.scaleUncertainty(rxRange(-0.15, 0.2));
    return scene;
}

GridMatchScene smallSizesGiven(Random& random) {
    GridMatchScene scene = small(random);
    scene.params.autoGridSize(random.chance(0.5));
    scene.params.gridSize(random.uniform(0.9, 4.0));
    scene.params.autoCaptureRange(random.chance(0.5));
    scene.params.captureRange(random.pick<double>({0.0, 0.5, 2.0, 9.0}));
    return scene;
}

GridMatchScene smallPoseIsIgnored(Random& random) {
    GridMatchScene scene = small(random);
    scene.params.startPose(turned(90.0, 2.0, {100.0, 0.0}));
    scene.params.xTranslationUncertainty(rxRange(5.0, 6.0));
    return scene;
}

GridMatchScene smallCoverages(Random& random) {
    GridMatchScene scene = smallInClutter(random);
    scene.params.minCoverage(random.pick<double>({0.0, 0.05, 0.9, 1.0}));
    scene.params.maxNumResults(random.integer(1, 5));
    return scene;
}

GridMatchScene smallSamePointsTwice(Random& random) {
    GridMatchScene scene = small(random);
    const std::vector<rxVector<2>> once = scene.data;
    scene.data.insert(scene.data.end(), once.begin(), once.end());
    return scene;
}

GridMatchScene smallWithoutData(Random& random) {
    GridMatchScene scene = small(random);
    scene.data.clear();
    return scene;
}

}  // namespace

const std::vector<SceneKind<GridMatchScene>>& densePatternScenes() {
    using enum Outcome;
    static const std::vector<SceneKind<GridMatchScene>> kinds{
        {"board", board},
        {"noiseFree", noiseFree},
        {"exactDistances", exactDistances},
        {"jitter", jitter},
        {"clutter", clutter},
        {"missingPoints", missingPoints},
        {"largerPlate", largerPlate},
        {"twoOccurrences", twoOccurrences},
        {"staggered", staggered},
        {"singleRow", singleRow},
        {"singleColumn", singleColumn},
        {"lineOfAPlate", lineOfAPlate},
        {"oneRowSeen", oneRowSeen},
        {"margins", margins},
        {"clientMoved", clientMoved},
        {"clientFarAway", clientFarAway, eSomeFind},
        {"clientTurned", clientTurned},
        {"clientScaled", clientScaled},
        {"clientSheared", clientSheared},
        {"clientMirrored", clientMirrored},
        {"singularClient", singularClient, eNothing},
        {"captureGiven", captureGiven},
        {"captureHuge", captureHuge},
        {"oneCellSeen", oneCellSeen, eNothing},
        {"slantedLineSeen", slantedLineSeen},
        {"scaleRanges", scaleRanges, eSomeFind},
        {"rotationRanges", rotationRanges},
        {"poseIsIgnored", poseIsIgnored},
        {"coverageAtTheEnds", coverageAtTheEnds},
        {"coverageOfNothing", coverageOfNothing, eNothing},
        {"samePointsTwice", samePointsTwice},
        {"tiesOfResults", tiesOfResults},
        {"noData", noData, eNothing},
        {"fewData", fewData, eSomeFind},
    };
    return kinds;
}

const std::vector<SceneKind<GridMatchScene>>& sparsePatternScenes() {
    using enum Outcome;
    static const std::vector<SceneKind<GridMatchScene>> kinds{
        {"small", small},
        {"smallInClutter", smallInClutter},
        {"withoutNeighbours", withoutNeighbours},
        {"shortRow", shortRow},
        {"smallWithMargins", smallWithMargins},
        {"smallBeyondItsMargins", smallBeyondItsMargins},
        {"smallClientTurned", smallClientTurned},
        {"smallClientSheared", smallClientSheared},
        {"smallSingularClient", smallSingularClient, eNothing},
        {"smallSeveralResults", smallSeveralResults},
        {"smallRotationRanges", smallRotationRanges, eSomeFind},
        {"smallScaleRanges", smallScaleRanges},
        {"smallSizesGiven", smallSizesGiven},
        {"smallPoseIsIgnored", smallPoseIsIgnored},
        {"smallCoverages", smallCoverages},
        {"smallSamePointsTwice", smallSamePointsTwice},
        {"smallWithoutData", smallWithoutData, eNothing},
    };
    return kinds;
}

}  // namespace ptmatch::reference
