#include "fit_command.h"

#include <CLI/CLI.hpp>
#include <ostream>
#include <utility>

#include "fit_json.h"
#include "fit_picture.h"
#include "fit_report.h"
#include "fit_table.h"
#include "input_error.h"
#include "interrupt_guard.h"
#include "number_text.h"
#include "option_text.h"
#include "output_file.h"
#include "output_targets.h"
#include "pair_table.h"

namespace ptmatch::tool {
namespace {

void noteWarnings(const FitReport& report, std::ostream& notes) {
    if (report.pairs.leavesOutZ) {
        notes << "ptmatch: note: " << report.traits().name
              << " is a model of the plane: the columns az and bz are not used" << std::endl;
    }
    for (const FitWarning& warning : report.warnings) {
        notes << "ptmatch: warning: " << warning.message << std::endl;
    }
}

std::string resultText(const FitOptions& options, const FitReport& report) {
    if (options.json) return fitJson(report);
    return fitTable(report) + (options.residuals ? "\n" + residualTable(report) : "");
}

std::vector<rxVector<2>> measuredPoints(const FitReport& report) {
    std::vector<rxVector<2>> points;
    for (const Coordinates& b : report.pairs.b) points.emplace_back(b[0], b[1]);
    return points;
}

FitReport fitAsAsked(const FitOptions& options) {
    const InterruptGuard guard(InterruptGuard::Way::kExitAtOnce);
    PairTable pairs = readPairs(options.pairsFile, traitsOf(*options.model).dimensions);
    return reportOnFit(*options.model, std::move(pairs), options.pairsFile);
}

constexpr auto kExamples =
    "Examples:\n"
    "  ptmatch fit --pairs pairs.csv --model affine\n"
    "      the affine transform from the points a to the points b of a table ax,ay,bx,by\n"
    "  ptmatch fit --pairs pairs.csv --model perspective --residuals --svg residuals.svg\n"
    "      a perspective one, with the residual of every pair as table and picture\n"
    "  ptmatch fit --pairs marks.csv --model rigid3d --json\n"
    "      rotation and translation of space from a table ax,ay,az,bx,by,bz, as JSON\n";

}  // namespace

CLI::App* addFitCommand(CLI::App& app, FitOptions& options) {
    CLI::App* const command =
        app.add_subcommand("fit", "Fit a transform to pairs of points that belong together");
    command
        ->add_option("--pairs", options.pairsFile,
                     "Table of the pairs: ax,ay,bx,by, for space ax,ay,az,bx,by,bz (required)")
        ->type_name("FILE");
    command
        ->add_option_function<std::string>(
            "--model",
            [&options](const std::string& name) {
                options.model = modelNamed(name);
                if (options.model) return;
                throw CLI::ValidationError(
                    "--model", "expected one of " + modelNames() + ", found " + inQuotes(name));
            },
            "What to fit (required)")
        ->type_name(modelNames("|"));
    command->add_flag("--json", options.json, "Print the result as JSON");
    command->add_flag("--residuals", options.residuals,
                      "Print the residuals of all pairs, too (JSON always holds them)");
    addFile(*command, "--csv", "Write every pair with its residual into this file",
            options.csvFile);
    addPictureOptions(*command, options.picture, "Draw the residuals (models of the plane)", true);
    command->footer(kExamples);
    // Looked at last, so that a misspelt option is what the message is about.
    command->callback([&options] {
        if (options.pairsFile.empty()) throw CLI::RequiredError("--pairs");
        if (!options.model) throw CLI::RequiredError("--model");
    });
    return command;
}

int runFit(const FitOptions& options, std::ostream& out, std::ostream& notes) {
    const PictureOptions asked = pictureOfTable(options.picture, options.pairsFile);
    requireSparedInputs(
        {{options.csvFile, "--csv"}, {asked.svgFile, "--svg"}, {asked.pngFile, "--png"}},
        {{options.pairsFile, "the table of the pairs"}, {asked.backgroundFile, "the photograph"}});
    const FitModelTraits& traits = traitsOf(*options.model);
    if (asked.isAsked() && traits.dimensions == 3) {
        throw InputError(std::string(asked.svgFile.empty() ? "--png" : "--svg") +
                         ": there is no picture of " + traits.name + ", a model of space");
    }
    PictureOutput picture(asked);
    const FitReport report = fitAsAsked(options);
    noteWarnings(report, notes);
    std::optional<PreparedFile> csv;
    picture.noteStrayPoints(measuredPoints(report), notes);
    if (!options.csvFile.empty()) csv.emplace(options.csvFile, fitCsv(report));
    picture.draw([&](const PictureStyle& style) { return fitPicture(report, style); });
    out << resultText(options, report) << std::flush;
    if (!out) throw InputError("the results cannot be written to standard output");
    if (csv) csv->commit();
    picture.commit();
    return kExitFound;
}

}  // namespace ptmatch::tool
