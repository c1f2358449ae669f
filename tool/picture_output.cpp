#include "picture_output.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>
#include <ostream>
#include <system_error>
#include <utility>

#include "foundation/attention.h"
#include "input_error.h"
#include "interrupt_guard.h"
#include "option_text.h"
#include "renderer.h"
#include "shown_text.h"

namespace ptmatch::tool {
namespace {

namespace fs = std::filesystem;

void fillIn(std::string& text, std::string_view key, const std::string& value) {
    for (auto at = text.find(key); at != std::string::npos; at = text.find(key, at)) {
        text.replace(at, key.size(), value);
        at += value.size();
    }
}

std::string nameOf(const DataSet& set) {
    std::string name = fs::path(set.file).stem().string();
    if (!set.frame) return name;
    std::string frame = *set.frame;
    const auto isUnfit = [](char c) { return c == '/' || static_cast<unsigned char>(c) < 0x20; };
    std::replace_if(frame.begin(), frame.end(), isUnfit, '_');
    return name + "-" + frame;
}

// As many digits for each, so that names sort as their numbers do.
std::string numberText(std::size_t number, std::size_t count) {
    const std::string text = std::to_string(number);
    return std::string(std::to_string(count).size() - text.size(), '0') + text;
}

PictureOptions withNames(PictureOptions options, const std::string& name,
                         const std::string& number) {
    for (std::string* const file : {&options.svgFile, &options.pngFile, &options.backgroundFile}) {
        fillIn(*file, "{name}", name);
        fillIn(*file, "{number}", number);
    }
    return options;
}

/// Names of files that have a meaning already.
class NamesInUse {
  public:
    void addInput(const RoleOfFile& input) {
        if (!input.path.empty()) users_.emplace(normal(input.path), User{input.name, true});
    }

    /// @throws InputError  the name is in use.
    void takeForOutput(const RoleOfFile& output) {
        if (output.path.empty()) return;
        const auto [found, isNew] = users_.emplace(normal(output.path), User{output.name, false});
        if (isNew) return;
        if (found->second.isInput) {
            throw InputError(output.name + ": " + output.path + " is " + found->second.name +
                             "; choose another file");
        }
        throw InputError(output.name + ": several pictures would be written into " + output.path +
                         "; put {name} or {number} into the name, such as match-{name}.svg");
    }

  private:
    static std::string normal(const std::string& path) {
        std::error_code ignored;
        const fs::path whole = fs::weakly_canonical(fs::absolute(path, ignored), ignored);
        return whole.empty() ? path : whole.string();
    }

    struct User {
        std::string name;  // as in RoleOfFile
        bool isInput;
    };

    std::map<std::string, User> users_;
};

// The inputs of all data sets go first: an output may be an input of a later one.
void requireOwnNames(const std::vector<PictureOptions>& pictures, const std::vector<DataSet>& sets,
                     const RoleOfFile& pattern) {
    NamesInUse names;
    names.addInput(pattern);
    for (const DataSet& set : sets) names.addInput({set.file, "a table of the data"});
    for (const PictureOptions& own : pictures) {
        names.addInput({own.backgroundFile, "a photograph"});
    }
    for (const PictureOptions& own : pictures) {
        for (const RoleOfFile& output : own.outputs()) names.takeForOutput(output);
    }
}

bool hasEnding(const std::string& file, const std::string& ending) {
    std::string own = fs::path(file).extension().string();
    std::transform(own.begin(), own.end(), own.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return own == ending;
}

void checkEnding(const RoleOfFile& output, const std::string& ending, const char* right) {
    if (!hasEnding(output.path, ending)) return;
    throw InputError(output.name + ": " + output.path + " ends in " + ending + "; use " + right);
}

}  // namespace

std::vector<RoleOfFile> PictureOptions::outputs() const {
    return {{svgFile, "--svg"}, {pngFile, "--png"}};
}

void addPictureOptions(CLI::App& app, PictureOptions& options, const std::string& drawing,
                       bool mayHavePhotograph) {
    addFile(app, "--svg", drawing + " into this file", options.svgFile);
    addFile(app, "--png", "The same as PNG; needs the program " + std::string(kRendererName),
            options.pngFile);
    if (mayHavePhotograph) {
        addFile(app, "--background",
                "Draw over this photograph, PNG or JPEG; points are its pixels",
                options.backgroundFile);
    }
    app.add_flag_callback(
        "--y-up", [&options] { options.yAxis = YAxis::kUp; },
        "Let y run upwards in the picture (default: downwards, as in camera images)");
}

void checkPictures(const PictureOptions& options) {
    checkEnding({options.svgFile, "--svg"}, ".png", "--png");
    checkEnding({options.pngFile, "--png"}, ".svg", "--svg");
    if (!options.pngFile.empty()) findRenderer();
    if (options.backgroundFile.empty()) return;
    if (!options.isAsked()) throw InputError("--background: belongs to --svg or --png");
    if (options.yAxis == YAxis::kUp) {
        throw InputError("--background: the y of pixels runs downwards; leave --y-up out");
    }
}

PictureOptions pictureOfTable(const PictureOptions& options, const std::string& file) {
    checkPictures(options);
    return withNames(options, fs::path(file).stem().string(), "1");
}

std::vector<PictureOptions> picturesOfSets(const PictureOptions& options,
                                           const std::vector<DataSet>& sets,
                                           const RoleOfFile& pattern) {
    checkPictures(options);
    std::vector<PictureOptions> pictures;
    for (std::size_t i = 0; i < sets.size(); ++i) {
        pictures.push_back(withNames(options, nameOf(sets[i]), numberText(i + 1, sets.size())));
    }
    requireOwnNames(pictures, sets, pattern);
    const std::string& background = options.backgroundFile;
    const bool isOfAll = background.find("{name}") == std::string::npos &&
                         background.find("{number}") == std::string::npos;
    if (background.empty() || !isOfAll) return pictures;
    const auto photograph = std::make_shared<const Photograph>(readPhotograph(background));
    for (PictureOptions& own : pictures) own.photograph = photograph;
    return pictures;
}

PictureOutput::PictureOutput(const PictureOptions& options)
    : options_(options), photograph_(options.photograph) {
    checkPictures(options);
    if (photograph_ || options.backgroundFile.empty()) return;
    photograph_ = std::make_shared<const Photograph>(readPhotograph(options.backgroundFile));
}

void PictureOutput::noteStrayPoints(const std::vector<rxVector<2>>& points,
                                    std::ostream& notes) const {
    const auto isOnIt = [&](const rxVector<2>& point) { return photograph_->contains(point); };
    if (!photograph_ || std::any_of(points.begin(), points.end(), isOnIt)) return;
    notes << "ptmatch: note: no point lies on " << withoutControls(photograph_->file) << " ("
          << photograph_->width << " x " << photograph_->height
          << " pixels): are the points its pixels?" << std::endl;
}

void PictureOutput::draw(const Draw& picture) {
    const InterruptGuard guard(InterruptGuard::Way::kAskSearch);
    drawInBatch(picture);
    rxAttention::check();
}

void PictureOutput::drawInBatch(const Draw& picture) {
    if (!options_.isAsked()) return;
    PictureStyle style(options_.yAxis);
    style.photograph = photograph_.get();
    const std::string svg = picture(style);
    // What takes its time goes first, so that no file waits for it: a batch that is interrupted
    // may leave its threads.
    const std::string png = options_.pngFile.empty() ? std::string() : renderedPng(svg);
    if (!options_.svgFile.empty()) svg_.emplace(options_.svgFile, svg);
    if (!options_.pngFile.empty()) png_.emplace(options_.pngFile, png);
}

void PictureOutput::commit() {
    if (svg_) svg_->commit();
    if (png_) png_->commit();
}

}  // namespace ptmatch::tool
