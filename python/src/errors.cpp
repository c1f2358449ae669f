#include "errors.h"

#include <exception>
#include <string>

#include "foundation/archive.h"
#include "foundation/attention.h"
#include "foundation/exception.h"
#include "foundation/fitter.h"
#include "foundation/image.h"
#include "ptmatch/gridcorr.h"
#include "ptmatch/matext.h"
#include "ptmatch/point_matcher_defs.h"
#include "ptmatch/run_watch.h"
#include "ptmatch/tm.h"

namespace py = pybind11;

namespace ptmatch::python {
namespace {

void raise(const char* name, const std::string& message) {
    const auto type = py::module_::import("ptmatch.errors").attr(name);
    // A message that came with a record may hold any bytes.
    const auto text = py::reinterpret_steal<py::object>(PyUnicode_DecodeUTF8(
        message.data(), static_cast<Py_ssize_t>(message.size()), "backslashreplace"));
    if (text) PyErr_SetObject(type.ptr(), text.ptr());
}

/// Those with a message, each before its base.
void raiseWithMessage(const rxExceptionWithString& error) {
    const std::string& message = error.message();
    const auto is = [&error](auto* type) {
        return dynamic_cast<decltype(type)>(&error) != nullptr;
    };
    using Matcher = rxPointMatcherDefs;
    using Corresponder = rx_PointToGridCorresponderDefs;
    if (is(static_cast<const Matcher::BadParams*>(nullptr))) return raise("BadParams", message);
    if (is(static_cast<const Matcher::NotTrained*>(nullptr))) return raise("NotTrained", message);
    if (is(static_cast<const Matcher::NotRun*>(nullptr))) return raise("NotRun", message);
    if (is(static_cast<const Matcher::InsufficientModelPoints*>(nullptr))) {
        return raise("InsufficientModelPoints", message);
    }
    if (is(static_cast<const Matcher::Errors*>(nullptr))) return raise("MatcherError", message);
    // The library gives these no message.
    const auto orElse = [&message](const char* text) { return message.empty() ? text : message; };
    if (is(static_cast<const Corresponder::InsufficientModelPoints*>(nullptr))) {
        return raise("InsufficientPatternPoints", orElse("the pattern has too few positions"));
    }
    if (is(static_cast<const Corresponder::InsufficientMemory*>(nullptr))) {
        return raise("InsufficientMemory", orElse("the positions lie too far apart"));
    }
    if (is(static_cast<const Corresponder::Errors*>(nullptr))) {
        return raise("GridCorresponderError", message);
    }
    if (is(static_cast<const rxDeadlinePassed*>(nullptr))) return raise("DeadlinePassed", message);
    if (is(static_cast<const rxAttention::Interrupted*>(nullptr))) {
        return raise("Interrupted", message);
    }
    if (is(static_cast<const rxArchive::UnknownVersion*>(nullptr))) {
        return raise("UnknownVersion", message);
    }
    if (is(static_cast<const rxArchive::Errors*>(nullptr))) return raise("ArchiveError", message);
    if (is(static_cast<const rxLSPointToPointFitter::Errors*>(nullptr))) {
        return raise("FitError", message);
    }
    if (is(static_cast<const rx_PelBuffer::Errors*>(nullptr))) return raise("ImageError", message);
    if (is(static_cast<const rxMathError*>(nullptr))) return raise("MathError", message);
    raise("PtmatchError", message);
}

void translate(std::exception_ptr thrown) {
    constexpr auto kDifferentLengths = "two sequences of points differ in length";
    try {
        if (thrown) std::rethrow_exception(thrown);
    } catch (const rxExceptionWithString& error) {
        raiseWithMessage(error);
    } catch (const rxMatrixExt::NotSquareMatrix&) {
        raise("NotSquareMatrix", "the matrix is not square");
    } catch (const rxMatrixExt::SingularMatrix&) {
        raise("SingularMatrix", "the matrix is singular");
    } catch (const rx2PtMatchTm::BadArgs&) {
        raise("BadArgs", kDifferentLengths);
    } catch (const rx2PTm::BadArgs&) {
        raise("BadArgs", kDifferentLengths);
    } catch (const rx3PtMatchTm::BadArgs&) {
        raise("BadArgs", kDifferentLengths);
    }
    // What is none of these goes on to the translators of pybind11, which know the standard ones.
}

}  // namespace

void translateErrors() {
    py::register_exception_translator(&translate);
}

}  // namespace ptmatch::python
