#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "foundation/exception.h"
#include "foundation/export.h"

/// A bidirectional stream of records: one archive either loads or stores for its whole life, and
/// one expression serves both directions, `ar || a || b`, which overwrites its arguments on a
/// loading archive and writes them on a storing one.
///
/// Ready archives stand in memory_archive.h and stream_archive.h; another medium needs a derived
/// class with three functions. Every byte of the encoding is laid down in docs/archive_format.md.
///
///     rxArchive& operator||(rxArchive& ar, Shape& shape) {
///         unsigned long version = 1;
///         ar || version;
///         if (version != 1) throw rxArchive::UnknownVersion("shapes", __LINE__);
///         return ar || shape.name || shape.points;
///     }
///
/// Input is not trusted. A record that is cut off, damaged or hostile ends in an exception derived
/// from rxArchive::Errors, and memory is taken in proportion to the bytes that are there, not to a
/// recorded count. A primitive, string or vector whose load fails keeps its value; how far the
/// archive was read is then unspecified. A store that fails may have written a part of the record.
///
/// One archive belongs to one thread at a time.
class PTMATCH_EXPORT rxArchive {
  public:
    class Errors;
    class UnknownVersion;
    class NestingGuard;
    class Operation;

    /// Greatest number of records that may be open inside one another.
    static constexpr int kMaxNesting = 32;

    virtual ~rxArchive();
    rxArchive(const rxArchive&) = delete;
    rxArchive& operator=(const rxArchive&) = delete;

    /// Whether `||` overwrites its arguments; never changes.
    bool isLoading() const { return direction_ == Direction::eLoading; }
    /// Whether `||` writes its arguments; never changes.
    bool isStoring() const { return direction_ == Direction::eStoring; }

    /// One byte, 0 or 1.   @throws Errors: any other byte, or the input ends.
    rxArchive& operator||(bool& value);
    /// Integers take 32 bits, whatever their size in memory.
    /// @throws Errors: the value to store does not fit, or the input ends.
    rxArchive& operator||(int& value);
    /// 32 bits, signed.   @throws Errors: as for int.
    rxArchive& operator||(long& value);
    /// 32 bits, unsigned.   @throws Errors: as for int.
    rxArchive& operator||(unsigned long& value);
    /// Eight bytes, the bits as they are, including the sign of zero and the payload of a NaN.
    rxArchive& operator||(double& value);

    /// Reads one 32-bit unsigned value, as stored by `||`.
    /// @throws Errors: the archive is storing, or the input ends.
    rxArchive& operator>>(unsigned long& value);

    /// Passes a block of raw bytes of a size both sides know.
    /// @throws Errors: the input ends before the block does; the block is then unspecified.
    rxArchive& bytes(std::span<unsigned char> block);

    /// Loads count bytes. Memory grows with the bytes that come, so count may be as hostile as it
    /// likes.
    /// @throws Errors: the archive is storing, or fewer bytes are left (nothing is allocated for
    /// them).
    std::vector<unsigned char> loadBytes(std::uint64_t count);

    /// Bytes that can still be loaded, or an upper bound of them; nothing when that is not known,
    /// and for a storing archive.
    virtual std::optional<std::uint64_t> bytesLeft() const = 0;

    /// Compares a recorded count with the bytes left, before memory is taken for it.
    /// @param count        elements that a record says are to come.
    /// @param minimalSize  fewest bytes of one element, at least 1.
    /// @param what         names the elements in the message, in the plural.
    /// @throws Errors: count elements cannot be there. Never when bytesLeft() is unknown.
    void expectElements(std::uint64_t count, std::uint64_t minimalSize, const char* what) const;

  protected:
    /// What an archive does for its whole life.
    enum class Direction {
        eLoading,  ///< `||` overwrites its arguments
        eStoring,  ///< `||` writes its arguments
    };
    /// An archive of that direction, with no records open.
    explicit rxArchive(Direction direction) : direction_(direction) {}

    /// Fills the block.   @throws Errors: the input ends first or cannot be read.
    virtual void read_(std::span<unsigned char> block) = 0;
    /// Appends the block.   @throws Errors: it cannot be written.
    virtual void write_(std::span<const unsigned char> block) = 0;

  private:
    Direction direction_;
    int nesting_ = 0;
};

/// The bytes are not the record that was expected, the medium failed, or a value has no record.
class PTMATCH_EXPORT rxArchive::Errors : public rxExceptionWithString {
  public:
    /// @param message  what `what()` gives, as it is.
    explicit Errors(std::string message);
    Errors(const Errors&) noexcept;
    Errors& operator=(const Errors&) noexcept;
    ~Errors() override;

    [[noreturn]] void suicideAndRethrow() override;

  private:
    static rxPersistent* make();
    static const rx_Instantiator sExemplar;
};

/// The version at the head of a record is not one that this library reads.
class PTMATCH_EXPORT rxArchive::UnknownVersion : public rxArchive::Errors {
  public:
    /// @param source  names the source of the class whose record it is; copied, may be null.
    /// @param line    the line of the check in that source.
    UnknownVersion(const char* source, int line);
    UnknownVersion(const UnknownVersion&) noexcept;
    UnknownVersion& operator=(const UnknownVersion&) noexcept;
    ~UnknownVersion() override;

    /// The name given at construction, null when there was none; lives as long as the exception.
    const char* source() const noexcept { return source_ ? source_->c_str() : nullptr; }
    /// The line given at construction.
    int line() const noexcept { return line_; }

    [[noreturn]] void suicideAndRethrow() override;

  protected:
    void dispatchSerialize(rxArchive& ar) override;
    /// Passes the record of the base, whether there is a source, the source, the line.
    /// @throws UnknownVersion: version is not 0.
    void serialize_(rxArchive& ar, unsigned char version);

  private:
    void passOwnFields_(rxArchive& ar);
    static rxPersistent* make();
    static const rx_Instantiator sExemplar;

    std::shared_ptr<const std::string> source_;
    int line_;
};

/// Bounds the nesting of records that can contain themselves; make one first thing in their
/// operator||. Storing is bounded as loading is, so that what can be stored can be loaded.
class PTMATCH_EXPORT rxArchive::NestingGuard {
  public:
    /// @throws Errors: kMaxNesting guards stand on the archive already.
    explicit NestingGuard(rxArchive& ar);
    ~NestingGuard() { --ar_.nesting_; }
    NestingGuard(const NestingGuard&) = delete;
    NestingGuard& operator=(const NestingGuard&) = delete;

  private:
    rxArchive& ar_;
};

/// The scope within which a persistent object is recorded once, however often it is met.
///
/// It covers one archive in one thread, from construction to destruction (by an exception too), and
/// must be a local variable. Each `ar || object` of a rxPersistent opens one unless the innermost
/// one running is on that archive; each polymorphic record and each vector record is one of its
/// own. Open one to store several objects that share others, and another of the same extent to load
/// them: the marks are the addresses of the objects, so a load mirrors its store when it meets the
/// same objects in the same order.
class PTMATCH_EXPORT rxArchive::Operation {
  public:
    /// Opens an operation inside the one that runs in this thread, if any.
    explicit Operation(const rxArchive& ar);
    ~Operation();
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;

  private:
    friend class ::rxPersistent;
    friend PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rxPersistent& object);

    using Mark = std::tuple<const void*, std::size_t, std::size_t>;  // object, size, level

    static Operation* running_();
    /// Drops the marks of an object that is being destroyed: its address may serve another one.
    static void forget_(const void* object) noexcept;
    std::size_t levelOf_(const void* object) const;

    const rxArchive* archive_;
    Operation* outer_;
    std::vector<const void*> open_;  // objects of the records being passed, outermost first
    std::set<Mark> marks_;
};

/// One byte.
PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, unsigned char& value);

/// The record of a container: version byte 0, number of bytes, the bytes (any, also null
/// characters).
/// @throws rxArchive::UnknownVersion: another version byte.   @throws rxArchive::Errors: as for
/// vectors.
PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, std::string& value);

/// Fewest bytes that the record of a T takes, at least 1. Specialise it beside the operator|| of a
/// class whose records are larger: a count that the bytes left cannot hold is then refused at once.
template <class T>
struct rx_MinimalRecordSize : std::integral_constant<std::uint64_t, 1> {};
template <>
struct rx_MinimalRecordSize<int> : std::integral_constant<std::uint64_t, 4> {};
template <>
struct rx_MinimalRecordSize<long> : std::integral_constant<std::uint64_t, 4> {};
template <>
struct rx_MinimalRecordSize<unsigned long> : std::integral_constant<std::uint64_t, 4> {};
template <>
struct rx_MinimalRecordSize<double> : std::integral_constant<std::uint64_t, 8> {};
template <>
struct rx_MinimalRecordSize<std::string> : std::integral_constant<std::uint64_t, 5> {};
template <class T>
struct rx_MinimalRecordSize<std::vector<T>> : std::integral_constant<std::uint64_t, 5> {};

namespace ptmatch::detail {

/// Passes the head of a container record: version byte 0 and the number of elements.
/// @param size  the number of elements when storing; not used when loading.
/// @return the number of elements to pass; when loading, one that the bytes left can hold.
/// @throws rxArchive::UnknownVersion with no source and line 0: the version is not 0.
/// @throws rxArchive::Errors: more than 2^32 - 1 elements to store, or more than the bytes left
/// hold.
PTMATCH_EXPORT std::uint64_t passContainerHead(rxArchive& ar, std::uint64_t size,
                                               std::uint64_t minimalSize);

/// Elements to reserve for: no more memory than the bytes that are left to be loaded.
PTMATCH_EXPORT std::size_t reservableElements(const rxArchive& ar, std::uint64_t count,
                                              std::size_t elementSize);

}  // namespace ptmatch::detail

/// The record of a sequence: version byte 0, number of elements, each element with its own
/// operator||. When loading, the vector grows with the elements that come; it is replaced when all
/// are there. The element's record must take at least one byte.
/// @throws rxArchive::UnknownVersion with no source and line 0: another version byte.
/// @throws rxArchive::Errors: more than 2^32 - 1 elements to store, a count that the bytes left
/// cannot hold, or what an element throws.
template <class T>
rxArchive& operator||(rxArchive& ar, std::vector<T>& values) {
    static_assert(!std::is_same_v<T, bool>, "std::vector<bool> has no elements that can be loaded");
    static_assert(rx_MinimalRecordSize<T>::value >= 1);
    const rxArchive::NestingGuard nesting(ar);
    const rxArchive::Operation operation(ar);
    const std::uint64_t count =
        ptmatch::detail::passContainerHead(ar, values.size(), rx_MinimalRecordSize<T>::value);
    if (ar.isStoring()) {
        if constexpr (std::is_same_v<T, unsigned char>) return ar.bytes(values);
        for (T& value : values) ar || value;
        return ar;
    }
    std::vector<T> loaded;
    if constexpr (std::is_same_v<T, unsigned char>) {
        loaded = ar.loadBytes(count);
    } else {
        loaded.reserve(ptmatch::detail::reservableElements(ar, count, sizeof(T)));
        for (std::uint64_t i = 0; i < count; ++i) {
            loaded.emplace_back();
            ar || loaded.back();
        }
    }
    values = std::move(loaded);
    return ar;
}
