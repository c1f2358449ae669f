#include "bindings.h"
#include "errors.h"
#include "finished_classes.h"
#include "long_call.h"

namespace py = pybind11;

PYBIND11_MODULE(_core, m) {
    m.doc() =
        "The classes of the library under their own names. Import them from ptmatch.\n\n"
        "Getters and setters share a name: params.minCoverage() and params.minCoverage(0.8).";
    m.attr("__version__") = PTMATCH_VERSION;

    using namespace ptmatch::python;
    translateErrors();
    LongCall::installHandler();
    bindGeometry(m);
    bindImages(m);
    bindAttention(m);
    bindMatcher(m);
    bindGridMap(m);
    bindCorresponder(m);
    bindTransforms(m);
    bindPerspective(m);
    bindSpace(m);
    bindEquations(m);
    bindLeastSquares(m);
    bindAdditions(m);
    bindCertainty(m);
    bindVoteImage(m);
    finishClasses(m);
}
