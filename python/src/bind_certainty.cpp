#include <pybind11/stl.h>

#include <sstream>
#include <string>

#include "arrays.h"
#include "bindings.h"
#include "ptmatch/certainty.h"
#include "ptmatch/clutter_chance.h"
#include "ptmatch/pose_covariance.h"
#include "shared_matcher.h"

namespace py = pybind11;

namespace ptmatch::python {
namespace {

py::array_t<double> matrixCovariance(const rxPoseCovariance& covariance) {
    py::array_t<double> array({4, 4});
    double* element = array.mutable_data();
    for (const auto& row : covariance.matrixCovariance) {
        for (const double value : row) *element++ = value;
    }
    return array;
}

void bindPoseCovariance(py::module_& m) {
    using Covariance = rxPoseCovariance;
    py::class_<Covariance> type(m, "rxPoseCovariance", "How well a fitted pose is known.");
    py::class_<Covariance::Position>(type, "Position",
                                     "The covariance of the image of a model point, data units "
                                     "squared.")
        .def_readonly("xx", &Covariance::Position::xx, "Variance of x.")
        .def_readonly("xy", &Covariance::Position::xy, "Covariance of x and y.")
        .def_readonly("yy", &Covariance::Position::yy, "Variance of y.")
        .def("rms", &Covariance::Position::rms,
             "Root of the mean square of the distance from the true image.");
    type.def_readonly("sigma", &Covariance::sigma,
                      "Standard deviation of a coordinate of a data point; infinite when residuals "
                      "do not tell it.")
        .def_readonly("centre", &Covariance::centre, "The mean of the model points, (x, y).")
        .def_readonly("centreVariance", &Covariance::centreVariance,
                      "Variance of each coordinate of its image, data units squared.")
        .def_property_readonly("matrixCovariance", &matrixCovariance,
                               "Of M00, M01, M10, M11; shape (4, 4).")
        .def_readonly("rotationSigma", &Covariance::rotationSigma,
                      "Standard deviation of the rotation, radians.")
        .def_readonly("scaleSigma", &Covariance::scaleSigma,
                      "Standard deviation of the x scale, as a share of it.")
        .def("positionAt", &Covariance::positionAt, py::arg("p"),
             "The covariance of the image of a model point (x, y).");
    m.def(
        "rfPoseCovariance",
        [](const rxXform<2>& dataFromModel, const py::object& model, const py::object& data,
           int dof, double sigma) {
            return rfPoseCovariance(dataFromModel, points2(model, "model"), points2(data, "data"),
                                    dof, sigma);
        },
        py::arg("dataFromModel"), py::arg("model"), py::arg("data"), py::arg("dof").noconvert(),
        py::arg("sigma") = 0.0,
        "The covariance of a pose fitted by least squares to the pairs (model[i], data[i]); dof 3 "
        "rigid, 4 similarity, 6 affine; sigma, 1e-150 to 1e150, or 0 to estimate it from the "
        "residuals. Raises BadParams, MathError.");
}

void bindSettings(py::module_& m) {
    py::class_<rxCertaintySettings>(m, "rxCertaintySettings", "What rfCertainty may be told.")
        .def(py::init([](double pointSigma, double minPoseDistance, double dataArea) {
                 return rxCertaintySettings{pointSigma, minPoseDistance, dataArea};
             }),
             py::arg("pointSigma") = 0.0, py::arg("minPoseDistance") = 0.0,
             py::arg("dataArea") = 0.0)
        .def_readwrite("pointSigma", &rxCertaintySettings::pointSigma,
                       "Standard deviation of a coordinate of a data point; 0 estimates it.")
        .def_readwrite("minPoseDistance", &rxCertaintySettings::minPoseDistance,
                       "Poses further apart are different, data units; 0: from the model.")
        .def_readwrite("dataArea", &rxCertaintySettings::dataArea,
                       "The area of the data, data units squared; 0: their bounding box.");
}

std::string shownCertainty(const rxCertainty& sure) {
    std::ostringstream text;
    text << "<rxCertainty: " << sure.residuals.size() << " matched";
    if (const auto chance = sure.closeClutterProbability()) {
        text << ", chance of an accident " << *chance << " at most";
    }
    if (sure.nextPose) text << ", margin to the next pose " << sure.nextPose->coverageMargin;
    if (sure.covariance) {
        text << ", rotation +- " << rxDegree(rxRadian(sure.covariance->rotationSigma)).toDouble()
             << " deg";
    }
    return text.str() + ">";
}

void bindClutterChance(py::module_& m) {
    py::class_<rxClutterScene>(m, "rxClutterScene",
                               "Clutter, the pattern, and the poses that are looked through.")
        .def(py::init<>())
        .def_readwrite("numDataPoints", &rxClutterScene::numDataPoints, "Of the clutter.")
        .def_readwrite("area", &rxClutterScene::area, "Of the clutter, data units squared.")
        .def_readwrite("captureRange", &rxClutterScene::captureRange, "Data units.")
        .def_readwrite("numModelPoints", &rxClutterScene::numModelPoints, "Of the pattern.")
        .def_readwrite("modelRadius", &rxClutterScene::modelRadius,
                       "Largest distance of a model point from the centre, model units.")
        .def_readwrite("translationWidth", &rxClutterScene::translationWidth,
                       "How far the centre may move along x, data units.")
        .def_readwrite("translationHeight", &rxClutterScene::translationHeight, "Along y.")
        .def_readwrite("rotationLength", &rxClutterScene::rotationLength, "Radians.")
        .def_readwrite("lowScale", &rxClutterScene::lowScale, "Smallest scale.")
        .def_readwrite("highScale", &rxClutterScene::highScale, "Largest scale.");
    m.def("rfLog10FalseAlarms", &rfLog10FalseAlarms, py::arg("scene"), py::arg("numMatched"),
          "The decimal logarithm of the number of poses on which at least so many model points "
          "meet a data point by accident. Raises BadParams.");
}

}  // namespace

void bindCertainty(py::module_& m) {
    bindPoseCovariance(m);
    bindSettings(m);
    bindClutterChance(m);
    py::class_<rxNextPose>(m, "rxNextPose", "The best result of a run that has another pose.")
        .def_readonly("index", &rxNextPose::index, "In the results.")
        .def_readonly("coverageMargin", &rxNextPose::coverageMargin,
                      "The coverage of the result less that of this one.")
        .def_readonly("poseDistance", &rxNextPose::poseDistance, "Data units.");
    py::class_<rxCertainty>(m, "rxCertainty", "How sure a result is.")
        .def("__repr__", &shownCertainty)
        .def_readonly("pairs", &rxCertainty::pairs, py::return_value_policy::copy,
                      "Which model point has which data point.")
        .def_property_readonly(
            "residuals", [](const rxCertainty& sure) { return arrayOf(sure.residuals); },
            "Of each pair the distance, data units; shape (k,).")
        .def_readonly("covariance", &rxCertainty::covariance, py::return_value_policy::copy,
                      "None when the pairs do not determine the pose.")
        .def_readonly(
            "nextPose", &rxCertainty::nextPose, py::return_value_policy::copy,
            "None when the run returned no other pose. A margin of 0 or below: ambiguous.")
        .def_readonly("log10FalseAlarms", &rxCertainty::log10FalseAlarms,
                      "Decimal logarithm of the number of poses that clutter of this density is "
                      "expected to offer; None in grid mode.")
        .def_readonly("log10CloseFalseAlarms", &rxCertainty::log10CloseFalseAlarms,
                      "The same for poses that fit as closely.")
        .def("clutterProbability", &rxCertainty::clutterProbability,
             "An upper bound of the probability that clutter reaches this coverage, or None.")
        .def("closeClutterProbability", &rxCertainty::closeClutterProbability,
             "The same of coming as close.");
    m.def(
        "rfCertainty",
        [](const SharedMatcher& matcher, const py::object& data,
           const rxPointMatcherRunParams& params, const rxPointMatcherResultSet& found,
           std::size_t index, const rxCertaintySettings& settings) {
            const auto points = points2(data, "data");
            const auto trained = matcher.now();
            return rfCertainty(*trained, points, params, found, index, settings);
        },
        py::arg("matcher"), py::arg("data"), py::arg("params"), py::arg("found"),
        py::arg("index").noconvert(), py::arg("settings") = rxCertaintySettings(),
        "How sure a result is: residuals, covariance, margin to the next pose, chance of an "
        "accident. found is all that the run returned. Raises IndexError, NotTrained, BadParams.");
}

}  // namespace ptmatch::python
