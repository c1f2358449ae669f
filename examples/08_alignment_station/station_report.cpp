#include "station_report.h"

#include <iomanip>
#include <locale>
#include <stdexcept>

namespace station {

ReportFormat reportFormatOf(const std::string& fileName) {
    if (fileName.ends_with(".jsonl")) return ReportFormat::jsonLines;
    if (fileName.ends_with(".csv")) return ReportFormat::csv;
    throw std::invalid_argument(fileName + ": a report ends in .csv or .jsonl");
}

Report::Report(std::ostream& stream, ReportFormat format)
    : stream_(stream), isJson_(format == ReportFormat::jsonLines) {
    // Decimal points, whatever the machine's language is; micrometres are enough.
    stream_.imbue(std::locale::classic());
    stream_ << std::fixed << std::setprecision(3);
    if (!isJson_) stream_ << "frame,verdict,holes,grip_x,grip_y,degrees,sigma,worst_error,reason\n";
}

// Reasons are our own words, without quotation marks, commas or line feeds: nothing to escape.
void Report::add(long frame, const Inspection& inspection) {
    const std::optional<PartPose>& pose = inspection.pose;
    if (isJson_) {
        stream_ << "{\"frame\": " << frame << ", \"verdict\": \"" << nameOf(inspection.verdict)
                << "\", \"holes\": " << inspection.numHoles;
        if (pose) {
            stream_ << ", \"grip\": [" << pose->grip.x() << ", " << pose->grip.y()
                    << "], \"degrees\": " << pose->degrees << ", \"sigma\": " << pose->positionSigma
                    << ", \"worst_error\": " << pose->worstError;
        }
        stream_ << ", \"reason\": \"" << inspection.reason << "\"}\n";
        return;
    }
    stream_ << frame << ',' << nameOf(inspection.verdict) << ',' << inspection.numHoles << ',';
    if (pose) {
        stream_ << pose->grip.x() << ',' << pose->grip.y() << ',' << pose->degrees << ','
                << pose->positionSigma << ',' << pose->worstError << ',';
    } else {
        stream_ << ",,,,,";
    }
    stream_ << inspection.reason << '\n';
}

}  // namespace station
