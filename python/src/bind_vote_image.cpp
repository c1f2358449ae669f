#include <pybind11/stl.h>

#include <algorithm>
#include <optional>

#include "arrays.h"
#include "bindings.h"
#include "long_call.h"
#include "ptmatch/vote_image.h"
#include "shared_matcher.h"

namespace py = pybind11;

namespace ptmatch::python {
namespace {

py::array_t<std::int32_t> votesOf(const rxVoteImage& image) {
    py::array_t<std::int32_t> array({image.height, image.width});
    std::copy(image.votes.begin(), image.votes.end(), array.mutable_data());
    return array;
}

/// A copy of the arguments of a run, for a search while other Python threads run.
struct Search {
    Search(const SharedMatcher& matcher, const py::object& points,
           const rxPointMatcherRunParams& runParams)
        : trained(matcher.now()), data(points2(points, "data")), params(runParams) {}

    std::shared_ptr<const rxPointMatcher> trained;
    std::vector<rxVector<2>> data;
    rxPointMatcherRunParams params;
};

void bindTypes(py::module_& m) {
    py::class_<rxVotePlace>(m, "rxVotePlace",
                            "A scale and a rotation, as changes to the start pose.")
        .def(py::init([](double scale, double rotationDegrees) {
                 return rxVotePlace{scale, rotationDegrees};
             }),
             py::arg("scale") = 1.0, py::arg("rotationDegrees") = 0.0)
        .def_readwrite("scale", &rxVotePlace::scale, "Factor, above 0.")
        .def_readwrite("rotationDegrees", &rxVotePlace::rotationDegrees, "Degrees.");
    py::class_<rxVoteImage>(m, "rxVoteImage",
                            "What a search counts at one scale and rotation: a vote for each "
                            "translation that it tries.")
        .def_readonly("place", &rxVoteImage::place, py::return_value_policy::copy,
                      "Where the votes were counted.")
        .def_readonly("width", &rxVoteImage::width, "Translations in x; 0 without a search.")
        .def_readonly("height", &rxVoteImage::height, "Translations in y.")
        .def_property_readonly("votes", &votesOf, "int32 of shape (height, width).")
        .def_readonly("firstStep", &rxVoteImage::firstStep,
                      "Translation of the first column and row, in steps (x, y).")
        .def_readonly("step", &rxVoteImage::step, "The grid size in effect, model units.")
        .def_readonly("threshold", &rxVoteImage::threshold, "Votes below are no candidates.")
        .def_readonly("highestPossible", &rxVoteImage::highestPossible,
                      "The vote of a place where all points meet marks.")
        .def_readonly("isWeighted", &rxVoteImage::isWeighted, "Whether weights vote, not points.")
        .def_readonly("startPose", &rxVoteImage::startPose, py::return_value_policy::copy,
                      "That of the run parameters.")
        .def_readonly("modelCenter", &rxVoteImage::modelCenter,
                      "Of the model's bounding box, (x, y), model units.")
        .def("translation", &rxVoteImage::translation, py::arg("column"), py::arg("row"),
             "By how much the centre of the model moves, (x, y), model units.")
        .def("modelToData", &rxVoteImage::modelToData, py::arg("column"), py::arg("row"),
             "The pose of a column and row, an rxXform.")
        .def("columnAndRow", &rxVoteImage::columnAndRow, py::arg("modelToData"),
             "Column and row of the translation of a pose.");
}

}  // namespace

void bindVoteImage(py::module_& m) {
    bindTypes(m);
    m.def(
        "rfVoteImage",
        [](const SharedMatcher& matcher, const py::object& data,
           const rxPointMatcherRunParams& params, const rxVotePlace& place) {
            const Search search(matcher, data, params);
            const rxVotePlace fixed = place;
            const LongCall call;
            return rfVoteImage(*search.trained, search.data, search.params, fixed);
        },
        py::arg("matcher"), py::arg("data"), py::arg("params"), py::arg("place"),
        "The votes of a run's search at a scale and rotation. Raises BadParams for runs that do "
        "not vote.");
    m.def(
        "rfBestVotePlace",
        [](const SharedMatcher& matcher, const py::object& data,
           const rxPointMatcherRunParams& params) {
            const Search search(matcher, data, params);
            const LongCall call;
            return rfBestVotePlace(*search.trained, search.data, search.params);
        },
        py::arg("matcher"), py::arg("data"), py::arg("params"),
        "The place where the highest of all votes stands, or None without a search.");
    m.def(
        "rfNearestVotePlace",
        [](const SharedMatcher& matcher, const py::object& data,
           const rxPointMatcherRunParams& params, const rxXform<2>& modelToData) {
            const Search search(matcher, data, params);
            return rfNearestVotePlace(*search.trained, search.data, search.params, modelToData);
        },
        py::arg("matcher"), py::arg("data"), py::arg("params"), py::arg("modelToData"),
        "The place of the search nearest to a pose, or None without a search.");
}

}  // namespace ptmatch::python
