#include "train_command.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <ostream>

#include "archive_content.h"
#include "archive_text.h"
#include "input_error.h"
#include "matcher_file.h"
#include "model_picture.h"
#include "model_source.h"
#include "option_text.h"
#include "output_file.h"
#include "output_targets.h"
#include "pattern_source.h"

namespace ptmatch::tool {
namespace {

std::shared_ptr<rxPointMatcher> trained(const TrainOptions& options) {
    if (!options.patternFile.empty()) {
        const std::string& name = options.patternFile;
        const std::string text = readUntrained(name, "a pattern of grid positions");
        return trainedOnPattern(parsePattern(text, name), options.steps, name);
    }
    const std::string& name = options.modelFile;
    const std::string text = readUntrained(name, "a table of points");
    return trainedOnPoints(parsePoints(text, name), rxPointMatcherDefs::eAutoDetect, name);
}

// Nothing is found without a grid size, and the tool cannot choose one from such points.
void noteUnknownGridSize(const ArchiveContent& content, std::ostream& notes) {
    for (const ArchiveRecord& record : content.records) {
        const auto* const matcher = std::get_if<MatcherContent>(&record.content);
        if (matcher == nullptr || !matcher->defaultGridSize) continue;
        if (std::isfinite(*matcher->defaultGridSize)) continue;
        notes
            << "ptmatch: note: every point coincides with another one, or their distances are too "
               "small or too large for numbers; match will need --grid-size"
            << std::endl;
    }
}

// A file cannot tell steps that were given as those of unit squares from none.
void noteLostSteps(const StepOptions& given, const ArchiveContent& content, std::ostream& notes) {
    const auto& matcher = std::get<MatcherContent>(content.records.front().content);
    if (!(given.xv || given.yv) || !matcher.grid || matcher.grid->steps.xv) return;
    notes << "ptmatch: note: in a trained file the steps 1,0 and 0,1 stand for unknown ones; give "
             "them to grid-match again: --xv 1,0 --yv 0,1"
          << std::endl;
}

void checkChoice(const TrainOptions& options) {
    const bool hasModel = !options.modelFile.empty();
    const bool hasPattern = !options.patternFile.empty();
    if (hasModel && hasPattern) throw CLI::ValidationError("give --model or --pattern, not both");
    if (!hasModel && !hasPattern) throw CLI::RequiredError("--model or --pattern");
    if (options.outFile.empty()) throw CLI::RequiredError("--out");
    if (hasModel && (options.steps.xv || options.steps.yv)) {
        throw CLI::ValidationError("--xv and --yv belong to --pattern");
    }
}

}  // namespace

CLI::App* addTrainCommand(CLI::App& app, TrainOptions& options) {
    CLI::App* const command =
        app.add_subcommand("train", "Train a matcher on a pattern and write it to a file");
    addFile(*command, "--model", "Table of the points: x,y or x,y,weight", options.modelFile);
    addFile(*command, "--pattern", "Set positions of a grid: PGM, or rows of '.' and 'x'",
            options.patternFile);
    addFile(*command, "--out", "File to write the trained matcher to (required)", options.outFile);
    addPictureOptions(*command, options.picture, "Draw what was trained", false);
    addVector(*command, "--xv", "Step from one column of the grid to the next, data units",
              options.steps.xv);
    addVector(*command, "--yv", "Step from one row of the grid to the next, data units",
              options.steps.yv);
    // Looked at last, so that a misspelt option is what the message is about.
    command->callback([&options] { checkChoice(options); });
    return command;
}

int runTrain(const TrainOptions& options, std::ostream& out, std::ostream& notes) {
    const std::string& input =
        options.patternFile.empty() ? options.modelFile : options.patternFile;
    const PictureOptions asked = pictureOfTable(options.picture, input);
    requireSparedInputs(
        {{options.outFile, "--out"}, {asked.svgFile, "--svg"}, {asked.pngFile, "--png"}},
        {{input, "what is trained on"}});
    PictureOutput picture(asked);
    const std::string bytes = matcherBytes(*trained(options));
    const ArchiveContent content = parseArchive(bytes, options.outFile);
    noteUnknownGridSize(content, notes);
    noteLostSteps(options.steps, content, notes);
    PreparedFile file(options.outFile, bytes);
    picture.draw([&](const PictureStyle& style) {
        return modelPicture(firstMatcher(content), input, style);
    });
    out << archiveText(content) << std::flush;
    if (!out) throw InputError("the results cannot be written to standard output");
    file.commit();
    picture.commit();
    return kExitFound;
}

}  // namespace ptmatch::tool
