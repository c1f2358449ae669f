#include "grid_map_command.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <ostream>
#include <vector>

#include "csv_points.h"
#include "grid_map_json.h"
#include "grid_map_picture.h"
#include "grid_map_report.h"
#include "grid_map_table.h"
#include "grid_mapping.h"
#include "input_error.h"
#include "interrupt_guard.h"
#include "number_text.h"
#include "option_text.h"
#include "output_file.h"
#include "output_targets.h"
#include "progress_watch.h"

namespace ptmatch::tool {
namespace {

void checkBounds(const GridMapOptions& options) {
    constexpr double kMostDegrees = 1000.0;
    if (options.snap && *options.snap < 0.0) {
        throw InputError("--snap: must not be negative, found " + shortText(*options.snap));
    }
    if (!options.sizeTolerance.isFull && options.sizeTolerance.low < 0.0) {
        throw InputError("--size-tol: LO must not be negative, found " +
                         shortText(options.sizeTolerance.low));
    }
    const Interval& angles = options.angleToleranceDeg;
    if (!angles.isFull && std::max(std::abs(angles.low), std::abs(angles.high)) > kMostDegrees) {
        throw InputError("--angle-tol: must be within -1000 to 1000 degrees");
    }
}

GridMapReport reportFor(const GridMapOptions& options) {
    GridMapReport report;
    report.dataFile = options.dataFile;
    report.staggered = options.staggered;
    report.keepsAll = options.keepAll;
    report.sizeTolerance = options.sizeTolerance;
    report.angleToleranceDeg = options.angleToleranceDeg;
    report.data = readPoints(options.dataFile);
    return report;
}

void search(const GridMapOptions& options, GridMapReport& report) {
    const InterruptGuard guard(InterruptGuard::Way::kExitAtOnce);
    report.choice =
        chooseSteps(options.steps, report.data.points, options.staggered, options.dataFile);
    report.snap = options.snap.value_or(defaultSnap(report.choice.steps, report.staggered));
    mapToGrid(report);
}

// Says so when the grid found is of another size than was allowed. The tolerance holds for the
// distances of neighbours, and a few of them can lead a mapping to a grid of another step.
void noteOtherSteps(const GridMapReport& report, std::ostream& notes) {
    const Interval& allowed = report.sizeTolerance;
    if (allowed.isFull) return;
    const rxMatrix<2>& matrix = report.dataFromGrid->matrix();
    const GridSteps found{{matrix.element(0, 0), matrix.element(1, 0)},
                          {matrix.element(0, 1), matrix.element(1, 1)}};
    const GridSteps& given = report.choice.steps;
    const bool isRow = given.xv.isNull() || given.yv.isNull();
    if (isRow) return;  // the step across a row is not measured
    const std::vector<rxVector<2>> foundLinks = linksOf(found, report.staggered);
    const std::vector<rxVector<2>> givenLinks = linksOf(given, report.staggered);
    for (std::size_t k = 0; k < givenLinks.size(); ++k) {
        const double ratio = foundLinks[k].len() / givenLinks[k].len();
        if (ratio >= allowed.low && ratio <= allowed.high) continue;
        notes << "ptmatch: note: neighbours of the grid found are " << fixedText(ratio, 2)
              << " of the given step apart, which --size-tol does not allow: are the steps right?"
              << std::endl;
        return;
    }
}

// Says so when a part of the plate was left out.
void notePartialGrid(const GridMapReport& report, std::ostream& notes) {
    constexpr std::size_t kFewByChance = 3;
    const GridMapFigures figures = figuresOf(report);
    if (figures.goesOn < std::max(kFewByChance, figures.placed / 20)) return;
    notes << "ptmatch: note: the grid seems to go on at " << figures.goesOn
          << " points that were not placed: perspective or distortion carries them farther than "
             "--snap "
          << fixedText(report.snap, 3) << " from an even grid; a larger --snap may place them"
          << std::endl;
}

}  // namespace

CLI::App* addGridMapCommand(CLI::App& app, GridMapOptions& options) {
    CLI::App* const command =
        app.add_subcommand("grid-map", "Place points on the grid that they lie on");
    command->add_option("--data", options.dataFile, "Table of the points: x,y (required)")
        ->type_name("FILE");
    command->add_flag("--json", options.json, "Print the result as JSON");
    addFile(*command, "--csv", "Write x,y,i,j of every point into this file", options.csvFile);
    addPictureOptions(*command, options.picture, "Draw points and grid", true);
    addStepOptions(*command, options.steps);
    command
        ->add_flag("--staggered", options.staggered,
                   "Only positions with an even sum carry a point, as on a checkerboard")
        ->group("Run parameters");
    addNumber(*command, "--snap",
              "Largest distance of a point from its node, data units (default: three tenths of the "
              "shortest distance of neighbours; 0: two tenths)",
              options.snap);
    addInterval(*command, "--size-tol",
                "Distance of neighbours against the steps, as ratio (default 0.8,1.2)",
                options.sizeTolerance);
    addInterval(*command, "--angle-tol",
                "Rotation of the grid against the steps, degrees (default -20,20)",
                options.angleToleranceDeg);
    command
        ->add_flag("--keep-all", options.keepAll,
                   "Keep points at positions that are not connected with the largest part of the "
                   "grid, and all points at one position")
        ->group("Run parameters");
    // Looked at last, so that a misspelt option is what the message is about.
    command->callback([&options] {
        if (options.dataFile.empty()) throw CLI::RequiredError("--data");
    });
    return command;
}

int runGridMap(const GridMapOptions& options, std::ostream& out, std::ostream& notes) {
    checkBounds(options);
    const PictureOptions asked = pictureOfTable(options.picture, options.dataFile);
    requireSparedInputs(
        {{options.csvFile, "--csv"}, {asked.svgFile, "--svg"}, {asked.pngFile, "--png"}},
        {{options.dataFile, "the table of the data"}, {asked.backgroundFile, "the photograph"}});
    PictureOutput picture(asked);
    GridMapReport report = reportFor(options);
    {
        const ProgressWatch watch(elapsedText);
        search(options, report);
    }
    if (report.dataFromGrid) {
        notePartialGrid(report, notes);
        noteOtherSteps(report, notes);
    } else {
        notes << "ptmatch: note: " << whyNothingPlaced(report) << std::endl;
    }
    std::optional<PreparedFile> csv;
    picture.noteStrayPoints(report.data.points, notes);
    if (!options.csvFile.empty()) csv.emplace(options.csvFile, gridMapCsv(report));
    picture.draw([&](const PictureStyle& style) { return gridMapPicture(report, style); });
    out << (options.json ? gridMapJson(report) : gridMapTable(report)) << std::flush;
    if (!out) throw InputError("the results cannot be written to standard output");
    if (csv) csv->commit();
    picture.commit();
    return report.dataFromGrid ? kExitFound : kExitNothingFound;
}

}  // namespace ptmatch::tool
