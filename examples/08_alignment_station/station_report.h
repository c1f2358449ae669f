#pragma once

#include <ostream>
#include <string>

#include "inspector.h"

namespace station {

/// Writes a line per frame: a table (CSV), or an object of JSON to a line, by the ending of the
/// file's name.
class Report {
  public:
    /// @throws std::invalid_argument  the name ends in neither .csv nor .jsonl.
    Report(std::ostream& stream, const std::string& fileName);

    void add(long frame, const Inspection& inspection);

  private:
    std::ostream& stream_;
    bool isJson_;
};

}  // namespace station
