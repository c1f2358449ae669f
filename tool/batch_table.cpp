#include "batch_table.h"

#include <ostream>

#include "exit_code.h"
#include "input_error.h"
#include "interrupt_guard.h"
#include "shown_text.h"

namespace ptmatch::tool {
namespace {

using Fate = BatchEnd::Fate;

void writeNotes(const BatchEnd& end, std::ostream& notes) {
    for (std::size_t i = 0; i < end.fates.size(); ++i) {
        if (end.fates[i] != Fate::kFailed) continue;
        notes << "ptmatch: " << withoutControls(end.errors[i]) << '\n';
    }
    if (end.isInterrupted) notes << "ptmatch: interrupted\n";
    notes << std::flush;
}

}  // namespace

void nameFailures(BatchEnd& end, const std::vector<DataSet>& sets) {
    for (std::size_t i = 0; i < sets.size(); ++i) {
        const std::string start = sets[i].name() + ":";
        std::string& error = end.errors[i];
        if (!error.empty() && error.rfind(start, 0) != 0) error.insert(0, 1, ' ').insert(0, start);
    }
}

std::string fateText(const BatchEnd& end, std::size_t index) {
    return end.fates[index] == Fate::kFailed ? "failed" : "not finished";
}

std::string batchTable(const TableRow& head, const std::vector<DataSet>& sets, const BatchEnd& end,
                       const std::function<BatchRows(std::size_t)>& rowsOf) {
    const auto joined = [](TableRow start, const TableRow& row) {
        start.insert(start.end(), row.begin(), row.end());
        return start;
    };
    std::vector<TableRow> rows = {joined({"data", "points"}, head)};
    for (std::size_t i = 0; i < sets.size(); ++i) {
        const bool isDone = end.fates[i] == Fate::kDone;
        BatchRows set;
        if (isDone) set = rowsOf(i);
        if (set.results.empty()) {
            set.results.emplace_back(head.size());
            if (isDone) set.results.back().front().assign(1, '-');
        }
        const TableRow start = {withoutControls(sets[i].name()),
                                isDone ? std::to_string(set.numPoints) : fateText(end, i)};
        for (const TableRow& result : set.results) rows.push_back(joined(start, result));
    }
    return alignedText(rows);
}

void requireNoFileOfBatch(const std::vector<RoleOfFile>& outputs) {
    for (const RoleOfFile& output : outputs) {
        if (output.path.empty()) continue;
        throw InputError(output.name + ": is for one data set, not for a batch");
    }
}

int finishBatch(const BatchEnd& end, bool hasFound, const std::string& text, std::ostream& out,
                std::ostream& notes) {
    writeNotes(end, notes);
    out << text << std::flush;
    const std::string unwritten = "the results cannot be written to standard output";
    if (end.hasThreadsLeft) {
        if (!out) notes << "ptmatch: " << unwritten << std::endl;
        leaveThreads(out ? kExitInterrupted : kExitBadInput);
    }
    if (!out) throw InputError(unwritten);
    return exitCodeOf(end, hasFound);
}

}  // namespace ptmatch::tool
