#pragma once

#include "foundation/export.h"

/// What is called when an internal precondition fails: receives the source line of the failed
/// check, nothing else. The library continues after the call, so a hook may log, break or abort; it
/// must not throw. It runs in the thread that found the failure, in several threads at once if need
/// be.
using rxAssertionHook = void (*)(int line);

/// Installs the hook for the whole process and returns the one it replaces (null for the default).
/// Null restores the default, which does nothing. Can be called at any time from any thread and
/// from a signal handler; a failure that is being reported meanwhile goes to the old or to the new
/// hook.
PTMATCH_EXPORT rxAssertionHook rfSetAssertionHook(rxAssertionHook hook) noexcept;

/// Reports a failed precondition found at the given source line.   Cost: one atomic load and the
/// hook.
PTMATCH_EXPORT void rfReportAssertion(int line);
