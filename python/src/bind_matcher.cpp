#include <pybind11/stl.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <sstream>
#include <string>

#include "arrays.h"
#include "bindings.h"
#include "persistence.h"
#include "progress_function.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/run_watch.h"
#include "ptmatch/summaries.h"
#include "run_into.h"
#include "shared_matcher.h"

namespace py = pybind11;

namespace ptmatch::python {
namespace {

template <class T>
std::string summary(const T& value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

void bindDefs(py::module_& m) {
    py::class_<rxPointMatcherDefs> defs(m, "rxPointMatcherDefs",
                                        "Scope of the matcher's enumeration and errors.");
    py::enum_<rxPointMatcherDefs::Mode>(defs, "Mode",
                                        "How a matcher is trained and how a result was found.")
        .value("eAutoDetect", rxPointMatcherDefs::eAutoDetect, "to train: the search by votes")
        .value("ePointToPoint", rxPointMatcherDefs::ePointToPoint, "trained on points")
        .value("ePointToGrid", rxPointMatcherDefs::ePointToGrid, "trained on a grid pattern")
        .value("eExhaustiveMode", rxPointMatcherDefs::eExhaustiveMode,
               "every one-to-one assignment; for sets of up to about six points")
        .export_values();
}

/// A number of results that a record can hold: others would be found out by a pickle only.
long recordable(long maxNumResults) {
    if (maxNumResults > std::numeric_limits<std::int32_t>::max()) {
        throw rxPointMatcherDefs::BadParams("maxNumResults must be at most 2147483647\n");
    }
    return maxNumResults;
}

void bindRunParams(py::module_& m) {
    using Params = rxPointMatcherRunParams;
    py::class_<Params> params(
        m, "rxPointMatcherRunParams",
        "What a run may find. Each setter raises BadParams for a value that is not accepted; the "
        "object then keeps its old one. Lengths are in the units of the points.");
    params.def(py::init<>(), "The defaults: coverage 0.5, -15 to +15 degrees, no change of scale.");
    const Params plain;
    params.def(py::init([](double minCoverage, const rxXform<2>& startPose, const rxRange& x,
                           const rxRange& y, const rxAngleRange& rotation, const rxRange& scale,
                           bool autoGridSize, double gridSize, bool autoCaptureRange,
                           double captureRange, long maxNumResults) {
                   return Params(minCoverage, startPose, x, y, rotation, scale, autoGridSize,
                                 gridSize, autoCaptureRange, captureRange,
                                 recordable(maxNumResults));
               }),
               py::arg("minCoverage"), py::arg("startPose") = plain.startPose(),
               py::arg("xTranslationUncertainty") = plain.xTranslationUncertainty(),
               py::arg("yTranslationUncertainty") = plain.yTranslationUncertainty(),
               py::arg("rotationUncertainty") = plain.rotationUncertainty(),
               py::arg("scaleUncertainty") = plain.scaleUncertainty(),
               py::arg("autoGridSize") = true, py::arg("gridSize") = 0.0,
               py::arg("autoCaptureRange") = true, py::arg("captureRange") = 0.0,
               py::arg("maxNumResults").noconvert() = 1, "Each value passes through its setter.");

    const auto property = [&params](const char* name, auto getter, auto setter, const char* doc) {
        params.def(name, getter, doc);
        params.def(name, setter, py::arg("value"));
    };
    property("minCoverage", py::overload_cast<>(&Params::minCoverage, py::const_),
             py::overload_cast<double>(&Params::minCoverage),
             "Smallest matched share of the model's weight, 0 to 1.");
    property("startPose", py::overload_cast<>(&Params::startPose, py::const_),
             py::overload_cast<const rxXform<2>&>(&Params::startPose),
             "The expected pose; the uncertainties are relative to it.");
    property("rotationUncertainty", py::overload_cast<>(&Params::rotationUncertainty, py::const_),
             py::overload_cast<const rxAngleRange&>(&Params::rotationUncertainty),
             "Allowed rotation against the start pose.");
    property("xTranslationUncertainty",
             py::overload_cast<>(&Params::xTranslationUncertainty, py::const_),
             py::overload_cast<const rxRange&>(&Params::xTranslationUncertainty),
             "Allowed translation along x of the centre of the model's bounding box.");
    property("yTranslationUncertainty",
             py::overload_cast<>(&Params::yTranslationUncertainty, py::const_),
             py::overload_cast<const rxRange&>(&Params::yTranslationUncertainty),
             "The same along y.");
    property("scaleUncertainty", py::overload_cast<>(&Params::scaleUncertainty, py::const_),
             py::overload_cast<const rxRange&>(&Params::scaleUncertainty),
             "Allowed relative change of scale: (-0.1, 0.2) is 10 % smaller to 20 % larger.");
    property("autoGridSize", py::overload_cast<>(&Params::autoGridSize, py::const_),
             py::overload_cast<bool>(&Params::autoGridSize),
             "Whether a run takes the grid size that training derived.");
    property("gridSize", py::overload_cast<>(&Params::gridSize, py::const_),
             py::overload_cast<double>(&Params::gridSize),
             "Cell size of the search, model units; used when autoGridSize() is False.");
    property("autoCaptureRange", py::overload_cast<>(&Params::autoCaptureRange, py::const_),
             py::overload_cast<bool>(&Params::autoCaptureRange),
             "Whether a run takes the grid size as its capture range.");
    property("captureRange", py::overload_cast<>(&Params::captureRange, py::const_),
             py::overload_cast<double>(&Params::captureRange),
             "Largest distance of a match, data units; used when autoCaptureRange() is False.");
    params.def("maxNumResults", py::overload_cast<>(&Params::maxNumResults, py::const_),
               "Largest number of results.");
    params.def(
        "maxNumResults", [](Params& self, long value) { self.maxNumResults(recordable(value)); },
        py::arg("value").noconvert());
    params.def("__repr__", &summary<Params>);
    addPersistence(params);
}

void bindResults(py::module_& m) {
    using Result = rxPointMatcherResult;
    py::class_<Result> result(m, "rxPointMatcherResult",
                              "One pose: where the model lies in the data, and which data point "
                              "each model point was matched to.");
    result.def(py::init<>(), "The identity pose with an empty map.");
    result.def("runMode", &Result::runMode, "The method that found it.");
    result.def("modelToDataXform", &Result::modelToDataXform,
               "The pose, an rxXform from model to data.");
    result.def(
        "modelToDataMap", [](const Result& r) { return arrayOf(r.modelToDataMap()); },
        "int64 of shape (n,): for each model point the index of its data point, -1 for none. "
        "Raises NotRun for a result of grid mode.");
    result.def("gridToDataMap", &Result::gridToDataMap, py::arg("position"),
               "The index of the data point at a position (x, y) of the trained pattern, -1 for "
               "none. Raises NotRun unless of grid mode, ImageError outside the pattern.");
    result.def(
        "gridToDataMap",
        [](const Result& r, const py::object& places) {
            std::vector<long> indices;
            for (const rxPair<long>& place : positions(places, "positions")) {
                indices.push_back(r.gridToDataMap(place));
            }
            return arrayOf(indices);
        },
        py::arg("positions"), "The same for an array of positions of shape (n, 2): int64 (n,).");
    result.def("coverage", &Result::coverage, "The matched share of the model, 0 to 1.");
    result.def("fitError", &Result::fitError,
               "Root mean square distance of the matched points, data units.");
    result.def("__repr__", &summary<Result>);
    addPersistence(result);

    using Set = rxPointMatcherResultSet;
    py::class_<Set> set(m, "rxPointMatcherResultSet", "What a run found, best first.");
    set.def(py::init<>(), "No results, time 0.");
    set.def("results", &Set::results, "A list of copies of the results, best first.");
    set.def("time", &Set::time, "Seconds that the last run took.");
    set.def("__repr__", &summary<Set>);
    addPersistence(set);
}

std::optional<py::function> progressOf(const rxRunLimits& limits) {
    const auto* told = limits.onProgress.target<ProgressFunction>();
    if (told == nullptr) return std::nullopt;
    return py::reinterpret_borrow<py::function>(told->function());
}

void setProgress(rxRunLimits& limits, const std::optional<py::object>& function) {
    limits.onProgress = nullptr;
    if (function) limits.onProgress = ProgressFunction(*function);
}

void bindLimits(py::module_& m) {
    py::class_<rxRunLimits>(m, "rxRunLimits",
                            "How long a watched run may take, and whom to tell how far it is.")
        .def(py::init<>(), "No limit, nobody is told.")
        .def_readwrite("timeLimit", &rxRunLimits::timeLimit, "Seconds; infinite at first.")
        .def_property("onProgress", &progressOf, &setProgress,
                      "Called with the share that is done, 0 to 1; what it raises ends the run. "
                      "None: nobody is told.")
        .def_readwrite("progressInterval", &rxRunLimits::progressInterval,
                       "Seconds between two calls, at least; 0.1 at first.");
}

using Points = std::vector<rxVector<2>>;

/// Trains a new matcher: after a failure it is untrained.
template <class Train>
void trainNew(SharedMatcher& self, const Train& train) {
    trainInstead(self, std::make_shared<rxPointMatcher>(), train);
}

/// Runs while other Python threads run.
/// @param limits  null: none.
void run(const SharedMatcher& self, const Points& points, const rxPointMatcherRunParams& params,
         rxPointMatcherResultSet& resultSet, const rxRunLimits* limits) {
    const auto matcher = self.now();
    const rxPointMatcherRunParams fixed = params;
    if (limits == nullptr) {
        runInto(resultSet, [&](auto& found) { matcher->run(points, fixed, found); });
        return;
    }
    // A copy, as Python may set another function meanwhile.
    const rxRunLimits own = *limits;
    runInto(resultSet, [&](auto& found) { rfRunWatched(*matcher, points, fixed, found, own); });
}

void runMatcher(const SharedMatcher& self, const py::object& data,
                const rxPointMatcherRunParams& params, rxPointMatcherResultSet& resultSet) {
    run(self, points2(data, "data"), params, resultSet, nullptr);
}

void runWatched(const SharedMatcher& self, const py::object& data,
                const rxPointMatcherRunParams& params, rxPointMatcherResultSet& resultSet,
                const rxRunLimits& limits) {
    run(self, points2(data, "data"), params, resultSet, &limits);
}

/// The data point of each model point, not-a-number for none.
Points matchedPoints(const rxPointMatcherResult& result, const Points& data) {
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    Points matched;
    matched.reserve(result.modelToDataMap().size());
    for (const long place : result.modelToDataMap()) {
        matched.push_back(place < 0 ? rxVector<2>(kNone, kNone)
                                    : data[static_cast<std::size_t>(place)]);
    }
    return matched;
}

/// A run on points that are read once: what is told of the matches fits them, also when others
/// change the array meanwhile.
std::vector<py::array_t<double>> runAndPair(const SharedMatcher& self, const py::object& data,
                                            const rxPointMatcherRunParams& params,
                                            rxPointMatcherResultSet& resultSet,
                                            const std::optional<rxRunLimits>& limits) {
    const Points points = points2(data, "data");
    run(self, points, params, resultSet, limits ? &*limits : nullptr);
    std::vector<py::array_t<double>> matched;
    for (const auto& result : resultSet.results()) {
        matched.push_back(arrayOf(matchedPoints(result, points)));
    }
    return matched;
}

/// The mode, which records do not hold, goes beside the record.
py::tuple stateOf(const SharedMatcher& self) {
    const bool isExhaustive =
        self->isTrained() && self->trainMode() == rxPointMatcherDefs::eExhaustiveMode;
    return py::make_tuple(recordOf(*self), isExhaustive);
}

SharedMatcher fromRecord(const py::bytes& record, bool isExhaustive) {
    const auto matcher = std::make_shared<rxPointMatcher>();
    loadRecord(*matcher, record);
    if (isExhaustive && matcher->isTrained()) {
        // A load keeps the mode that the matcher has.
        matcher->train(Points(matcher->modelPoints()), rxPointMatcherDefs::eExhaustiveMode);
        loadRecord(*matcher, record);
    }
    return SharedMatcher(matcher);
}

void bindTraining(py::class_<SharedMatcher>& type) {
    type.def(
        "train",
        [](SharedMatcher& self, const py::object& points, rxPointMatcherDefs::Mode mode) {
            const Points model = points2(points, "points");
            trainNew(self, [&](rxPointMatcher& matcher) { matcher.train(model, mode); });
        },
        py::arg("points"), py::arg("mode"),
        "Trains on points, at least 3, of shape (n, 2); mode is eAutoDetect or eExhaustiveMode. "
        "After a failure the matcher is untrained.");
    type.def(
        "train",
        [](SharedMatcher& self, const py::object& points, const py::object& weights,
           rxPointMatcherDefs::Mode mode) {
            const Points model = points2(points, "points");
            const std::vector<long> weight = integers(weights, "weights");
            trainNew(self, [&](rxPointMatcher& matcher) { matcher.train(model, weight, mode); });
        },
        py::arg("points"), py::arg("weights"), py::arg("mode"),
        "The same with a whole number for each point, at least two above 0.");
    type.def(
        "train",
        [](SharedMatcher& self, const rxPelBuffer<unsigned char>& image) {
            // The pixels are shared with Python: a copy is trained on.
            const rxPelBuffer<unsigned char> own = remade(image);
            trainNew(self, [&](rxPointMatcher& matcher) {
                matcher.train(rxPelBuffer_const<unsigned char>(own));
            });
        },
        py::arg("image"),
        "Trains grid mode on an rxPelBuffer, each non-zero pixel of which is a point of the "
        "pattern; its transform holds the steps of the grid.");
    type.def(
        "untrain", [](SharedMatcher& self) { self = SharedMatcher(); },
        "Forgets what was trained.");
}

}  // namespace

void bindMatcher(py::module_& m) {
    bindDefs(m);
    bindRunParams(m);
    bindResults(m);
    bindLimits(m);

    py::class_<SharedMatcher> type(
        m, "rxPointMatcher",
        "Finds a known pattern of points among measured points. Train once, run as often as there "
        "are data. Other threads run during train and run; a run that is under way goes on with "
        "what was trained when it began.");
    type.def(py::init<>(), "An untrained matcher.");
    bindTraining(type);
    type.def(
        "isTrained", [](const SharedMatcher& self) { return self->isTrained(); },
        "True after a training that succeeded.");
    type.def(
        "trainMode", [](const SharedMatcher& self) { return self->trainMode(); },
        "How run will work. Raises NotTrained for an untrained matcher.");
    type.def(
        "modelPoints", [](const SharedMatcher& self) { return arrayOf(self->modelPoints()); },
        "A copy of the points trained on, shape (n, 2). Raises NotTrained.");
    type.def(
        "weights", [](const SharedMatcher& self) { return arrayOf(self->weights()); },
        "The weights trained on. Raises NotTrained unless trained with eAutoDetect.");
    type.def(
        "pattern", [](const SharedMatcher& self) { return remade(self->pattern()); },
        "A copy of the trained grid pattern, cropped to its points. Raises NotTrained.");
    type.def("run", &runMatcher, py::arg("data"), py::arg("params"), py::arg("resultSet"),
             "Finds the pattern among the data, shape (n, 2); the result set receives the results. "
             "Ctrl-C ends it, but for exhaustive runs and dense grid patterns. Raises NotTrained, "
             "BadParams, Interrupted.");

    type.def(
        "to_bytes", [](const SharedMatcher& self) { return recordOf(*self); },
        "The record of the matcher, as archives hold it: without the exhaustive mode.");
    type.def_static("from_bytes", &fromRecord, py::arg("record"), py::arg("exhaustive") = false,
                    "The matcher of such a record; exhaustive sets the mode that it does not hold. "
                    "Raises ArchiveError.");
    type.def(py::pickle(&stateOf, [](const py::tuple& state) {
        if (state.size() != 2) throw py::value_error("the state of another class");
        return fromRecord(py::cast<py::bytes>(state[0]), py::cast<bool>(state[1]));
    }));
    addCopies(type);
    type.def(
        "__eq__",
        [](const SharedMatcher& a, const SharedMatcher& b) { return stateOf(a).equal(stateOf(b)); },
        py::is_operator(), py::arg("other"), "Whether both were trained alike.");
    type.def("__repr__", [](const SharedMatcher& self) {
        if (!self->isTrained()) return std::string("<rxPointMatcher, untrained>");
        const auto mode = py::cast<std::string>(py::cast(self->trainMode()).attr("name"));
        return "<rxPointMatcher, trained, " + mode + ">";
    });

    m.def("_runAndPair", &runAndPair, py::arg("matcher"), py::arg("data"), py::arg("params"),
          py::arg("resultSet"), py::arg("limits"),
          "rfRunWatched, or run with limits None, of a matcher trained on points. Gives for each "
          "result the data points of the model points, shape (n, 2), nan for none.");
    m.def("rfRunWatched", &runWatched, py::arg("matcher"), py::arg("data"), py::arg("params"),
          py::arg("resultSet"), py::arg("limits"),
          "matcher.run under a limit of time, telling how far it is. Raises DeadlinePassed.");
}

}  // namespace ptmatch::python
