#include "foundation/attention.h"

#include <atomic>
#include <utility>

#include "foundation/thread_watch.h"

namespace {

// Lock-free, because a signal handler may set them.
constinit std::atomic<bool> requested{false};
constinit std::atomic<rxAttention::Handler> installedHandler{nullptr};
static_assert(std::atomic<bool>::is_always_lock_free);
static_assert(std::atomic<rxAttention::Handler>::is_always_lock_free);

constinit thread_local ptmatch::detail::ThreadWatch* watchOfThread = nullptr;

}  // namespace

ptmatch::detail::ThreadWatch* ptmatch::detail::exchangeThreadWatch(ThreadWatch* watch) noexcept {
    return std::exchange(watchOfThread, watch);
}

void rxAttention::check() {
    if (isRequested()) throw Interrupted("interrupted on request");
    if (watchOfThread != nullptr) watchOfThread->look();
    const Handler handler = installedHandler.load(std::memory_order_acquire);
    if (handler != nullptr && handler()) throw Interrupted("interrupted by the attention handler");
}

void rxAttention::request() noexcept {
    requested.store(true, std::memory_order_release);
}

void rxAttention::clear() noexcept {
    requested.store(false, std::memory_order_release);
}

bool rxAttention::isRequested() noexcept {
    return requested.load(std::memory_order_acquire);
}

rxAttention::Handler rxAttention::setHandler(Handler handler) noexcept {
    return installedHandler.exchange(handler, std::memory_order_acq_rel);
}

rxAttention::Interrupted::Interrupted(std::string message)
    : rxExceptionWithString(std::move(message)) {}

rxAttention::Interrupted::Interrupted(const Interrupted&) noexcept = default;

rxAttention::Interrupted& rxAttention::Interrupted::operator=(const Interrupted&) noexcept =
    default;

rxAttention::Interrupted::~Interrupted() = default;

void rxAttention::Interrupted::suicideAndRethrow() {
    rfSuicideAndRethrow(this);
}

rxPersistent* rxAttention::Interrupted::make() {
    return new Interrupted(std::string());
}

const rx_Instantiator rxAttention::Interrupted::sExemplar(typeid(Interrupted), &Interrupted::make,
                                                          "rxAttention::Interrupted");
