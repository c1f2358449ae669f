#include "grid_map_table.h"

#include <cmath>

#include "foundation/angle.h"
#include "number_text.h"
#include "text_table.h"

namespace ptmatch::tool {
namespace {

TableRow vectorRow(const std::string& name, const rxVector<2>& vector) {
    return {name, fixedText(vector.x(), 3), fixedText(vector.y(), 3)};
}

TableRow stepRow(const std::string& name, const rxVector<2>& step) {
    TableRow row = vectorRow(name, step);
    row.push_back(fixedText(step.len(), 3));
    row.push_back(fixedText(rxDegree(step.angle()).toDouble(), 3));
    return row;
}

std::string stepsTable(const rxXform<2>& xform) {
    const rxMatrix<2> m = xform.matrix();
    TableRow origin = vectorRow("position 0, 0", xform.trans());
    origin.insert(origin.end(), {"", ""});
    return alignedText({{"", "x", "y", "length", "angle [deg]"},
                        stepRow("step i", {m.element(0, 0), m.element(1, 0)}),
                        stepRow("step j", {m.element(0, 1), m.element(1, 1)}),
                        origin});
}

std::string rangeText(long low, long high) {
    return std::to_string(low) + " to " + std::to_string(high);
}

std::string countsTable(const GridMapReport& report, const GridMapFigures& figures) {
    const auto [low, high] = *figures.bounds;
    return alignedText({{"columns i", "rows j", "placed", "missing", "strays", "doubles",
                         "error (RMS)", "largest error"},
                        {rangeText(low.x(), high.x()), rangeText(low.y(), high.y()),
                         std::to_string(figures.placed),
                         figures.missing ? std::to_string(figures.missing->size()) : "?",
                         std::to_string(report.strays), std::to_string(report.doubles),
                         fixedText(*figures.rmsError, 3), fixedText(*figures.largestError, 3)}});
}

}  // namespace

std::string stepsLine(const StepChoice& choice) {
    std::string text = "steps as given: ";
    if (choice.proposal) {
        text = "steps proposed from the data, " + std::to_string(choice.proposal->supporters) +
               " of " + countedText(choice.proposal->lookedAt, "point") + " agree: ";
    }
    return text + stepsText(choice.steps) + "\n";
}

std::string gridMapTable(const GridMapReport& report) {
    const GridMapFigures figures = figuresOf(report);
    std::string text = countedText(report.data.points.size(), "point") + ": ";
    if (!report.dataFromGrid) {
        return text + "no grid found (" + fixedText(report.seconds, 3) + " s)\n" +
               stepsLine(report.choice);
    }
    return text + std::to_string(figures.placed) + " placed in " + fixedText(report.seconds, 3) +
           " s\n" + stepsLine(report.choice) + "\n" + stepsTable(*report.dataFromGrid) + "\n" +
           countsTable(report, figures);
}

}  // namespace ptmatch::tool
