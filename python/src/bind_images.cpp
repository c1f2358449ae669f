#include <pybind11/numpy.h>

#include "arrays.h"
#include "bindings.h"
#include "foundation/image.h"
#include "persistence.h"

namespace py = pybind11;

namespace ptmatch::python {

void bindImages(py::module_& m) {
    using Image = rxPelBuffer<unsigned char>;
    py::class_<Image> type(m, "rxPelBuffer",
                           "An image of bytes, such as the pattern of a grid: pixels, the position "
                           "of the first one, and a transform from positions to client "
                           "coordinates. Copies share their pixels; deepcopy and pickle do not.");
    type.def(py::init<>(), "An empty image.");
    type.def(py::init([](const py::object& pixels, const rxPair<long>& offset,
                         const rxXform<2>& clientFromImage) {
                 Image made = image(pixels, "pixels");
                 made.offset(offset);
                 made.clientFromImageXform(clientFromImage);
                 return made;
             }),
             py::arg("pixels"), py::arg("offset") = rxPair<long>(),
             py::arg("clientFromImageXform") = rxXform<2>(),
             "Of an array of shape (height, width) of numbers from 0 to 255, or of truth values.");
    type.def("width", &Image::width, "Columns.");
    type.def("height", &Image::height, "Rows.");
    type.def("offset", py::overload_cast<>(&Image::offset, py::const_),
             "The position (x, y) of the first pixel.");
    type.def("offset", py::overload_cast<const rxPair<long>&>(&Image::offset), py::arg("position"),
             "Sets the position of the first pixel. Raises ImageError beyond 32 bits.");
    type.def("clientFromImageXform", py::overload_cast<>(&Image::clientFromImageXform, py::const_),
             "The transform from positions to client coordinates.");
    type.def("clientFromImageXform",
             py::overload_cast<const rxXform<2>&>(&Image::clientFromImageXform), py::arg("xform"),
             "Sets the transform.");
    type.def("get", py::overload_cast<const rxPair<long>&>(&Image::get, py::const_),
             py::arg("position"), "The pixel at a position. Raises ImageError outside.");
    type.def(
        "pixels", [](const Image& image) { return arrayOf(image); },
        "A copy of the pixels, uint8 of shape (height, width).");
    type.def("__repr__", [](const Image& image) {
        return "<rxPelBuffer of " + std::to_string(image.width()) + " x " +
               std::to_string(image.height()) + " pixels>";
    });
    addPersistence(type);
    // In place of the one above, which would share the pixels.
    type.attr("__deepcopy__") =
        py::cpp_function([](const Image& image, const py::dict&) { return remade(image); },
                         py::is_method(type), py::name("__deepcopy__"), py::arg("memo"));
}

}  // namespace ptmatch::python
