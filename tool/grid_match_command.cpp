#include "grid_match_command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <functional>
#include <memory>
#include <ostream>

#include "batch_table.h"
#include "grid_match_batch.h"
#include "grid_match_json.h"
#include "grid_match_picture.h"
#include "grid_match_report.h"
#include "grid_match_search.h"
#include "grid_match_table.h"
#include "grid_matching.h"
#include "input_error.h"
#include "interrupt_guard.h"
#include "option_text.h"
#include "output_file.h"
#include "output_targets.h"
#include "progress_watch.h"
#include "scale_note.h"

namespace ptmatch::tool {
namespace {

// A pattern without neighbours is taken for a staggered one. Positions of which some have an even
// and some an odd sum lie on no staggered grid.
void noteMixedPattern(const GridPattern& pattern, std::ostream& notes) {
    if (!pattern.isStaggered() || pattern.isSparse()) return;
    const auto isOdd = [](const rxPair<long>& p) { return (p.x() + p.y()) % 2 != 0; };
    const auto odd = std::count_if(pattern.positions.begin(), pattern.positions.end(), isOdd);
    if (odd == 0 || std::cmp_equal(odd, pattern.positions.size())) return;
    notes << "ptmatch: note: no two positions of the pattern are side by side, so it is taken for "
             "a staggered one, but its positions do not all fit a staggered grid: a part of it "
             "cannot be found; choose a part of the plate with two neighbouring dots"
          << std::endl;
}

void writeNotes(const GridMatchReport& report, std::ostream& notes) {
    noteMixedPattern(report.pattern, notes);
    if (report.placements.empty()) {
        notes << "ptmatch: note: " << whyNothingMatched(report) << std::endl;
        return;
    }
    const long beyond = report.placements.front().reachesBeyond.value_or(0);
    if (beyond == 0) return;
    notes
        << "ptmatch: note: the best placement reaches " << beyond
        << (beyond == 1 ? " row or column" : " rows or columns")
        << " beyond the grid that was seen; 2 is the most that is looked for, so a better one may "
           "lie further out"
        << std::endl;
}

// With the same steps for all data sets, all share the same matchers. Steps that are proposed from
// the data need matchers of their own.
std::function<void(GridMatchReport&)> searchOfBatch(const std::optional<double>& snap,
                                                    const StepOptions& steps) {
    if (!steps.xv && !steps.yv) {
        return [snap](GridMatchReport& report) { searchPattern(snap, {}, report); };
    }
    const auto trained = std::make_shared<TrainedViews>();
    return [snap, steps, trained](GridMatchReport& report) {
        searchPattern(snap, steps, report, *trained);
    };
}

int runBatchOfGridMatches(const GridMatchOptions& options, const StepOptions& steps,
                          GridMatchReport common, std::ostream& out, std::ostream& notes) {
    requireNoFileOfBatch({{options.csvFile, "--csv"}});
    noteMixedPattern(common.pattern, notes);
    const auto batch = std::make_shared<GridMatchBatch>();
    batch->common = std::move(common);
    batch->search = searchOfBatch(options.snap, steps);
    batch->jobs = options.data.jobs;
    batch->sets = dataSetsOf(options.data);
    batch->pictures =
        picturesOfSets(options.picture, batch->sets, {options.patternFile, "the pattern"});
    {
        const InterruptGuard guard(InterruptGuard::Way::kAskSearch);
        runGridMatchBatch(batch);
    }
    return finishBatch(batch->end, batch->numFound() > 0,
                       options.json ? gridMatchBatchJson(*batch) : gridMatchBatchTable(*batch), out,
                       notes);
}

}  // namespace

CLI::App* addGridMatchCommand(CLI::App& app, GridMatchOptions& options) {
    CLI::App* const command = app.add_subcommand(
        "grid-match", "Find where a pattern of grid positions lies among points");
    command
        ->add_option(
            "--pattern", options.patternFile,
            "Set positions of the grid: PGM, rows of '.' and 'x', or a trained matcher (required)")
        ->type_name("FILE");
    addDataOptions(*command, options.data);
    command->add_flag("--json", options.json, "Print the results as JSON");
    addFile(*command, "--csv", "Write column,row,data,x,y of the best placement into this file",
            options.csvFile);
    addPictureOptions(*command, options.picture, "Draw the best placement", true);
    addStepOptions(*command, options.steps);
    addNumber(*command, "--snap",
              "Largest distance of a point from its position, data units (default: three tenths of "
              "the shortest distance of neighbours; 0: the matcher's own choice)",
              options.snap);
    addInterval(*command, "--rotation",
                "Rotation of the pattern against the steps, degrees (default -20,20)",
                options.rotationDeg);
    addText(*command, "--scale", "LO,HI",
            "Size of the grid against the steps, as change (default -0.2,0.2)",
            [&options](const std::string& text) { options.scale = parseInterval(text); });
    addNumber(*command, "--min-coverage",
              "Smallest share of the pattern that counts as found, 0 to 1 (default 0.5)",
              options.minCoverage);
    addCount(*command, "--max-results", "Largest number of placements to report (default 1)",
             options.maxResults);
    // Looked at last, so that a misspelt option is what the message is about.
    command->callback([&options] {
        if (options.patternFile.empty()) throw CLI::RequiredError("--pattern");
        if (!options.data.isGiven()) throw CLI::RequiredError("--data");
    });
    return command;
}

int runGridMatch(const GridMatchOptions& options, std::ostream& out, std::ostream& notes) {
    GridMatchSetup setup = readGridMatch(options);
    noteScaleElsewhere(options.scale, notes);
    const StepOptions& steps = setup.steps;
    GridMatchReport& report = setup.report;
    if (options.data.isBatch()) {
        return runBatchOfGridMatches(options, steps, std::move(report), out, notes);
    }
    report.dataFile = options.data.files.front();
    const PictureOptions asked = pictureOfTable(options.picture, report.dataFile);
    requireSparedInputs(
        {{options.csvFile, "--csv"}, {asked.svgFile, "--svg"}, {asked.pngFile, "--png"}},
        {{options.patternFile, "the pattern"},
         {report.dataFile, "the table of the data"},
         {asked.backgroundFile, "the photograph"}});
    PictureOutput picture(asked);
    report.data = readPoints(report.dataFile);
    {
        const ProgressWatch watch(elapsedText);
        const InterruptGuard guard(InterruptGuard::Way::kExitAtOnce);
        searchPattern(options.snap, steps, report);
    }
    writeNotes(report, notes);
    std::optional<PreparedFile> csv;
    picture.noteStrayPoints(report.data.points, notes);
    if (!options.csvFile.empty()) csv.emplace(options.csvFile, gridMatchCsv(report));
    picture.draw([&](const PictureStyle& style) { return gridMatchPicture(report, style); });
    out << (options.json ? gridMatchJson(report) : gridMatchTable(report)) << std::flush;
    if (!out) throw InputError("the results cannot be written to standard output");
    if (csv) csv->commit();
    picture.commit();
    return report.placements.empty() ? kExitNothingFound : kExitFound;
}

}  // namespace ptmatch::tool
