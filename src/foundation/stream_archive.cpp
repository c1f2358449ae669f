#include "foundation/stream_archive.h"

#include <istream>
#include <ostream>
#include <string>

namespace {

/// Bytes from the stream's position to its end; nothing if it cannot tell. Leaves its state as it
/// was.
std::optional<std::uint64_t> bytesToEnd(std::istream& stream) {
    const std::istream::pos_type failed(-1);
    if (!stream.good()) return std::nullopt;  // also one without a buffer
    std::streambuf* buffer = stream.rdbuf();
    const std::istream::pos_type here = buffer->pubseekoff(0, std::ios::cur, std::ios::in);
    if (here == failed) return std::nullopt;
    const std::istream::pos_type end = buffer->pubseekoff(0, std::ios::end, std::ios::in);
    if (buffer->pubseekpos(here, std::ios::in) == failed) {
        throw rxArchive::Errors("the stream could not be brought back to where its records start");
    }
    if (end == failed) return std::nullopt;
    return end < here ? 0
                      : static_cast<std::uint64_t>(end - here);  // a file can stand past its end
}

}  // namespace

rxStreamStoreArchive::rxStreamStoreArchive(std::ostream& stream)
    : rxArchive(Direction::eStoring), stream_(stream) {}

rxStreamStoreArchive::~rxStreamStoreArchive() = default;

void rxStreamStoreArchive::read_(std::span<unsigned char> /*block*/) {
    throw Errors("a storing archive cannot be read");
}

void rxStreamStoreArchive::write_(std::span<const unsigned char> block) {
    try {
        stream_.write(reinterpret_cast<const char*>(block.data()),
                      static_cast<std::streamsize>(block.size()));
    } catch (const std::exception&) {
        // The stream has been told to throw; its state says so too.
    }
    if (!stream_) {
        throw Errors("the stream did not take " + std::to_string(block.size()) +
                     " bytes of a record");
    }
}

rxStreamLoadArchive::rxStreamLoadArchive(std::istream& stream)
    : rxArchive(Direction::eLoading), stream_(stream), left_(bytesToEnd(stream)) {}

rxStreamLoadArchive::~rxStreamLoadArchive() = default;

void rxStreamLoadArchive::read_(std::span<unsigned char> block) {
    try {
        stream_.read(reinterpret_cast<char*>(block.data()),
                     static_cast<std::streamsize>(block.size()));
    } catch (const std::exception&) {
        // The stream has been told to throw; its state says so too.
    }
    const auto came = static_cast<std::uint64_t>(stream_.gcount());
    if (left_) *left_ -= std::min(*left_, came);
    if (!stream_) {
        throw Errors("the stream ends early: " + std::to_string(block.size()) +
                     " bytes expected, " + std::to_string(came) + " came");
    }
}

void rxStreamLoadArchive::write_(std::span<const unsigned char> /*block*/) {
    throw Errors("a loading archive cannot be written");
}
