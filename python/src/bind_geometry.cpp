#include <pybind11/operators.h>

#include <string>

#include "bindings.h"
#include "foundation/angle.h"
#include "foundation/geometry_archive.h"
#include "foundation/line.h"
#include "foundation/range.h"
#include "foundation/rectangle.h"
#include "foundation/xform.h"
#include "persistence.h"

namespace py = pybind11;

namespace ptmatch::python {
namespace {

/// As Python writes a number: the shortest text that reads back as the same.
std::string textOf(double value) {
    return py::cast<std::string>(py::repr(py::float_(value)));
}

template <class Angle>
py::class_<Angle> bindAngle(py::module_& m, const char* name, const char* doc, const char* unit) {
    py::class_<Angle> angle(m, name, doc);
    angle.def(py::init<>(), "The angle 0.");
    angle.def(py::init<double>(), py::arg(unit), "An angle in that unit, kept as given.");
    angle.def("toDouble", &Angle::toDouble, "The angle as a number, in the unit of the class.");
    angle.def(
        "__eq__", [](Angle a, Angle b) { return a == b; }, py::is_operator(),
        py::arg("other").noconvert(),
        "Equal numbers of one unit, exactly: angles a full turn apart differ.");
    angle.def("__hash__", [](Angle a) { return py::hash(py::float_(a.toDouble())); });
    angle.def("__repr__",
              [name](Angle a) { return std::string(name) + "(" + textOf(a.toDouble()) + ")"; });
    angle.def(py::pickle([](Angle a) { return a.toDouble(); },
                         [](double number) { return Angle(number); }));
    return angle;
}

void bindAngles(py::module_& m) {
    auto radian = bindAngle<rxRadian>(m, "rxRadian",
                                      "An angle in radians, kept as given: nothing wraps it into "
                                      "one turn. rxDegree is taken wherever rxRadian is.",
                                      "radians");
    auto degree = bindAngle<rxDegree>(m, "rxDegree",
                                      "An angle in degrees, kept as given. rxRadian is taken "
                                      "wherever rxDegree is.",
                                      "degrees");
    radian.def(py::init<rxDegree>(), py::arg("degrees"), "The same angle, degrees times pi / 180.");
    degree.def(py::init<rxRadian>(), py::arg("radians"), "The same angle, radians times 180 / pi.");
    radian.def(
        "__truediv__", [](rxRadian a, double divisor) { return a / divisor; }, py::is_operator(),
        py::arg("divisor"));
    py::implicitly_convertible<rxDegree, rxRadian>();
    py::implicitly_convertible<rxRadian, rxDegree>();
}

std::string rangeText(const char* name, rxRangeDefs::Range kind, const std::string& bounds) {
    if (kind == rxRangeDefs::Full) return std::string(name) + ".FullRange()";
    return std::string(name) + (kind == rxRangeDefs::Empty ? "()" : "(" + bounds + ")");
}

void bindRanges(py::module_& m) {
    py::class_<rxRangeDefs> defs(m, "rxRangeDefs", "Names shared by the ranges.");
    py::enum_<rxRangeDefs::Range>(defs, "Range", "The kind of a range.")
        .value("Normal", rxRangeDefs::Normal, "from start to end, both included")
        .value("Empty", rxRangeDefs::Empty, "holds nothing")
        .value("Full", rxRangeDefs::Full, "holds everything")
        .export_values();

    py::class_<rxRange> range(m, "rxRange",
                              "A closed range of numbers. rxRange() is empty; one with its start "
                              "above its end is allowed and holds nothing.");
    range.def(py::init<>(), "An empty range.");
    range.def(py::init<double, double>(), py::arg("start"), py::arg("end"),
              "The range from start to end, both included.");
    range.def_static("FullRange", &rxRange::FullRange, "The range that holds everything.");
    range.def("start", &rxRange::start, "0 of an empty range, -inf of a full one.");
    range.def("end", &rxRange::end, "0 of an empty range, inf of a full one.");
    range.def("range", &rxRange::range, "The kind, an rxRangeDefs.Range.");
    range.def("isWithin", &rxRange::isWithin, py::arg("v"), "Whether start <= v <= end.");
    range.def("__repr__", [](const rxRange& r) {
        return rangeText("rxRange", r.range(), textOf(r.start()) + ", " + textOf(r.end()));
    });
    addPersistence(range);

    py::class_<rxAngleRange> angles(
        m, "rxAngleRange",
        "A range of angles, from a start up to an end, kept as given. What lies within is asked "
        "modulo a full turn. rxAngleRange() is empty.");
    angles.def(py::init<>(), "An empty range.");
    angles.def(py::init<rxRadian, rxRadian, bool>(), py::arg("start"), py::arg("end"),
               py::arg("reserved") = false, "From start up to end; reserved has no effect.");
    angles.def_static("FullRange", &rxAngleRange::FullRange, "Every angle, -180 to +180 degrees.");
    angles.def("start", &rxAngleRange::start, "The lower bound; 0 of an empty range.");
    angles.def("end", &rxAngleRange::end, "The upper bound; 0 of an empty range.");
    angles.def("range", &rxAngleRange::range, "The kind, an rxRangeDefs.Range.");
    angles.def("middle", &rxAngleRange::middle, "Half-way from start to end.");
    angles.def("length", &rxAngleRange::length, "end - start.");
    angles.def("isWithin", &rxAngleRange::isWithin, py::arg("angle"),
               "Whether the angle, or the angle turned by whole turns, lies in the range.");
    angles.def("__repr__", [](const rxAngleRange& r) {
        const auto degrees = [](rxRadian angle) {
            return "rxRadian(" + textOf(angle.toDouble()) + ")";
        };
        return rangeText("rxAngleRange", r.range(), degrees(r.start()) + ", " + degrees(r.end()));
    });
    addPersistence(angles);
}

void bindXform(py::module_& m) {
    using Xform = rxXform<2>;
    py::class_<Xform> xform(m, "rxXform",
                            "A linear transform of the plane followed by a translation: p goes to "
                            "M p + t. (a * b) * p is a * (b * p).");
    xform.def(py::init<>(), "The identity.");
    xform.def_property_readonly_static(
        "I", [](const py::object&) { return Xform(Xform::I); }, "A copy of the identity.");
    xform.def(py::init<const rxMatrix<2>&, const rxVector<2>&>(), py::arg("matrix"),
              py::arg("trans"), "Of a 2x2 array and a translation (x, y).");
    xform.def(py::init<const rxVector<2>&, rxRadian, rxRadian, double, double>(), py::arg("trans"),
              py::arg("xRot"), py::arg("yRot"), py::arg("xScale"), py::arg("yScale"),
              "Takes the unit x axis to length xScale at angle xRot, the unit y axis to length "
              "yScale at yRot + 90 degrees.");
    xform.def(
        "__mul__", [](const Xform& x, const Xform& other) { return x * other; }, py::is_operator(),
        py::arg("other"), "The transform that applies other first.");
    xform.def(
        "__mul__", [](const Xform& x, const rxVector<2>& p) { return x * p; }, py::is_operator(),
        py::arg("point"), "The image of a point (x, y).");
    xform.def("inverse", &Xform::inverse, "The inverse. Raises MathError for a singular one.");
    xform.def("isSingular", &Xform::isSingular, "Whether the determinant is 0 or not finite.");
    xform.def("isFinite", &Xform::isFinite, "Whether all elements are finite.");
    xform.def("xScale", &Xform::xScale, "The length of the image of the unit x axis.");
    xform.def("xRot", &Xform::xRot, "The angle of the image of the unit x axis.");
    xform.def("rotation", &Xform::rotation, "The same as xRot().");
    xform.def("trans", py::overload_cast<>(&Xform::trans, py::const_),
              "The translation, the image of the origin.");
    xform.def("trans", py::overload_cast<const rxVector<2>&>(&Xform::trans), py::arg("trans"),
              "Sets the translation.");
    xform.def("matrix", py::overload_cast<>(&Xform::matrix, py::const_), "M, a 2x2 array.");
    xform.def("matrix", py::overload_cast<const rxMatrix<2>&>(&Xform::matrix), py::arg("matrix"),
              "Sets M.");
    xform.def("__repr__", [](const Xform& x) {
        const auto& a = x.matrix();
        return "rxXform([[" + textOf(a.element(0, 0)) + ", " + textOf(a.element(0, 1)) + "], [" +
               textOf(a.element(1, 0)) + ", " + textOf(a.element(1, 1)) + "]], (" +
               textOf(x.trans().x()) + ", " + textOf(x.trans().y()) + "))";
    });
    addPersistence(xform);
}

void bindFigures(py::module_& m) {
    using Rectangle = rxRectangle<double>;
    py::class_<Rectangle>(m, "rxRectangle",
                          "An axis-aligned rectangle: its corner with the smallest coordinates, "
                          "its width and its height, kept as given.")
        .def(py::init<>(), "An empty rectangle at the origin.")
        .def(py::init<double, double, double, double>(), py::arg("x"), py::arg("y"),
             py::arg("width"), py::arg("height"), "With the corner (x, y) and this extent.")
        .def("x", &Rectangle::x, "x of the corner.")
        .def("y", &Rectangle::y, "y of the corner.")
        .def("width", &Rectangle::width, "The extent along x.")
        .def("height", &Rectangle::height, "The extent along y.")
        .def("ul", &Rectangle::ul, "(x, y).")
        .def("lr", &Rectangle::lr, "(x + width, y + height).")
        .def(
            "__eq__", [](const Rectangle& a, const Rectangle& b) { return a == b; },
            py::is_operator(), py::arg("other"))
        .def("__repr__", [](const Rectangle& r) {
            return "rxRectangle(" + textOf(r.x()) + ", " + textOf(r.y()) + ", " +
                   textOf(r.width()) + ", " + textOf(r.height()) + ")";
        });

    py::class_<rxLine>(m, "rxLine", "An infinite straight line in the plane.")
        .def(py::init<>(), "The x axis.")
        .def(py::init<const rxVector<2>&, const rxVector<2>&>(), py::arg("direction"),
             py::arg("point"), "The line through point along direction.")
        .def("distToPoint", &rxLine::distToPoint, py::arg("p"),
             "The perpendicular distance from p to the line.");
}

}  // namespace

void bindGeometry(py::module_& m) {
    bindAngles(m);
    bindRanges(m);
    bindXform(m);
    bindFigures(m);
}

}  // namespace ptmatch::python
