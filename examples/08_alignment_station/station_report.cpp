#include "station_report.h"

#include <iomanip>
#include <locale>
#include <stdexcept>

namespace station {
namespace {

bool endsInJson(const std::string& name) {
    if (name.ends_with(".jsonl")) return true;
    if (name.ends_with(".csv")) return false;
    throw std::invalid_argument(name + ": a report ends in .csv or .jsonl");
}

}  // namespace

Report::Report(std::ostream& stream, const std::string& fileName)
    : stream_(stream), isJson_(endsInJson(fileName)) {
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
