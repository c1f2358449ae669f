#pragma once

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "batch_run.h"
#include "data_sets.h"
#include "output_targets.h"
#include "text_table.h"

// What the tables of all batches have in common.
namespace ptmatch::tool {

/// Lets every error begin with the name of its data set, which errors of the library do not.
void nameFailures(BatchEnd& end, const std::vector<DataSet>& sets);

/// "failed" or "not finished".
std::string fateText(const BatchEnd& end, std::size_t index);

/// What one data set adds to the table.
struct BatchRows {
    std::size_t numPoints = 0;
    std::vector<TableRow> results;
};

/// The results of all data sets as an aligned table; a data set without results has one line, too.
/// @param head    the names of the columns of a result
/// @param rowsOf  called for the data sets that are done
std::string batchTable(const TableRow& head, const std::vector<DataSet>& sets, const BatchEnd& end,
                       const std::function<BatchRows(std::size_t)>& rowsOf);

/// A picture or a table of one data set says nothing about many.
/// @throws InputError  one of the files is asked for.
void requireNoFileOfBatch(const std::vector<RoleOfFile>& outputs);

/// Prints the text of a batch, and to `notes` a line for each data set that failed and one for an
/// interruption.
/// @return the exit code. Does not return when threads were left, see leaveThreads().
/// @throws InputError  the text cannot be written.
int finishBatch(const BatchEnd& end, bool hasFound, const std::string& text, std::ostream& out,
                std::ostream& notes);

}  // namespace ptmatch::tool
