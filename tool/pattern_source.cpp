#include "pattern_source.h"

#include "foundation/image_functions.h"
#include "grid_matching.h"
#include "input_error.h"
#include "input_file.h"
#include "matcher_file.h"
#include "number_text.h"

namespace ptmatch::tool {
namespace {

rxXform<2> clientFromImage(const StepOptions& steps) {
    if (!steps.xv) return {};
    return {rxMatrix<2>(steps.xv->x(), steps.yv->x(), steps.xv->y(), steps.yv->y()), rxVector<2>()};
}

StepOptions stepOptionsOf(const rxXform<2>& xform) {
    const rxMatrix<2> m = xform.matrix();
    const GridSteps steps = stepsOf(rxXform<2>(m, rxVector<2>()));
    const bool areUnknown = steps.xv == rxVector<2>(1.0, 0.0) && steps.yv == rxVector<2>(0.0, 1.0);
    if (areUnknown) return {};
    return {steps.xv, steps.yv};
}

}  // namespace

void requireEnoughPositions(const GridPattern& pattern, const std::string& name) {
    if (pattern.positions.size() >= kFewestSetPositions) return;
    throw InputError(name + ": needs at least " + std::to_string(kFewestSetPositions) +
                     " set positions, holds " + std::to_string(pattern.positions.size()));
}

std::shared_ptr<rxPointMatcher> trainedOnPattern(const GridPattern& pattern,
                                                 const StepOptions& steps,
                                                 const std::string& name) {
    requireEnoughPositions(pattern, name);
    StepOptions both = squared(steps);
    if (both.xv || both.yv) {
        const GridSteps checked = chooseSteps(both, {}, pattern.isStaggered(), name).steps;
        both = {checked.xv, checked.yv};
    }
    // The offset makes positions of the image those of the file, without its empty margin.
    rxPelBuffer<unsigned char> image(pattern.width, pattern.height, 1);
    rfPelClear(image);
    image.offset(pattern.corner);
    for (const rxPair<long>& position : pattern.positions) {
        image.put(position.x(), position.y(), 1);
    }
    image.clientFromImageXform(clientFromImage(both));
    auto matcher = std::make_shared<rxPointMatcher>();
    try {
        matcher->train(image);
    } catch (const rxPointMatcherDefs::Errors& error) {
        throw InputError(name + ": " + std::string(trimmed(error.what())));
    }
    return matcher;
}

PatternSource patternOf(const rxPointMatcher& matcher, const std::string& name) {
    if (matcher.trainMode() != rxPointMatcherDefs::ePointToGrid) {
        throw InputError(name + ": holds trained points; give it to ptmatch match --model");
    }
    const rxPelBuffer<unsigned char>& image = matcher.pattern();
    const rxPair<long> first = image.offset();
    std::vector<rxPair<long>> positions;
    for (long row = 0; row < image.height(); ++row) {
        for (long column = 0; column < image.width(); ++column) {
            const rxPair<long> position = first + rxPair<long>(column, row);
            if (image.get(position) != 0) positions.push_back(position);
        }
    }
    return {enclosedPattern(std::move(positions), name),
            stepOptionsOf(image.clientFromImageXform())};
}

PatternSource readPatternSource(const std::string& path) {
    const std::string expected = "a pattern of grid positions";
    const std::string bytes = readInputFile(path, expected);
    if (isMatcherArchive(bytes)) return patternOf(*parseMatcher(bytes, path), path);
    requireNoForeignFile(bytes, path, expected);
    return {parsePattern(bytes, path), {}};
}

}  // namespace ptmatch::tool
