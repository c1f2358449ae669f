#include "model_source.h"

#include <algorithm>

#include "input_error.h"
#include "input_file.h"
#include "matcher_file.h"
#include "number_text.h"

namespace ptmatch::tool {

std::shared_ptr<rxPointMatcher> trainedOnPoints(const PointTable& table,
                                                rxPointMatcherDefs::Mode mode,
                                                const std::string& name) {
    auto matcher = std::make_shared<rxPointMatcher>();
    try {
        if (table.weights.empty()) {
            matcher->train(table.points, mode);
        } else {
            matcher->train(table.points, table.weights, mode);
        }
    } catch (const rxPointMatcherDefs::Errors& error) {
        throw InputError(name + ": " + std::string(trimmed(error.what())));
    }
    return matcher;
}

PointTable pointsOf(const rxPointMatcher& matcher, const std::string& name) {
    if (matcher.trainMode() == rxPointMatcherDefs::ePointToGrid) {
        throw InputError(name +
                         ": holds a trained grid pattern; give it to ptmatch grid-match --pattern");
    }
    PointTable table{matcher.modelPoints(), matcher.weights()};
    // A matcher without weights answers with weights of 1.
    const auto isOne = [](long weight) { return weight == 1; };
    if (std::all_of(table.weights.begin(), table.weights.end(), isOne)) table.weights.clear();
    return table;
}

ModelSource readModel(const std::string& path, rxPointMatcherDefs::Mode mode) {
    const std::string expected = "a table of points";
    const std::string bytes = readInputFile(path, expected);
    ModelSource model;
    if (isMatcherArchive(bytes)) {
        model.matcher = parseMatcher(bytes, path);
        model.table = pointsOf(*model.matcher, path);
        if (mode != rxPointMatcherDefs::eExhaustiveMode) return model;
    } else {
        requireNoForeignFile(bytes, path, expected);
        model.table = parsePoints(bytes, path);
    }
    model.matcher = trainedOnPoints(model.table, mode, path);
    return model;
}

}  // namespace ptmatch::tool
