#pragma once

#include "ptmatch/tm.h"

/// A copy of the shared identity, made by a static constructor of tm_before_main.cpp.
const rx2PtMatchTm& tmSeenBeforeMain();
