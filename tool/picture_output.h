#pragma once

#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "data_sets.h"
#include "output_file.h"
#include "output_targets.h"
#include "photograph.h"
#include "picture_page.h"

namespace CLI {
class App;
}

namespace ptmatch::tool {

/// What the user said about the picture of a command. Empty: no such file.
struct PictureOptions {
    std::string svgFile;
    std::string pngFile;
    /// A photograph that the points are pixels of.
    std::string backgroundFile;
    /// The same, when it has been read already: that of all data sets of a batch.
    std::shared_ptr<const Photograph> photograph;
    YAxis yAxis = YAxis::kDown;

    bool isAsked() const { return !svgFile.empty() || !pngFile.empty(); }
    /// For requireSparedInputs().
    std::vector<RoleOfFile> outputs() const;
};

/// Adds --svg, --png and --y-up to `app`, and --background where points may be pixels; parsing
/// writes to `options`, which must outlive `app`.
/// @param drawing  what the picture shows, an order: "Draw the best pose"
void addPictureOptions(CLI::App& app, PictureOptions& options, const std::string& drawing,
                       bool mayHavePhotograph);

/// Finds out early what cannot be done.
/// @throws InputError  options contradict each other, or there is no renderer for a PNG picture.
void checkPictures(const PictureOptions& options);

/// The options for one table: in the names of files, {name} stands for the name of the table
/// without folder and ending, and {number} for 1.
/// @throws InputError  as checkPictures().
PictureOptions pictureOfTable(const PictureOptions& options, const std::string& file);

/// The options for each of several data sets: {name} also has "-" and the frame if there is one,
/// and {number} is the place of the data set in the input, from 1.
/// A photograph of all data sets is read here.
/// @param pattern  the file of what is looked for, an input as the tables and photographs are
/// @throws InputError  two data sets would be drawn into one file, or one over an input; the
///                     photograph of all cannot be used; or as checkPictures().
std::vector<PictureOptions> picturesOfSets(const PictureOptions& options,
                                           const std::vector<DataSet>& sets,
                                           const RoleOfFile& pattern);

/// One picture on its way to its files. What can go wrong is found out as early as possible: made
/// before a search, it has the photograph and knows that there is a renderer.
class PictureOutput {
  public:
    /// @throws InputError  the photograph cannot be used, or as checkPictures().
    explicit PictureOutput(const PictureOptions& options);

    using Draw = std::function<std::string(const PictureStyle&)>;

    /// Draws, if a picture is asked for, and writes its files beside their targets. Ctrl-C
    /// meanwhile leaves none of them.
    /// @throws InputError  a file cannot be written, or the renderer fails.
    /// @throws rxAttention::Interrupted
    void draw(const Draw& picture);

    /// The same under the InterruptGuard of the caller, in one of many threads.
    void drawInBatch(const Draw& picture);

    /// Puts the files into their places.
    /// @throws InputError  one of them cannot be.
    void commit();

    /// Says so when none of the points lies on the photograph.
    void noteStrayPoints(const std::vector<rxVector<2>>& points, std::ostream& notes) const;

  private:
    PictureOptions options_;
    std::shared_ptr<const Photograph> photograph_;
    std::optional<PreparedFile> svg_;
    std::optional<PreparedFile> png_;
};

}  // namespace ptmatch::tool
