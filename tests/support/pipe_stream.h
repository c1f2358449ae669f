#pragma once

#include <istream>
#include <span>
#include <streambuf>
#include <vector>

namespace ptmatch::testing {

/// A stream over bytes that cannot tell its position nor seek, as one over a pipe.
class PipeStream : public std::istream {
  public:
    explicit PipeStream(std::span<const unsigned char> bytes)
        : std::istream(nullptr), buffer_(bytes) {
        rdbuf(&buffer_);
    }

  private:
    class Buffer : public std::streambuf {
      public:
        explicit Buffer(std::span<const unsigned char> bytes) : bytes_(bytes.begin(), bytes.end()) {
            setg(bytes_.data(), bytes_.data(), bytes_.data() + bytes_.size());
        }

      private:
        std::vector<char> bytes_;
    };

    Buffer buffer_;
};

}  // namespace ptmatch::testing
