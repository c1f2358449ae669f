#pragma once

#include <memory>
#include <string>

#include "grid_options.h"
#include "pattern_file.h"
#include "ptmatch/ppmatch.h"

namespace ptmatch::tool {

/// A grid pattern, and the steps of the grid when they are known with it.
struct PatternSource {
    GridPattern pattern;
    StepOptions steps;
};

/// A matcher trained on the pattern. Its steps are those of `steps`, one alone being turned by a
/// quarter for the other; without any they are (1, 0) and (0, 1), which stand for steps that are
/// not known.
/// @param name  what messages call the pattern
/// @throws InputError  the pattern is too small, or the steps cannot be used.
std::shared_ptr<rxPointMatcher> trainedOnPattern(const GridPattern& pattern,
                                                 const StepOptions& steps, const std::string& name);

/// The pattern and the steps that a loaded matcher was trained on.
/// @throws InputError  it was trained on points, or on a pattern larger than the tool's limit.
PatternSource patternOf(const rxPointMatcher& matcher, const std::string& name);

/// The pattern in the file at `path`: text, a grey map, or a trained matcher; its content tells
/// which of them it is.
/// @throws InputError  the file cannot be read, or is none of these.
PatternSource readPatternSource(const std::string& path);

/// @throws InputError  the pattern has fewer set positions than can be looked for.
void requireEnoughPositions(const GridPattern& pattern, const std::string& name);

}  // namespace ptmatch::tool
