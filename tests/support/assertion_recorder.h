#pragma once

#include <vector>

#include "foundation/assertion.h"

namespace ptmatch::testing {

/// Collects what is reported to the assertion hook during its life; one at a time.
class AssertionRecorder {
  public:
    AssertionRecorder() : previous_(rfSetAssertionHook(&record)) { reports().clear(); }
    ~AssertionRecorder() { rfSetAssertionHook(previous_); }

    AssertionRecorder(const AssertionRecorder&) = delete;
    AssertionRecorder& operator=(const AssertionRecorder&) = delete;

    /// The codes reported so far, in order.
    const std::vector<int>& codes() const { return reports(); }

  private:
    static std::vector<int>& reports() {
        static std::vector<int> codes;
        return codes;
    }
    static void record(int code) { reports().push_back(code); }

    rxAssertionHook previous_;
};

}  // namespace ptmatch::testing
