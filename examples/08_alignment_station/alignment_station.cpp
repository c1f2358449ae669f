// An alignment station: a camera looks at a table on which a part lies, a robot is to take it.
//
//     08_alignment_station train PART.csv MATCHER
//     08_alignment_station run MATCHER CALIBRATION.csv FRAMES.csv REPORT.csv|REPORT.jsonl
//
// Ends with 0 when every part may be taken, with 1 when one may not, with 2 when there was nothing
// to decide on: wrong arguments, tables that cannot be read, a calibration that does not hold, a
// report that cannot be written.
#include <foundation/stream_archive.h>
#include <ptmatch/ppmatch.h>

#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "calibration.h"
#include "inspector.h"
#include "station_report.h"
#include "station_tables.h"

namespace {

constexpr int kAllTaken = 0;
constexpr int kSomeRejected = 1;
constexpr int kFailed = 2;

// Where the robot grips the part, in the coordinates of part.csv.
const rxVector<2> kGrip(60, 40);
// Marks that are further off tell that camera or robot have been moved.
constexpr double kMaxCalibrationError = 0.2;  // millimetres

int train(const std::string& partPath, const std::string& matcherPath) {
    rxPointMatcher matcher;
    const station::Points holes = station::readPart(partPath);
    matcher.train(holes, rxPointMatcherDefs::eAutoDetect);
    std::ofstream file(matcherPath, std::ios::binary);
    rxStreamStoreArchive archive(file);
    archive || matcher;
    file.close();
    if (!file) throw std::runtime_error(matcherPath + ": cannot be written");
    std::cout << "trained on " << holes.size() << " holes\n";
    return kAllTaken;
}

rxPointMatcher loadMatcher(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error(path + ": cannot be opened");
    rxPointMatcher matcher;
    rxStreamLoadArchive archive(file);
    archive || matcher;
    if (!matcher.isTrained()) throw std::runtime_error(path + ": holds an untrained matcher");
    return matcher;
}

// Opening a file for writing empties it: a slip of the hand must not cost the frames of a shift.
void refuseToReplace(const std::string& input, const std::string& report) {
    std::error_code notThere;
    if (std::filesystem::equivalent(input, report, notThere)) {
        throw std::runtime_error(report + ": is read by this run, the report needs another name");
    }
}

int run(const std::string& matcherPath, const std::string& calibrationPath,
        const std::string& framesPath, const std::string& reportPath) {
    const station::ReportFormat format = station::reportFormatOf(reportPath);
    for (const std::string& input : {matcherPath, calibrationPath, framesPath}) {
        refuseToReplace(input, reportPath);
    }
    const station::Calibration calibration(station::readCalibration(calibrationPath));
    if (!(calibration.residual().largest <= kMaxCalibrationError)) {
        throw std::runtime_error(calibrationPath + ": mark " +
                                 std::to_string(calibration.residual().worst) + " is " +
                                 std::to_string(calibration.residual().largest) + " mm off");
    }
    const station::Inspector inspector(loadMatcher(matcherPath), kGrip, station::Tolerances());
    const std::vector<station::Frame> frames = station::readFrames(framesPath);

    std::ofstream file(reportPath);
    station::Report report(file, format);
    std::size_t numTaken = 0;
    for (const station::Frame& frame : frames) {
        const station::Inspection inspection = inspector.inspect(calibration.toRobot(frame.points));
        report.add(frame.number, inspection);
        if (inspection.verdict == station::Verdict::ok) ++numTaken;
    }
    file.close();
    if (!file) throw std::runtime_error(reportPath + ": cannot be written");
    std::cout << numTaken << " of " << frames.size() << " parts may be taken\n";
    return numTaken == frames.size() ? kAllTaken : kSomeRejected;
}

}  // namespace

int main(int argc, char** argv) try {
    const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    if (arguments.size() == 3 && arguments[0] == "train") return train(arguments[1], arguments[2]);
    if (arguments.size() == 5 && arguments[0] == "run") {
        return run(arguments[1], arguments[2], arguments[3], arguments[4]);
    }
    std::cerr << "usage: 08_alignment_station train PART.csv MATCHER\n"
                 "       08_alignment_station run MATCHER CALIBRATION.csv FRAMES.csv REPORT\n";
    return kFailed;
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return kFailed;
}
