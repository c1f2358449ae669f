#pragma once

namespace ptmatch::fuzz {

/// Makes calls that may be refused: tells whether one ended without an exception of the kinds
/// given; others leave the fuzzer and so break its promise.
template <class First, class... Others>
struct Refusals {
    template <class Call>
    bool operator()(const Call& call) const {
        try {
            if constexpr (sizeof...(Others) > 0) {
                return Refusals<Others...>()(call);
            } else {
                call();
                return true;
            }
        } catch (const First&) {
            return false;
        }
    }
};

}  // namespace ptmatch::fuzz
