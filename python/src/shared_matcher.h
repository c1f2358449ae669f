#pragma once

#include "ptmatch/ppmatch.h"
#include "shared.h"

namespace ptmatch::python {

/// The rxPointMatcher of Python.
using SharedMatcher = Shared<rxPointMatcher>;

}  // namespace ptmatch::python
