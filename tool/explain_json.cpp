#include "explain_json.h"

#include "grid_json.h"
#include "grid_match_json.h"
#include "result_json.h"

namespace ptmatch::tool {
namespace {

Json optionsJson(const std::vector<OptionValue>& options) {
    Json json = Json::array();
    for (const OptionValue& option : options) {
        json.push_back({{"option", option.option},
                        {"value", option.value.empty() ? Json() : Json(option.value)}});
    }
    return json;
}

Json breachesJson(const std::vector<Breach>& breaches) {
    Json json = Json::array();
    for (const Breach& breach : breaches) {
        json.push_back({{"limit", keyOf(breach.limit)}, {"message", breach.text}});
    }
    return json;
}

const char* reasonKey(rxWhyNotDefs::Reason reason) {
    switch (reason) {
        case rxWhyNotDefs::eFound:
            return "found";
        case rxWhyNotDefs::eTooFewData:
            return "too_few_data";
        case rxWhyNotDefs::eNothingToSearch:
            return "nothing_to_search";
        case rxWhyNotDefs::eNoCandidate:
            return "no_candidate";
        case rxWhyNotDefs::eCoverage:
            return "coverage";
        case rxWhyNotDefs::ePose:
            return "pose";
        case rxWhyNotDefs::eMissed:
            break;
    }
    return "missed";
}

Json missJson(const rxNearestMiss& miss) {
    Json excluded = Json::array();
    if (miss.isBelowCoverage) excluded.push_back("coverage");
    if (miss.isOutsideRotation) excluded.push_back("rotation");
    if (miss.isOutsideScale) excluded.push_back("scale");
    if (miss.isOutsideTranslation) excluded.push_back("translation");
    if (miss.isSingular) excluded.push_back("singular");
    if (miss.isBeyondCount) excluded.push_back("max_results");
    return {{"xform", xformJson(miss.modelToDataXform)},
            {"coverage", miss.coverage},
            {"fit_error", miss.fitError},
            {"excluded_by", excluded}};
}

Json whyJson(const rxWhyNot& why) {
    return {{"reason", reasonKey(why.reason)},
            {"widened", why.isWidened},
            {"candidates", why.numCandidates},
            {"returned", why.numReturned},
            {"best_coverage", why.bestCoverage},
            {"rejected",
             {{"coverage", why.numBelowCoverage},
              {"rotation", why.numOutsideRotation},
              {"scale", why.numOutsideScale},
              {"translation", why.numOutsideTranslation},
              {"singular", why.numSingular},
              {"max_results", why.numBeyondCount}}},
            {"nearest_miss", orNullJson(why.nearestMiss, missJson)},
            {"grid_size", why.cost.gridSize},
            {"capture_range", why.cost.captureRange},
            {"scales", why.cost.numScales},
            {"lattice_points", why.cost.numLatticePoints},
            {"translations", why.cost.numTranslations},
            {"work", why.cost.work}};
}

Json poseJson(const Rerun& rerun) {
    if (rerun.pose) return posesJson({*rerun.pose}).front();
    if (!rerun.placement) return {};
    GridMatchReport report;
    report.placements = {*rerun.placement};
    return placementsJson(report).front();
}

Json rerunJson(const Rerun& rerun) {
    return {{"limit", keyOf(rerun.limit)},
            {"options", optionsJson(rerun.options)},
            {"outcome", outcomeText(rerun.outcome)},
            {"remark", rerun.remark},
            {"time_s", rerun.seconds},
            {"result", poseJson(rerun)},
            {"log10_false_alarms",
             orNullJson(rerun.log10FalseAlarms, [](double value) { return value; })},
            {"excluded_by", breachesJson(rerun.breaches)}};
}

Json runJson(const ExplainReport& report) {
    return Json::parse(report.isGrid ? gridMatchJson(report.gridMatch) : resultJson(report.match));
}

}  // namespace

std::string explainJson(const ExplainReport& report) {
    Json reruns = Json::array();
    for (const Rerun& rerun : report.reruns) reruns.push_back(rerunJson(rerun));
    const Json json = {
        {"run", runJson(report)},
        {"why", orNullJson(report.why, whyJson)},
        {"remark", report.gridRemark},
        {"time_limit_s", report.timeLimit},
        {"reruns", reruns},
        {"expected", orNullJson(report.expected, rerunJson)},
        {"suggestion",
         {{"options", optionsJson(report.suggestion.options)}, {"text", report.suggestion.text}}}};
    return jsonText(json);
}

}  // namespace ptmatch::tool
