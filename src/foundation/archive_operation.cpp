#include <algorithm>

#include "foundation/archive.h"

namespace {

/// The innermost operation of the thread; each one links to the operation around it.
constinit thread_local rxArchive::Operation* innermost = nullptr;

}  // namespace

rxArchive::Operation::Operation(const rxArchive& ar) : archive_(&ar), outer_(innermost) {
    innermost = this;
}

rxArchive::Operation::~Operation() {
    innermost = outer_;
}

rxArchive::Operation* rxArchive::Operation::running_() {
    return innermost;
}

void rxArchive::Operation::forget_(const void* object) noexcept {
    for (Operation* operation = innermost; operation != nullptr; operation = operation->outer_) {
        const auto first = operation->marks_.lower_bound({object, 0, 0});
        auto last = first;
        while (last != operation->marks_.end() && std::get<0>(*last) == object) ++last;
        operation->marks_.erase(first, last);
    }
}

std::size_t rxArchive::Operation::levelOf_(const void* object) const {
    return static_cast<std::size_t>(std::count(open_.begin(), open_.end(), object));
}
