#pragma once

#include <cstddef>
#include <span>
#include <utility>
#include <vector>

#include "foundation/archive.h"
#include "foundation/export.h"

/// Stores records into memory that it owns. The bytes are the records, with no head or tail.
///
///     rxMemoryStoreArchive storing;
///     storing || params;
///     rxMemoryLoadArchive loading(storing.stored());
///     loading || copy;
class PTMATCH_EXPORT rxMemoryStoreArchive : public rxArchive {
  public:
    /// Nothing stored yet.
    rxMemoryStoreArchive() : rxArchive(Direction::eStoring) {}
    ~rxMemoryStoreArchive() override;

    /// What has been stored so far. Valid until the next store.
    const std::vector<unsigned char>& stored() const { return stored_; }
    /// Hands out what has been stored and starts anew.
    std::vector<unsigned char> takeStored() { return std::exchange(stored_, {}); }

    std::optional<std::uint64_t> bytesLeft() const override { return std::nullopt; }

  protected:
    void read_(std::span<unsigned char> block) override;
    void write_(std::span<const unsigned char> block) override;

  private:
    std::vector<unsigned char> stored_;
};

/// Loads records from memory of the caller, which must outlive the archive. bytesLeft() is exact,
/// so that bytesLeft() == 0 tells that nothing follows the last record.
class PTMATCH_EXPORT rxMemoryLoadArchive : public rxArchive {
  public:
    /// Loads from the first byte on; the bytes are not copied.
    explicit rxMemoryLoadArchive(std::span<const unsigned char> input)
        : rxArchive(Direction::eLoading), input_(input) {}
    /// A temporary would be gone before the first load.
    explicit rxMemoryLoadArchive(std::vector<unsigned char>&& input) = delete;
    ~rxMemoryLoadArchive() override;

    /// Bytes loaded so far.
    std::size_t position() const { return position_; }

    std::optional<std::uint64_t> bytesLeft() const override { return input_.size() - position_; }

  protected:
    void read_(std::span<unsigned char> block) override;
    void write_(std::span<const unsigned char> block) override;

  private:
    std::span<const unsigned char> input_;
    std::size_t position_ = 0;
};
