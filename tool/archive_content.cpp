#include "archive_content.h"

#include <algorithm>
#include <set>
#include <span>
#include <type_traits>
#include <utility>

#include "foundation/memory_archive.h"
#include "input_error.h"
#include "model_source.h"
#include "number_text.h"

namespace ptmatch::tool {
namespace {

using Bytes = std::span<const unsigned char>;

// A bound for the memory: a record takes some hundred bytes, also when it is one of 17 in the file.
constexpr std::size_t kMostRecords = 20000;

// The default grid size stands at a fixed place of the record; the matcher itself does not tell it.
double recordedGridSize(Bytes record) {
    rxMemoryLoadArchive archive(record);
    unsigned long matcherVersion = 0;
    long hasModel = 0;
    unsigned long modelVersion = 0;
    bool isTrained = false;
    double gridSize = 0.0;
    archive || matcherVersion || hasModel || modelVersion || isTrained || gridSize;
    return gridSize;
}

MatcherContent contentOf(const rxPointMatcher& matcher, Bytes record, const std::string& name) {
    MatcherContent content;
    if (!matcher.isTrained()) return content;
    if (matcher.trainMode() == rxPointMatcherDefs::ePointToGrid) {
        content.isOfGrid = true;
        try {
            content.grid = patternOf(matcher, name);
        } catch (const InputError& error) {
            content.fault = error.what();  // the other records are shown all the same
        }
    } else {
        content.model = pointsOf(matcher, name);
        content.defaultGridSize = recordedGridSize(record);
    }
    return content;
}

bool isAllZero(Bytes bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](unsigned char byte) { return byte == 0; });
}

// Reads an archive whose kinds of records are not known, by trying.
class RecordFinder {
  public:
    RecordFinder(Bytes bytes, std::string name) : bytes_(bytes), name_(std::move(name)) {}

    // Whether all bytes are records, which are then in takeRecords(). A place that turns out to be
    // hopeless is not tried again, however it is reached.
    bool find() {
        std::vector<Place> places = {{}};
        while (!places.empty()) {
            Place& place = places.back();
            if (place.offset == bytes_.size()) return true;
            if (place.kind == kNumKinds || hopeless_.count(place.offset) != 0) {
                hopeless_.insert(place.offset);
                places.pop_back();
                if (!records_.empty()) records_.pop_back();  // the one that led here
                continue;
            }
            if (!tryKind(place.kind++, place.offset)) continue;
            if (records_.size() > kMostRecords) {
                throw InputError(name_ + ": holds more than " + std::to_string(kMostRecords) +
                                 " records");
            }
            places.push_back({records_.back().offset + records_.back().size, 0});
        }
        return false;
    }

    const std::string& firstFault() const { return firstFault_; }
    std::vector<ArchiveRecord> takeRecords() { return std::move(records_); }

  private:
    static constexpr int kNumKinds = 6;
    struct Place {
        std::size_t offset = 0;
        int kind = 0;  // the next to try
    };

    bool tryKind(int kind, std::size_t offset) {
        switch (kind) {
            case 0:
                return tryRecord<rxPointMatcher>(offset);
            case 1:
                return tryRecord<rxPointMatcherRunParams>(offset);
            case 2:
                return tryRecord<rxPointMatcherResultSet>(offset);
            case 3:
                return tryRecord<rxPointMatcherResult>(offset);
            case 4:
                return tryRecord<rxPtToGridMapRunParams>(offset);
            default:
                return tryRecord<rxPtToGridMapResult>(offset);
        }
    }

    // Appends the record if there is one. Zeros can be read as records of a version 0, but whoever
    // stores one writes its version: they are what is left of a file that was never written.
    template <class Record>
    bool tryRecord(std::size_t offset) {
        const Bytes rest = bytes_.subspan(offset);
        rxMemoryLoadArchive archive(rest);
        Record record;
        try {
            archive || record;
        } catch (const rxArchive::UnknownVersion&) {
            return false;
        } catch (const rxArchive::Errors& error) {
            if (firstFault_.empty()) firstFault_ = trimmed(error.what());
            return false;
        }
        const std::size_t size = archive.position();
        if (isAllZero(rest.first(size))) return false;
        records_.push_back({offset, size, {}});
        if constexpr (std::is_same_v<Record, rxPointMatcher>) {
            records_.back().content = contentOf(record, rest.first(size), name_);
        } else {
            records_.back().content = std::move(record);
        }
        return true;
    }

    Bytes bytes_;
    std::string name_;
    std::string firstFault_;
    std::vector<ArchiveRecord> records_;
    std::set<std::size_t> hopeless_;
};

std::string matcherKind(const MatcherContent& matcher) {
    if (matcher.isOfGrid) return "matcher trained on a grid pattern";
    return matcher.model ? "matcher trained on points" : "untrained matcher";
}

}  // namespace

std::string ArchiveRecord::kind() const {
    switch (content.index()) {
        case 0:
            return matcherKind(std::get<MatcherContent>(content));
        case 1:
            return "run parameters";
        case 2:
            return "result set";
        case 3:
            return "result";
        case 4:
            return "grid mapping parameters";
        default:
            return "grid mapping result";
    }
}

ArchiveContent parseArchive(std::string_view bytes, const std::string& name) {
    const std::vector<unsigned char> copy(bytes.begin(), bytes.end());
    if (copy.empty()) throw InputError(name + ": is empty, expected an archive");
    RecordFinder finder(copy, name);
    if (!finder.find()) {
        throw InputError(name + ": is no archive of records that ptmatch knows, or is damaged" +
                         (finder.firstFault().empty() ? "" : ": " + finder.firstFault()));
    }
    return {name, bytes.size(), finder.takeRecords()};
}

}  // namespace ptmatch::tool
