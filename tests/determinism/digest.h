#pragma once

#include <bit>
#include <concepts>
#include <cstdint>
#include <span>
#include <string_view>
#include <type_traits>
#include <vector>

#include "foundation/angle.h"
#include "foundation/vector.h"
#include "foundation/xform.h"

namespace ptmatch::determinism {

/// A number of 64 bits that stands for all the values added so far, in their order (the hash of
/// Fowler, Noll and Vo in its variant 1a, over the bytes of each value, the lowest first).
///
/// Doubles count with all of their bits, so that 0 and -0 differ; only what is not a number is
/// the same whatever its sign and payload, which no rule gives.
class Digest {
  public:
    std::uint64_t value() const { return value_; }

    void add(double number) {
        constexpr std::uint64_t kNotANumber = 0x7ff8'0000'0000'0000;
        addBits_(number == number ? std::bit_cast<std::uint64_t>(number) : kNotANumber);
    }
    template <class Integer>
    requires std::integral<Integer>
    void add(Integer number) {
        addBits_(static_cast<std::uint64_t>(static_cast<std::int64_t>(number)));
    }
    template <class Enumeration>
    requires std::is_enum_v<Enumeration>
    void add(Enumeration value) { add(static_cast<std::int64_t>(value)); }

    void add(std::string_view text) {
        add(text.size());
        for (const char c : text) addByte_(static_cast<unsigned char>(c));
    }
    void add(const std::vector<unsigned char>& bytes) {
        add(bytes.size());
        for (const unsigned char byte : bytes) addByte_(byte);
    }

    void add(rxRadian angle) { add(angle.toDouble()); }
    void add(const rxPair<long>& p) {
        add(p.x());
        add(p.y());
    }
    void add(const rxVector<2>& p) {
        add(p.x());
        add(p.y());
    }
    void add(const rxVector<3>& p) {
        add(p.x());
        add(p.y());
        add(p.z());
    }
    void add(const rxXform<2>& xform) {
        for (long i = 0; i < 4; ++i) add(xform.matrix().element(i / 2, i % 2));
        add(xform.trans());
    }
    template <class T>
    void addAll(const T& values) {
        add(values.size());
        for (const auto& value : values) add(value);
    }

  private:
    void addByte_(unsigned char byte) { value_ = (value_ ^ byte) * 0x100'0000'01b3; }
    void addBits_(std::uint64_t bits) {
        for (unsigned shift = 0; shift < 64; shift += 8) {
            addByte_(static_cast<unsigned char>(bits >> shift));
        }
    }

    std::uint64_t value_ = 0xcbf2'9ce4'8422'2325;
};

}  // namespace ptmatch::determinism
