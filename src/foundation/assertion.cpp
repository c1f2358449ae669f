#include "foundation/assertion.h"

#include <atomic>

namespace {

// Lock-free, because a signal handler may install a hook.
constinit std::atomic<rxAssertionHook> installedHook{nullptr};
static_assert(std::atomic<rxAssertionHook>::is_always_lock_free);

}  // namespace

rxAssertionHook rfSetAssertionHook(rxAssertionHook hook) noexcept {
    return installedHook.exchange(hook, std::memory_order_acq_rel);
}

void rfReportAssertion(int line) {
    const rxAssertionHook hook = installedHook.load(std::memory_order_acquire);
    if (hook != nullptr) hook(line);
}
