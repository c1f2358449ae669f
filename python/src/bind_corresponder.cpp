#include <pybind11/stl.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "arrays.h"
#include "bindings.h"
#include "persistence.h"
#include "ptmatch/gridcorr.h"
#include "ptmatch/score_hashing.h"
#include "run_into.h"
#include "shared.h"
#include "shown.h"

namespace py = pybind11;

namespace ptmatch::python {
namespace {

using Defs = rx_PointToGridCorresponderDefs;
using TrainParams = rx_PointToGridCorresponderTrainParams;
using RunParams = rx_PointToGridCorresponderRunParams;
using Result = rx_PointToGridCorresponderResult;
using ResultSet = rx_PointToGridCorresponderResultSet;
using Corresponder = rx_PointToGridCorresponder;
using ProbePt = Corresponder::ProbePt;
using SharedCorresponder = Shared<Corresponder>;
using Image = rxPelBuffer<unsigned char>;
void bindDefs(py::module_& m) {
    py::class_<Defs> defs(m, "rx_PointToGridCorresponderDefs",
                          "Scope of the corresponder's enumeration and errors.");
    py::enum_<Defs::FeatureType>(defs, "FeatureType", "Which positions of the pattern are probed.")
        .value("eAllPoints", Defs::eAllPoints, "every point; no empty position is looked at")
        .value("eBorderPoints", Defs::eBorderPoints,
               "points with an empty neighbour or none, and those empty places")
        .value("eWideBorderPoints", Defs::eWideBorderPoints,
               "the same with a second layer on each side")
        .export_values();
}

void bindParams(py::module_& m) {
    py::class_<TrainParams> train(m, "rx_PointToGridCorresponderTrainParams",
                                  "How a grid corresponder is trained.");
    train.def(py::init<bool, Defs::FeatureType>(), py::arg("staggered") = false,
              py::arg("featureType") = Defs::eBorderPoints,
              "Neighbours are the four next positions unless staggered.");
    train.def("staggered", py::overload_cast<>(&TrainParams::staggered, py::const_),
              "Whether the neighbours of a position are the four diagonal ones.");
    train.def("staggered", py::overload_cast<bool>(&TrainParams::staggered), py::arg("value"));
    train.def("featureType", py::overload_cast<>(&TrainParams::featureType, py::const_),
              "Which positions of the pattern become probes.");
    train.def("featureType", py::overload_cast<Defs::FeatureType>(&TrainParams::featureType),
              py::arg("value"));
    train.def("__repr__", [](const TrainParams& p) {
        return "<rx_PointToGridCorresponderTrainParams: staggered " + shown(p.staggered()) +
               ", featureType " + std::to_string(p.featureType()) + ">";
    });
    addPersistence(train);

    // Records hold 32 bits: no larger number of results gets in here.
    const auto setMaxNumResults = [](RunParams& p, std::int32_t value) { p.maxNumResults(value); };
    py::class_<RunParams> run(
        m, "rx_PointToGridCorresponderRunParams",
        "What a run of a grid corresponder may find. Nothing is checked but by the run.");
    run.def(py::init([](double accept, double confusion, std::int32_t maxNumResults) {
                return RunParams(accept, confusion, maxNumResults);
            }),
            py::arg("accept") = 0.5, py::arg("confusion") = 1.0, py::arg("maxNumResults") = 1,
            "Half of the probes, one result.");
    run.def("accept", py::overload_cast<>(&RunParams::accept, py::const_),
            "The share of the probes that must agree, 0 to 1; rounded down to whole probes.");
    run.def("accept", py::overload_cast<double>(&RunParams::accept), py::arg("value"));
    run.def("confusion", py::overload_cast<>(&RunParams::confusion, py::const_),
            "Kept and recorded; nothing reads it.");
    run.def("confusion", py::overload_cast<double>(&RunParams::confusion), py::arg("value"));
    run.def("maxNumResults", py::overload_cast<>(&RunParams::maxNumResults, py::const_),
            "The largest number of results, at least 1.");
    run.def("maxNumResults", setMaxNumResults, py::arg("value"));
    run.def("__repr__", [](const RunParams& p) {
        return "<rx_PointToGridCorresponderRunParams: accept " + shown(p.accept()) +
               ", confusion " + shown(p.confusion()) + ", maxNumResults " +
               shown(p.maxNumResults()) + ">";
    });
    addPersistence(run);
}

void bindResults(py::module_& m) {
    py::class_<Result> result(m, "rx_PointToGridCorresponderResult",
                              "One placement of the pattern.");
    result.def(py::init<>(), "Not found, score 0, position (0, 0).");
    result.def("found", &Result::found, "True in every result of a run.");
    result.def("score", &Result::score, "The share of the probes that agree, 0 to 1.");
    result.def("position", &Result::position,
               "What to add to a position (i, j) of the pattern to reach that of the data.");
    result.def("__repr__", [](const Result& r) {
        return "<rx_PointToGridCorresponderResult: score " + shown(r.score()) + " at " +
               shown(r.position()) + ">";
    });
    addPersistence(result);

    py::class_<ResultSet> set(m, "rx_PointToGridCorresponderResultSet",
                              "What a run of a grid corresponder found, best first.");
    set.def(py::init<>(), "No results, time 0.");
    set.def("results", &ResultSet::results, "A list of copies of the results, best first.");
    set.def("time", &ResultSet::time, "Seconds that the last run took.");
    set.def("__repr__", [](const ResultSet& s) {
        return "<rx_PointToGridCorresponderResultSet: " + std::to_string(s.results().size()) +
               " results>";
    });
    addPersistence(set);
}

void bindProbe(py::class_<SharedCorresponder>& scope) {
    py::class_<ProbePt>(scope, "ProbePt", "A position of the pattern that a run looks at.")
        .def_readonly("position", &ProbePt::position,
                      "(i, j), relative to the smallest i and j of the pattern.")
        .def_readonly("expected", &ProbePt::expected,
                      "Whether a point has to be there, or must not be.")
        .def(
            "__eq__", [](const ProbePt& a, const ProbePt& b) { return a == b; }, py::is_operator(),
            py::arg("other"))
        .def(py::pickle(
            [](const ProbePt& probe) { return py::make_tuple(probe.position, probe.expected); },
            [](const py::tuple& state) {
                return ProbePt{py::cast<rxPair<long>>(state[0]), py::cast<bool>(state[1])};
            }))
        .def("__repr__", [](const ProbePt& probe) {
            return "<ProbePt " + shown(probe.position) + ", " +
                   (probe.expected ? "expected" : "not expected") + ">";
        });
}

/// Trains a copy, which keeps what a training leaves as it was.
template <class Train>
void trainCopy(SharedCorresponder& self, const Train& train) {
    trainInstead(self, std::make_shared<Corresponder>(*self), train);
}

void bindTraining(py::class_<SharedCorresponder>& type) {
    type.def(
        "train",
        [](SharedCorresponder& self, const Image& image, const TrainParams& params) {
            const Image own = remade(image);
            const TrainParams fixed = params;
            trainCopy(self, [&](Corresponder& tool) { tool.train(own, fixed); });
        },
        py::arg("image"), py::arg("params"),
        "Trains on the non-zero pixels of an rxPelBuffer, at least 3; a pixel's position counts "
        "the offset in. Raises InsufficientPatternPoints; the tool is then as it was, but for its "
        "train parameters.");
    type.def(
        "train",
        [](SharedCorresponder& self, const py::object& gridPoints, const TrainParams& params,
           const rxXform<2>& clientFromGrid) {
            const std::vector<rxPair<long>> pattern = positions(gridPoints, "gridPoints");
            const TrainParams fixed = params;
            const rxXform<2> xform = clientFromGrid;
            trainCopy(self, [&](Corresponder& tool) { tool.train(pattern, fixed, xform); });
        },
        py::arg("gridPoints"), py::arg("params"), py::arg("clientFromGrid"),
        "Trains on positions of shape (n, 2), at least one, in any order; the transform is kept "
        "with the pattern. Raises also InsufficientMemory for positions too far apart.");
    type.def(
        "untrain",
        [](SharedCorresponder& self) {
            trainCopy(self, [](Corresponder& tool) { tool.untrain(); });
        },
        "Forgets the probes; pattern and parameters stay.");
}

/// Runs on data that nobody else sees, on what is trained now.
template <class Data>
bool runOn(const SharedCorresponder& self, const Data& data, const RunParams& params,
           ResultSet& results) {
    const auto tool = self.now();
    const RunParams fixed = params;
    bool isFound = false;
    runInto(results, [&](ResultSet& found) { isFound = tool->run(data, fixed, found); });
    return isFound;
}

void bindRuns(py::class_<SharedCorresponder>& type) {
    type.def(
        "run",
        [](const SharedCorresponder& self, const Image& image, const RunParams& params,
           ResultSet& results) { return runOn(self, remade(image), params, results); },
        py::arg("image"), py::arg("params"), py::arg("results"),
        "The same in an rxPelBuffer that holds 1 at each position of the data and 0 elsewhere.");
    type.def(
        "run",
        [](const SharedCorresponder& self, const py::object& gridPoints, const RunParams& params,
           ResultSet& results) {
            return runOn(self, positions(gridPoints, "gridPoints"), params, results);
        },
        py::arg("gridPoints"), py::arg("params"), py::arg("results"),
        "Finds the translations at which the pattern agrees with positions of shape (n, 2). "
        "Returns whether there is any; the results receive them, highest score first. Other "
        "threads run meanwhile. Raises InsufficientMemory for positions too far apart.");
}

SharedCorresponder fromRecord(const py::bytes& record) {
    const auto tool = std::make_shared<Corresponder>();
    loadRecord(*tool, record);
    return SharedCorresponder(tool);
}

void addPersistenceOf(py::class_<SharedCorresponder>& type) {
    const auto recordOfNow = [](const SharedCorresponder& self) { return recordOf(*self); };
    type.def("to_bytes", recordOfNow, "The record of what was trained, as archives hold it.");
    type.def_static("from_bytes", &fromRecord, py::arg("record"),
                    "The tool of such a record. Raises ArchiveError for any other bytes.");
    type.def(py::pickle(recordOfNow, &fromRecord));
    addCopies(type);
    type.def(
        "__eq__",
        [](const SharedCorresponder& a, const SharedCorresponder& b) {
            return recordOf(*a).equal(recordOf(*b));
        },
        py::is_operator(), py::arg("other"), "Whether both were trained alike.");
}

void bindTool(py::module_& m) {
    py::class_<SharedCorresponder> type(
        m, "rx_PointToGridCorresponder",
        "Finds where a pattern of grid positions lies among more grid positions: the whole steps "
        "by which it has to be moved so that enough of it agrees. Neither rotation nor scale is "
        "searched. A run that is under way goes on with what was trained when it began.");
    bindProbe(type);
    type.def(py::init<>(), "Untrained, with default parameters and an empty pattern.");
    bindTraining(type);
    bindRuns(type);
    type.def(
        "isTrained", [](const SharedCorresponder& self) { return self->isTrained(); },
        "Whether there are probes to run with.");
    type.def(
        "trainParams", [](const SharedCorresponder& self) { return self->trainParams(); },
        "A copy of the parameters of the last training, also of one that failed.");
    type.def(
        "pattern", [](const SharedCorresponder& self) { return remade(self->pattern()); },
        "A copy of the pattern, an rxPelBuffer: 1 at each position, 0 elsewhere; its offset is "
        "the smallest i and j.");
    type.def(
        "probes", [](const SharedCorresponder& self) { return self->probes(); },
        "A list of copies of the probes, row by row.");
    addPersistenceOf(type);
    type.def("__repr__", [](const SharedCorresponder& self) {
        if (!self->isTrained()) return std::string("<rx_PointToGridCorresponder, untrained>");
        return "<rx_PointToGridCorresponder of " + std::to_string(self->probes().size()) +
               " probes>";
    });
}

/// A step of an iteration: the score with its position, or -1 with None at the end.
template <class Step>
py::tuple visited(const Step& step) {
    rxPair<long> position;
    const long score = step(position);
    if (score < 0) return py::make_tuple(score, py::none());
    return py::make_tuple(score, position);
}

void bindScoreHashing(py::module_& m) {
    using Store = rxScoreHashing;
    py::class_<Store> store(
        m, "rxScoreHashing",
        "Keeps the best positions of a stream of positions with small whole scores. A full store "
        "refuses what does not beat its lowest score; a better position displaces the latest one "
        "of that score. It cannot be copied.");
    store.def(py::init<long, long>(), py::arg("maxScore") = 1000, py::arg("maxResults") = 1,
              "For scores 0 to maxScore; keeps at most maxResults positions. Raises MemoryError.");
    store.def("max", &Store::max, py::arg("maxScore"), py::arg("maxResults"),
              "Gives the store new dimensions and empties it.");
    store.def("clear", &Store::clear, "Empties the store.");
    store.def("add", &Store::add, py::arg("score"), py::arg("position"),
              "Offers a position (x, y); returns whether it was taken.");
    store.def(
        "first",
        [](Store& s) {
            return visited([&s](rxPair<long>& position) { return s.first(position); });
        },
        "Begins at the latest position of the highest score: (score, (x, y)), or (-1, None) of an "
        "empty store.");
    store.def(
        "next",
        [](Store& s) { return visited([&s](rxPair<long>& position) { return s.next(position); }); },
        "The next one, scores from high to low, positions of a score from the latest to the "
        "oldest; (-1, None) when none is left.");
    store.def("maxScore", &Store::maxScore, "The highest score that is taken.");
    store.def("maxResults", &Store::maxResults, "The most positions that are kept.");
    store.def("numResults", &Store::numResults, "The positions held.");
    store.def("highestScore", &Store::highestScore, "The highest score held, -1 of an empty one.");
    store.def("lowestScore", &Store::lowestScore, "The lowest score held, -1 of an empty one.");
    store.def("__repr__", [](const Store& s) {
        return "<rxScoreHashing of " + std::to_string(s.numResults()) + " positions>";
    });
}

}  // namespace

void bindCorresponder(py::module_& m) {
    bindDefs(m);
    bindParams(m);
    bindResults(m);
    bindTool(m);
    bindScoreHashing(m);
}

}  // namespace ptmatch::python
