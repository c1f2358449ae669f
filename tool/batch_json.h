#pragma once

#include "batch_run.h"
#include "data_sets.h"
#include "json_parts.h"

// What the JSON texts of all batches have in common.
namespace ptmatch::tool {

/// Numbers of data sets and times.
Json batchJson(const BatchEnd& end, long jobs, std::size_t found);

/// File and frame of a data set, its fate, and why it failed.
Json dataSetJson(const DataSet& set, const BatchEnd& end, std::size_t index);

}  // namespace ptmatch::tool
