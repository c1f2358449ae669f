#include "match_command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <optional>
#include <ostream>
#include <string_view>

#include "batch_table.h"
#include "csv_points.h"
#include "input_error.h"
#include "interrupt_guard.h"
#include "match_batch.h"
#include "match_picture.h"
#include "match_report.h"
#include "model_source.h"
#include "number_text.h"
#include "option_text.h"
#include "output_file.h"
#include "output_targets.h"
#include "progress_watch.h"
#include "result_json.h"
#include "result_table.h"
#include "scale_note.h"
#include "shown_text.h"
#include "vote_picture.h"
#include "vote_text.h"
#include "watched_search.h"

namespace ptmatch::tool {
namespace {

rxPointMatcherDefs::Mode modeOf(const MatchOptions& options) {
    return options.exhaustive ? rxPointMatcherDefs::eExhaustiveMode
                              : rxPointMatcherDefs::eAutoDetect;
}

rxPointMatcherResultSet search(const MatchReport& report, const MatchOptions& options,
                               const rxPointMatcher& matcher, std::ostream& notes) {
    if (options.exhaustive) noteLongSearch(report.model, report.data, notes);
    const InterruptGuard guard(options.exhaustive ? InterruptGuard::Way::kExitAtOnce
                                                  : InterruptGuard::Way::kAskSearch);
    return watchedSearch(matcher, report.data, report.params);
}

int runBatchOfMatches(const MatchOptions& options, std::ostream& out, std::ostream& notes) {
    requireNoFileOfBatch({{options.voteFile, "--votes"}});
    const auto batch = std::make_shared<MatchBatch>();
    batch->params = runParams(options.run);
    noteScaleElsewhere(options.run.scale, notes);
    batch->exhaustive = options.exhaustive;
    batch->modelFile = options.modelFile;
    batch->model = readModel(options.modelFile, modeOf(options));
    batch->jobs = options.data.jobs;
    batch->sets = dataSetsOf(options.data);
    if (const auto* const largest = options.exhaustive ? readLargest(batch->sets) : nullptr) {
        noteLongSearch(batch->model.table, *largest, notes);
    }
    batch->pictures =
        picturesOfSets(options.picture, batch->sets, {options.modelFile, "the table of the model"});
    {
        const InterruptGuard guard(InterruptGuard::Way::kAskSearch);
        runMatchBatch(batch);
    }
    return finishBatch(batch->end, batch->numFound() > 0,
                       options.json ? matchBatchJson(*batch) : matchBatchTable(*batch), out, notes);
}

bool endsWith(const std::string& text, std::string_view ending) {
    return text.size() > ending.size() &&
           std::equal(ending.rbegin(), ending.rend(), text.rbegin(), [](char wanted, char found) {
               return wanted == std::tolower(static_cast<unsigned char>(found));
           });
}

void checkVoteOptions(const MatchOptions& options) {
    if (options.voteFile.empty()) return;
    if (!endsWith(options.voteFile, ".png") && !endsWith(options.voteFile, ".svg")) {
        throw InputError("--votes: expected a file that ends in .png or .svg, found " +
                         inQuotes(options.voteFile));
    }
    if (options.exhaustive) {
        throw InputError("--votes: an exhaustive search does not vote; leave one of them out");
    }
}

std::string resultText(const MatchOptions& options, const MatchReport& report,
                       const std::optional<VoteReport>& votes) {
    if (!options.json) {
        return resultTable(report) + (votes ? "\n" + voteTable(*votes) : std::string());
    }
    Json json = matchJson(report);
    if (votes) json["votes"] = voteJson(*votes);
    return jsonText(json);
}

std::optional<VoteReport> lookAtVotes(const MatchOptions& options, const rxPointMatcher& matcher,
                                      const MatchReport& report, std::ostream& notes) {
    if (options.voteFile.empty()) return std::nullopt;
    const ProgressWatch watch(
        elapsedText);  // without a pose, all scales and rotations are voted on
    const InterruptGuard guard(InterruptGuard::Way::kAskSearch);
    auto votes = reportOnVotes(matcher, report, options.voteFile);
    if (!votes) {
        notes << "ptmatch: note: no votes were counted, and " << withoutControls(options.voteFile)
              << " is not written: there are too few data points for --min-coverage, or no "
                 "translation is allowed near them"
              << std::endl;
    }
    return votes;
}

}  // namespace

CLI::App* addMatchCommand(CLI::App& app, MatchOptions& options) {
    CLI::App* const command =
        app.add_subcommand("match", "Find where a pattern of points lies among other points");
    command
        ->add_option("--model", options.modelFile,
                     "Table of the pattern: x,y or x,y,weight; or a trained matcher (required)")
        ->type_name("FILE");
    addDataOptions(*command, options.data);
    command->add_flag("--json", options.json, "Print the results as JSON");
    addPictureOptions(*command, options.picture, "Draw the best pose", true);
    addFile(
        *command, "--votes",
        "Draw the votes of the search at the scale and rotation of the best pose into this file, "
        ".png or .svg",
        options.voteFile);
    addRunOptions(*command, options.run);
    command
        ->add_flag("--exhaustive", options.exhaustive,
                   "Try every assignment of points; for a handful of points only")
        ->group("Run parameters");
    // Looked at last, so that a misspelt option is what the message is about.
    command->callback([&options] {
        if (options.modelFile.empty()) throw CLI::RequiredError("--model");
        if (!options.data.isGiven()) throw CLI::RequiredError("--data");
    });
    return command;
}

int runMatch(const MatchOptions& options, std::ostream& out, std::ostream& notes) {
    if (options.data.isBatch()) return runBatchOfMatches(options, out, notes);
    const std::string& dataFile = options.data.files.front();
    checkVoteOptions(options);
    const PictureOptions asked = pictureOfTable(options.picture, dataFile);
    requireSparedInputs(
        {{asked.svgFile, "--svg"}, {asked.pngFile, "--png"}, {options.voteFile, "--votes"}},
        {{options.modelFile, "the table of the model"},
         {dataFile, "the table of the data"},
         {asked.backgroundFile, "the photograph"}});
    PictureOutput picture(asked);
    MatchReport report;
    report.params = runParams(options.run);
    noteScaleElsewhere(options.run.scale, notes);
    report.exhaustive = options.exhaustive;
    report.modelFile = options.modelFile;
    report.dataFile = dataFile;
    const ModelSource model = readModel(options.modelFile, modeOf(options));
    report.model = model.table;
    report.data = readPoints(dataFile);

    const rxPointMatcherResultSet results = search(report, options, *model.matcher, notes);
    report.seconds = results.time();
    report.poses = foundPoses(results);

    const std::optional<VoteReport> votes = lookAtVotes(options, *model.matcher, report, notes);

    picture.noteStrayPoints(report.data.points, notes);
    picture.draw([&](const PictureStyle& style) { return matchPicture(report, style); });
    std::optional<PreparedFile> votePicture;
    if (votes) {
        votePicture.emplace(options.voteFile, endsWith(options.voteFile, ".png")
                                                  ? votePng(*votes)
                                                  : voteSvg(*votes, report));
    }
    out << resultText(options, report, votes) << std::flush;
    if (!out) throw InputError("the results cannot be written to standard output");
    picture.commit();
    if (votePicture) votePicture->commit();
    return report.poses.empty() ? kExitNothingFound : kExitFound;
}

}  // namespace ptmatch::tool
