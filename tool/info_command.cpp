#include "info_command.h"

#include <CLI/CLI.hpp>
#include <ostream>

#include "archive_content.h"
#include "archive_text.h"
#include "exit_code.h"
#include "input_error.h"
#include "input_file.h"
#include "model_picture.h"
#include "output_targets.h"

namespace ptmatch::tool {

CLI::App* addInfoCommand(CLI::App& app, InfoOptions& options) {
    CLI::App* const command = app.add_subcommand("info", "Show what an archive file holds");
    command->add_option("FILE", options.file, "Archive, such as ptmatch train writes (required)");
    command->add_flag("--json", options.json,
                      "Print points, patterns, parameters and results as JSON");
    addPictureOptions(*command, options.picture, "Draw the first matcher of the archive", false);
    // Looked at last, so that a misspelt option is what the message is about.
    command->callback([&options] {
        if (options.file.empty()) throw CLI::RequiredError("FILE");
    });
    return command;
}

int runInfo(const InfoOptions& options, std::ostream& out) {
    const PictureOptions asked = pictureOfTable(options.picture, options.file);
    requireSparedInputs(asked.outputs(), {{options.file, "the archive"}});
    PictureOutput picture(asked);
    const ArchiveContent content =
        parseArchive(readInputFile(options.file, "an archive"), options.file);
    picture.draw([&](const PictureStyle& style) {
        return modelPicture(firstMatcher(content), options.file, style);
    });
    out << (options.json ? archiveJson(content) : archiveText(content)) << std::flush;
    if (!out) throw InputError("the results cannot be written to standard output");
    picture.commit();
    return kExitFound;
}

}  // namespace ptmatch::tool
