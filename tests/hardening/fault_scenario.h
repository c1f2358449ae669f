#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "support/archive_bytes.h"

namespace ptmatch::testing {

/// A call that is to fail, with all that it works on.
struct FaultSubject {
    std::function<void()> call;
    /// What a call that succeeded has given, to the last bit.
    std::function<ByteVector()> outcome;
    /// What a call may touch, as it stands.
    std::function<ByteVector()> left;
    /// What has to be left by a call that failed.
    ByteVector leftByFailure;
};

/// One line of a table of calls that have to withstand faults.
struct FaultScenario {
    std::string name;  // letters and digits
    std::function<FaultSubject()> make;
    bool takesMemory = true;
    /// Besides std::bad_alloc; of a single failure that the call saw as one of its medium, say.
    bool mayThrowArchiveErrors = false;

    friend void PrintTo(const FaultScenario& scenario, std::ostream* stream) {
        *stream << scenario.name;
    }
};

inline std::string nameOfScenario(const ::testing::TestParamInfo<FaultScenario>& info) {
    return info.param.name;
}

/// Whether a test that passes shall print what it tried.
inline bool isReportAsked() {
    return std::getenv("PTMATCH_FAULT_REPORT") != nullptr;
}

/// A scenario of a call on a state that is prepared anew each time.
/// @param outcome  of the state after a call that succeeded.
/// @param left     of the state; by default the outcome.
/// @param spoil    makes a fresh state one as a failure has to leave it; by default nothing.
template <class State>
struct FaultTable {
    using Describe = std::function<ByteVector(const State&)>;

    std::function<void(State&)> prepare;
    std::function<void(State&)> call;
    Describe outcome;
    Describe left = {};
    std::function<void(State&)> spoil = {};

    FaultScenario named(std::string name) const {
        return {std::move(name), [table = *this] { return table.subject(); }};
    }

    FaultSubject subject() const {
        const Describe describeLeft = left ? left : outcome;
        // Prepared where they stay: a copy of a matcher is not the same.
        const auto state = std::make_shared<State>();
        prepare(*state);
        State failed;
        prepare(failed);
        if (spoil) spoil(failed);
        return {[state, call = call] { call(*state); },
                [state, outcome = outcome] { return outcome(*state); },
                [state, describeLeft] { return describeLeft(*state); }, describeLeft(failed)};
    }
};

}  // namespace ptmatch::testing
