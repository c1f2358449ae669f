#pragma once

#include <stdexcept>

namespace ptmatch::tool {

/// What the user gave cannot be used: an option, a file to read, a place to write to. The message
/// is one line, names the option or the file and says what was expected. Ends the tool with code 2.
class InputError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// What is said where memory runs out, which ends the tool, or a data set of a batch, as bad input
/// does.
constexpr auto kNotEnoughMemory = "not enough memory for this input";

}  // namespace ptmatch::tool
