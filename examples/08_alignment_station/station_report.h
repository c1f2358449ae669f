#pragma once

#include <ostream>
#include <string>

#include "inspector.h"

namespace station {

enum class ReportFormat { csv, jsonLines };

/// The format that belongs to the ending of a file's name. Ask before the file is opened for
/// writing, which empties it.
/// @throws std::invalid_argument  the name ends in neither .csv nor .jsonl.
ReportFormat reportFormatOf(const std::string& fileName);

/// Writes a line per frame: a table (CSV), or an object of JSON to a line.
class Report {
  public:
    Report(std::ostream& stream, ReportFormat format);

    void add(long frame, const Inspection& inspection);

  private:
    std::ostream& stream_;
    bool isJson_;
};

}  // namespace station
