#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "foundation/range.h"
#include "foundation/vector.h"

namespace ptmatch::fuzz {

/// Makes values of the bytes of a fuzzer. When these are used up, everything is 0: every input
/// stands for a whole case. Ask for one value in a statement, or in an element of a braced list:
/// then the order is fixed, and an input means the same with every compiler.
class FuzzInput {
  public:
    explicit FuzzInput(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    /// Whether all bytes are used up.
    bool isEmpty() const { return next_ == bytes_.size(); }

    std::uint8_t byte() { return isEmpty() ? std::uint8_t{0} : bytes_[next_++]; }

    bool flag() { return (byte() & 1U) != 0; }

    /// In [low, high], evenly for ranges of up to 256.
    long integer(long low, long high) {
        const auto count = static_cast<std::uint64_t>(high - low) + 1;
        std::uint64_t value = byte();
        for (std::uint64_t reach = 256; reach < count; reach *= 256) value = value * 256 + byte();
        return low + static_cast<long>(value % count);
    }

    /// Of the bits of a double: any there is.
    double anyDouble() {
        std::uint64_t bits = 0;
        for (int i = 0; i < 8; ++i) bits = bits << 8U | byte();
        return std::bit_cast<double>(bits);
    }

    /// Mostly small numbers with ties among them, sometimes the odd ones and any bits at all.
    double number() {
        const std::uint8_t kind = byte();
        if (kind < 96) return static_cast<double>(integer(-16, 16));
        if (kind < 176) return static_cast<double>(integer(-4096, 4096)) / 32.0;
        if (kind < 224) return static_cast<double>(integer(-1'000'000, 1'000'000)) / 1024.0;
        if (kind < 248) return oddNumbers()[static_cast<std::size_t>(integer(0, kNumOdd - 1))];
        return anyDouble();
    }

    /// A number that is finite and of moderate size, within +-bound.
    double moderate(double bound) {
        const double value = number();
        return value > -bound && value < bound ? value : 0.0;
    }

    rxVector<2> point() {
        const double x = number();
        return {x, number()};
    }

    rxVector<2> moderatePoint(double bound) {
        const double x = moderate(bound);
        return {x, moderate(bound)};
    }

    /// Up to so many points.
    std::vector<rxVector<2>> points(long most) {
        std::vector<rxVector<2>> all(static_cast<std::size_t>(integer(0, most)));
        for (auto& p : all) p = point();
        return all;
    }

    std::vector<rxVector<2>> moderatePoints(long least, long most, double bound) {
        std::vector<rxVector<2>> all(static_cast<std::size_t>(integer(least, most)));
        for (auto& p : all) p = moderatePoint(bound);
        return all;
    }

    /// So many points scattered over +-bound, of a few bytes.
    std::vector<rxVector<2>> cloud(long count, double bound) {
        std::vector<rxVector<2>> all(static_cast<std::size_t>(count));
        std::uint32_t state = static_cast<std::uint32_t>(integer(0, 65'535)) * 2U + 1U;
        const auto next = [&] {
            state = state * 1'664'525U + 1'013'904'223U;
            return bound * (static_cast<double>(state >> 8U) / 8'388'608.0 - 1.0);
        };
        for (auto& p : all) p = {next(), next()};
        return all;
    }

    rxRange range() {
        switch (byte() % 4) {
            case 0:
                return rxRange::FullRange();
            case 1:
                return {};
            default: {
                const double start = number();
                return {start, number()};
            }
        }
    }

    rxAngleRange angleRange() {
        switch (byte() % 4) {
            case 0:
                return rxAngleRange::FullRange();
            case 1:
                return {};
            default: {
                const double start = number();
                return {rxDegree(start), rxDegree(number())};
            }
        }
    }

    /// The bytes that are left; they are used up then.
    std::span<const std::uint8_t> rest() {
        const auto left = bytes_.subspan(next_);
        next_ = bytes_.size();
        return left;
    }

  private:
    static constexpr long kNumOdd = 16;

    static const std::array<double, kNumOdd>& oddNumbers() {
        using Limits = std::numeric_limits<double>;
        static const std::array<double, kNumOdd> odd = {-0.0,
                                                        Limits::infinity(),
                                                        -Limits::infinity(),
                                                        Limits::quiet_NaN(),
                                                        Limits::max(),
                                                        Limits::lowest(),
                                                        Limits::min(),
                                                        Limits::denorm_min(),
                                                        1e150,
                                                        -1e150,
                                                        1e-150,
                                                        2147483647.0,
                                                        -2147483648.0,
                                                        4294967296.0,
                                                        9.007199254740993e15,
                                                        0.1};
        return odd;
    }

    std::span<const std::uint8_t> bytes_;
    std::size_t next_ = 0;
};

}  // namespace ptmatch::fuzz
