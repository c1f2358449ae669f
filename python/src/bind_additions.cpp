#include <pybind11/stl.h>

#include <sstream>
#include <string>

#include "arrays.h"
#include "bindings.h"
#include "long_call.h"
#include "ptmatch/distinct_instances.h"
#include "ptmatch/matched_pairs.h"
#include "ptmatch/refit.h"
#include "ptmatch/run_cost.h"
#include "ptmatch/why_not.h"
#include "shared_matcher.h"

namespace py = pybind11;

namespace ptmatch::python {
namespace {

/// What the enumerator means, as its documentation says.
std::string meaning(rxWhyNotDefs::Reason reason) {
    switch (reason) {
        case rxWhyNotDefs::eFound:
            return "there are results";
        case rxWhyNotDefs::eTooFewData:
            return "too few data for the minimum coverage";
        case rxWhyNotDefs::eNothingToSearch:
            return "nothing to search: no data within reach";
        case rxWhyNotDefs::eNoCandidate:
            return "no pose brings two model points to data";
        case rxWhyNotDefs::eCoverage:
            return "the best has less than the minimum coverage";
        case rxWhyNotDefs::ePose:
            return "the pose of the best is not allowed";
        case rxWhyNotDefs::eMissed:
            return "only a wider search comes upon it";
    }
    return "unknown";
}

std::string shownReason(const rxWhyNot& why) {
    std::ostringstream text;
    text << "<rxWhyNot: " << meaning(why.reason) << "; best coverage " << why.bestCoverage << ", "
         << why.numReturned << " returned of " << why.numCandidates << " candidates>";
    return text.str();
}

std::string shownMiss(const rxNearestMiss& miss) {
    std::ostringstream text;
    text << "<rxNearestMiss: coverage " << miss.coverage << ", fit error " << miss.fitError;
    if (miss.isBelowCoverage) text << ", below the minimum coverage";
    if (miss.isOutsideTranslation) text << ", outside the translations";
    if (miss.isOutsideRotation) text << ", outside the rotations";
    if (miss.isOutsideScale) text << ", outside the scales";
    if (miss.isSingular) text << ", singular";
    if (miss.isBeyondCount) text << ", beyond the number of results";
    return text.str() + ">";
}

std::string shownCost(const rxRunCost& cost) {
    std::ostringstream text;
    text << "<rxRunCost: work " << cost.work << ", " << cost.numLatticePoints
         << " scales and rotations, grid size " << cost.gridSize << ", capture range "
         << cost.captureRange << ">";
    return text.str();
}

void bindMatchedPairs(py::module_& m) {
    py::class_<rxMatchedPairs>(m, "rxMatchedPairs",
                               "The matched points of a result, side by side: pair k is model[k] "
                               "and data[k].")
        .def_property_readonly(
            "model", [](const rxMatchedPairs& pairs) { return arrayOf(pairs.model); },
            "Model points, shape (k, 2).")
        .def_property_readonly(
            "data", [](const rxMatchedPairs& pairs) { return arrayOf(pairs.data); },
            "Data points, shape (k, 2).")
        .def_property_readonly(
            "modelIndices", [](const rxMatchedPairs& pairs) { return arrayOf(pairs.modelIndices); },
            "Places in modelPoints(), ascending; in grid mode column + row * width in pattern().")
        .def_property_readonly(
            "dataIndices", [](const rxMatchedPairs& pairs) { return arrayOf(pairs.dataIndices); },
            "Places in the data of the run.");
    m.def(
        "rfMatchedPairs",
        [](const SharedMatcher& matcher, const py::object& data,
           const rxPointMatcherResult& result) {
            const auto points = points2(data, "data");
            const auto trained = matcher.now();
            return rfMatchedPairs(*trained, points, result);
        },
        py::arg("matcher"), py::arg("data"), py::arg("result"),
        "Which point went where: the pairs of a result, in any mode. Raises NotTrained, and "
        "BadParams for a result that is not of this matcher and these data.");
}

void bindDistinctInstances(py::module_& m) {
    py::class_<rxDistinctness>(m, "rxDistinctness",
                               "When two results of a run are two copies of the pattern.")
        .def(py::init([](double maxSharedShare, double minPoseDistance) {
                 return rxDistinctness{maxSharedShare, minPoseDistance};
             }),
             py::arg("maxSharedShare") = rxDistinctness().maxSharedShare,
             py::arg("minPoseDistance") = rxDistinctness().minPoseDistance)
        .def_readwrite("maxSharedShare", &rxDistinctness::maxSharedShare,
                       "Largest share of its data points, 0 to 1, in common with better copies.")
        .def_readwrite("minPoseDistance", &rxDistinctness::minPoseDistance,
                       "Two copies lie more than this apart, data units.");
    m.def(
        "rfDistinctInstances",
        [](const SharedMatcher& matcher, const rxPointMatcherResultSet& found,
           const rxDistinctness& distinctness) {
            const auto trained = matcher.now();
            const rxPointMatcherResultSet own = found;
            const rxDistinctness fixed = distinctness;
            const auto places = [&] {
                const LongCall call;
                return rfDistinctInstances(*trained, own, fixed);
            }();
            return arrayOf(places);
        },
        py::arg("matcher"), py::arg("found"), py::arg("distinctness") = rxDistinctness(),
        "The copies of the pattern among the results of a run, each once: places in "
        "found.results(), ascending. Ask the run for several times as many results as copies.");
}

void bindRefit(py::module_& m) {
    py::class_<rxRefitDefs> defs(m, "rxRefitDefs", "Scope of the models of rfRefit.");
    py::enum_<rxRefitDefs::Model>(defs, "Model", "What matched points can be fitted with.")
        .value("eRigid", rxRefitDefs::eRigid, "rotation and translation")
        .value("eSimilarity", rxRefitDefs::eSimilarity, "the same with one scale")
        .value("eAffine", rxRefitDefs::eAffine, "any matrix and translation")
        .value("ePerspective", rxRefitDefs::ePerspective, "eight parameters")
        .export_values();
    py::class_<rxRefit>(m, "rxRefit",
                        "The transform of a result's matched points under another model.")
        .def_readonly("model", &rxRefit::model, "The one that was asked for.")
        .def_readonly("dataFromModel", &rxRefit::dataFromModel, py::return_value_policy::copy,
                      "From model coordinates to data, an rx2PTm whatever the model.")
        .def_readonly("residual", &rxRefit::residual, py::return_value_policy::copy,
                      "Of the matched points, data units.")
        .def_readonly("numPairs", &rxRefit::numPairs, "The matched points that were fitted.")
        .def("dataFromModelXform", &rxRefit::dataFromModelXform,
             "The same as an rxXform. Raises BadParams for a perspective.");
    m.def(
        "rfRefit",
        [](const SharedMatcher& matcher, const py::object& data, const rxPointMatcherResult& result,
           rxRefitDefs::Model model) {
            const auto points = points2(data, "data");
            const auto trained = matcher.now();
            return rfRefit(*trained, points, result, model);
        },
        py::arg("matcher"), py::arg("data"), py::arg("result"), py::arg("model"),
        "Fits the matched points of a result with a model of your choice; runs fit similarities. "
        "Raises FitError or MathError when the pairs do not determine it.");
}

void bindRunCost(py::module_& m) {
    py::class_<rxRunCost>(m, "rxRunCost", "What a run would look through.")
        .def("__repr__", &shownCost)
        .def_readonly("mode", &rxRunCost::mode, "The method.")
        .def_readonly("isInterruptible", &rxRunCost::isInterruptible,
                      "Whether Ctrl-C, a time limit and progress reach the run.")
        .def_readonly("gridSize", &rxRunCost::gridSize, "In effect, model units.")
        .def_readonly("captureRange", &rxRunCost::captureRange, "In effect, data units.")
        .def_readonly("numScales", &rxRunCost::numScales, "Scales that are tried.")
        .def_readonly("numLatticePoints", &rxRunCost::numLatticePoints,
                      "Pairs of a scale and a rotation.")
        .def_readonly("numTranslations", &rxRunCost::numTranslations,
                      "Translations at all of them together.")
        .def_readonly("imageBytes", &rxRunCost::imageBytes, "Of the images of the search.")
        .def_readonly("work", &rxRunCost::work,
                      "Votes to count, or assignments of an exhaustive run. What bounds leave out "
                      "is counted in.");
    m.def(
        "rfRunCost",
        [](const SharedMatcher& matcher, const py::object& data,
           const rxPointMatcherRunParams& params) {
            const auto points = points2(data, "data");
            const auto trained = matcher.now();
            return rfRunCost(*trained, points, params);
        },
        py::arg("matcher"), py::arg("data"), py::arg("params"),
        "The size of a run, without running it. Raises what the run raises for its arguments.");
}

void bindWhyNot(py::module_& m) {
    py::class_<rxWhyNotDefs> defs(m, "rxWhyNotDefs", "Scope of the reasons of rfWhyNot.");
    py::enum_<rxWhyNotDefs::Reason>(defs, "Reason", "What kept a run from finding anything.")
        .value("eFound", rxWhyNotDefs::eFound, "nothing did: there are results")
        .value("eTooFewData", rxWhyNotDefs::eTooFewData,
               "all the data together could not reach the minimum coverage")
        .value("eNothingToSearch", rxWhyNotDefs::eNothingToSearch,
               "no data, none within the translations, or no grid size")
        .value("eNoCandidate", rxWhyNotDefs::eNoCandidate,
               "no pose brings two model points to data; in grid mode: no grid")
        .value("eCoverage", rxWhyNotDefs::eCoverage,
               "the best candidate has less than the minimum coverage")
        .value("ePose", rxWhyNotDefs::ePose, "the best candidate's pose is not allowed")
        .value("eMissed", rxWhyNotDefs::eMissed,
               "only a wider search comes upon a candidate that is allowed")
        .export_values();

    py::class_<rxNearestMiss>(m, "rxNearestMiss", "A candidate that a run does not return.")
        .def("__repr__", &shownMiss)
        .def_readonly("modelToDataXform", &rxNearestMiss::modelToDataXform,
                      py::return_value_policy::copy, "Its pose.")
        .def_readonly("coverage", &rxNearestMiss::coverage, "Its coverage.")
        .def_readonly("fitError", &rxNearestMiss::fitError, "Its fit error.")
        .def_readonly("isBelowCoverage", &rxNearestMiss::isBelowCoverage,
                      "Less than the minimum coverage is matched.")
        .def_readonly("isOutsideTranslation", &rxNearestMiss::isOutsideTranslation,
                      "Exhaustive runs only.")
        .def_readonly("isOutsideRotation", &rxNearestMiss::isOutsideRotation,
                      "Turned by more than is allowed.")
        .def_readonly("isOutsideScale", &rxNearestMiss::isOutsideScale, "Exhaustive runs only.")
        .def_readonly("isSingular", &rxNearestMiss::isSingular, "The pose cannot be inverted.")
        .def_readonly("isBeyondCount", &rxNearestMiss::isBeyondCount,
                      "Allowed, but the number of results is limited.");

    py::class_<rxWhyNot>(m, "rxWhyNot", "Why a run finds nothing, or not what it should.")
        .def("__repr__", &shownReason)
        .def_readonly("reason", &rxWhyNot::reason, "In short.")
        .def_readonly("cost", &rxWhyNot::cost, py::return_value_policy::copy, "Sizes in effect.")
        .def_readonly("isWidened", &rxWhyNot::isWidened,
                      "Whether the candidates are those of a wider search than the run's.")
        .def_readonly("numReturned", &rxWhyNot::numReturned, "Results of the run.")
        .def_readonly("numCandidates", &rxWhyNot::numCandidates, "Fitted poses looked at.")
        .def_readonly("numBelowCoverage", &rxWhyNot::numBelowCoverage, "Below the coverage.")
        .def_readonly("numOutsideTranslation", &rxWhyNot::numOutsideTranslation,
                      "Exhaustive runs only.")
        .def_readonly("numOutsideRotation", &rxWhyNot::numOutsideRotation,
                      "Turned by more than is allowed.")
        .def_readonly("numOutsideScale", &rxWhyNot::numOutsideScale, "Exhaustive runs only.")
        .def_readonly("numSingular", &rxWhyNot::numSingular, "With a pose without inverse.")
        .def_readonly("numBeyondCount", &rxWhyNot::numBeyondCount,
                      "Allowed, but more than the wanted number of results.")
        .def_readonly("bestCoverage", &rxWhyNot::bestCoverage, "Of all candidates.")
        .def_readonly("nearestMiss", &rxWhyNot::nearestMiss, py::return_value_policy::copy,
                      "The candidate of the highest coverage that is not returned, or None.");

    m.def(
        "rfWhyNot",
        [](const SharedMatcher& matcher, const py::object& data,
           const rxPointMatcherRunParams& params) {
            const auto points = points2(data, "data");
            const auto trained = matcher.now();
            const rxPointMatcherRunParams fixed = params;
            const LongCall call;
            return rfWhyNot(*trained, points, fixed);
        },
        py::arg("matcher"), py::arg("data"), py::arg("params"),
        "Tells why a run of these data with these parameters finds nothing, or not the expected. "
        "Takes the run again, and if it finds nothing, several times as long.");
}

}  // namespace

void bindAdditions(py::module_& m) {
    bindMatchedPairs(m);
    bindDistinctInstances(m);
    bindRefit(m);
    bindRunCost(m);
    bindWhyNot(m);
}

}  // namespace ptmatch::python
