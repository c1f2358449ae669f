#pragma once

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <exception>
#include <optional>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include "foundation/archive.h"
#include "foundation/memory_archive.h"
#include "foundation/stream_archive.h"
#include "support/allocation_meter.h"
#include "support/pipe_stream.h"

namespace ptmatch::testing {

enum class LoadOutcome { loaded, refused, otherException };

/// Runs the load and tells how it ended; a refusal must come with a message.
template <class Load>
LoadOutcome outcomeOf(Load&& load, rxArchive& ar) {
    try {
        load(ar);
        return LoadOutcome::loaded;
    } catch (const rxArchive::Errors& error) {
        EXPECT_FALSE(error.message().empty());
        return LoadOutcome::refused;
    } catch (...) {
        return LoadOutcome::otherException;
    }
}

/// What a load of so many bytes may take in one allocation: a multiple of the input for objects
/// that are larger than their records, and the first step of a load from a stream of unknown
/// length.
inline std::size_t allocationBound(std::size_t bytes) {
    return (std::size_t{1} << 17U) + 64 * bytes;
}

template <class Load>
LoadOutcome measuredOutcomeOf(Load&& load, rxArchive& ar, std::size_t bytes) {
    const AllocationMeter meter;
    const LoadOutcome outcome = outcomeOf(load, ar);
    EXPECT_LE(meter.largest(), allocationBound(bytes));
    return outcome;
}

/// Loads the bytes cut to every shorter length: each load must end in a rxArchive::Errors, from
/// memory and from streams that know their length or do not.
template <class Load>
void expectEveryCutRefused(const std::vector<unsigned char>& bytes, Load&& load) {
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        SCOPED_TRACE("cut to " + std::to_string(length) + " of " + std::to_string(bytes.size()));
        const std::span cut = std::span(bytes).first(length);
        rxMemoryLoadArchive memory(cut);
        ASSERT_EQ(measuredOutcomeOf(load, memory, length), LoadOutcome::refused);
        std::istringstream file(std::string(cut.begin(), cut.end()));
        rxStreamLoadArchive seekable(file);
        ASSERT_EQ(measuredOutcomeOf(load, seekable, length), LoadOutcome::refused);
        PipeStream pipe(cut);
        rxStreamLoadArchive unseekable(pipe);
        ASSERT_EQ(measuredOutcomeOf(load, unseekable, length), LoadOutcome::refused);
    }
}

/// Loads the bytes with each byte damaged in nine ways (one bit, or all): each load must succeed or
/// end in a rxArchive::Errors.   @return the number of damages that were noticed.
template <class Load>
std::size_t expectEveryFlipHandled(std::vector<unsigned char> bytes, Load&& load) {
    std::size_t refused = 0;
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        for (const unsigned mask : {1U, 2U, 4U, 8U, 16U, 32U, 64U, 128U, 255U}) {
            const unsigned char original = bytes[at];
            bytes[at] = static_cast<unsigned char>(original ^ mask);
            rxMemoryLoadArchive memory(bytes);
            const LoadOutcome outcome = measuredOutcomeOf(load, memory, bytes.size());
            EXPECT_NE(outcome, LoadOutcome::otherException)
                << "byte " << at << " xor " << mask << " of " << bytes.size();
            refused += outcome == LoadOutcome::refused ? 1 : 0;
            PipeStream pipe(bytes);
            rxStreamLoadArchive unseekable(pipe);
            EXPECT_EQ(measuredOutcomeOf(load, unseekable, bytes.size()), outcome)
                << "byte " << at << " xor " << mask << ", through a pipe";
            bytes[at] = original;
        }
    }
    return refused;
}

/// The full treatment of one stored record. load(rxArchive&) loads it into fresh objects and checks
/// nothing itself.
///
///     expectTamperingHandled(stored(params), [](rxArchive& ar) { Params fresh; ar || fresh; });
///
/// @return the number of damaged copies (out of nine per byte) that were refused.
template <class Load>
std::size_t expectTamperingHandled(const std::vector<unsigned char>& bytes, Load&& load) {
    rxMemoryLoadArchive intact(bytes);
    EXPECT_EQ(measuredOutcomeOf(load, intact, bytes.size()), LoadOutcome::loaded);
    EXPECT_EQ(intact.bytesLeft(), 0U) << "the record is longer than what its load reads";
    expectEveryCutRefused(bytes, load);
    return expectEveryFlipHandled(bytes, load);
}

}  // namespace ptmatch::testing
