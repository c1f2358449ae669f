#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <span>

#include "foundation/archive.h"
#include "foundation/export.h"

/// Stores records into a stream opened in binary mode, which must outlive the archive. It writes
/// through the stream's buffer and does not flush: a medium that is full may show only when the
/// caller does. A stream that finds no memory for what it is to take is a medium that failed, too.
class PTMATCH_EXPORT rxStreamStoreArchive : public rxArchive {
  public:
    /// Stores from where the stream stands.
    explicit rxStreamStoreArchive(std::ostream& stream);
    ~rxStreamStoreArchive() override;

    std::optional<std::uint64_t> bytesLeft() const override { return std::nullopt; }

  protected:
    void read_(std::span<unsigned char> block) override;
    void write_(std::span<const unsigned char> block) override;

  private:
    std::ostream& stream_;
};

/// Loads records from a stream opened in binary mode, which must outlive the archive, from where
/// the stream stands; it reads no byte beyond the records. If the stream can seek, its end is found
/// once, at construction; otherwise bytesLeft() is unknown and memory grows with the bytes that
/// come. While the archive is in use nobody else reads or seeks the stream.
class PTMATCH_EXPORT rxStreamLoadArchive : public rxArchive {
  public:
    /// @throws rxArchive::Errors: the stream could seek to its end but not back.
    explicit rxStreamLoadArchive(std::istream& stream);
    ~rxStreamLoadArchive() override;

    std::optional<std::uint64_t> bytesLeft() const override { return left_; }

  protected:
    void read_(std::span<unsigned char> block) override;
    void write_(std::span<const unsigned char> block) override;

  private:
    std::istream& stream_;
    std::optional<std::uint64_t> left_;
};
