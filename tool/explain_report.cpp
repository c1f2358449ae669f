#include "explain_report.h"

#include <algorithm>

namespace ptmatch::tool {

std::string nameOf(Limit limit) {
    switch (limit) {
        case Limit::kCoverage:
            return "coverage";
        case Limit::kRotation:
            return "rotation";
        case Limit::kScale:
            return "scale";
        case Limit::kTranslation:
            return "translation";
        case Limit::kCaptureRange:
            return "capture range";
        case Limit::kGridSize:
            return "grid size";
        case Limit::kSnap:
            return "distance tolerance";
        case Limit::kSteps:
            return "steps";
        case Limit::kCount:
            return "number of results";
        case Limit::kMirror:
            return "mirrored model";
        case Limit::kAll:
            break;
    }
    return "all at once";
}

std::string keyOf(Limit limit) {
    if (limit == Limit::kAll) return "all";
    if (limit == Limit::kMirror) return "mirror";
    if (limit == Limit::kSnap) return "snap";
    if (limit == Limit::kCount) return "max_results";
    std::string key = nameOf(limit);
    std::replace(key.begin(), key.end(), ' ', '_');
    return key;
}

std::string optionText(const std::vector<OptionValue>& options) {
    std::string text;
    for (const OptionValue& option : options) {
        if (!text.empty()) text += ' ';
        text +=
            option.value.empty() ? "without " + option.option : option.option + " " + option.value;
    }
    return text;
}

std::string outcomeText(Rerun::Outcome outcome) {
    switch (outcome) {
        case Rerun::Outcome::kFound:
            return "found";
        case Rerun::Outcome::kSame:
            return "same";
        case Rerun::Outcome::kNothing:
            return "nothing";
        case Rerun::Outcome::kNotFinished:
            return "not finished";
        case Rerun::Outcome::kRefused:
            return "refused";
        case Rerun::Outcome::kNotLimited:
            break;
    }
    return "not limited";
}

}  // namespace ptmatch::tool
