#include "archive_content.h"

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
        content.grid = patternOf(matcher, name);
    } else {
        content.model = pointsOf(matcher, name);
        content.defaultGridSize = recordedGridSize(record);
    }
    return content;
}

// Reads an archive whose kinds of records are not known, by trying.
class RecordFinder {
  public:
    RecordFinder(Bytes bytes, std::string name) : bytes_(bytes), name_(std::move(name)) {}

    // Whether the bytes from `offset` on are records; appends them if so.
    bool find(std::size_t offset) {
        if (offset == bytes_.size()) return true;
        if (records_.size() >= kMostRecords || hopeless_.count(offset) != 0) return false;
        const Bytes rest = bytes_.subspan(offset);
        const bool isFound = tryKind<rxPointMatcher>(offset, rest) ||
                             tryKind<rxPointMatcherRunParams>(offset, rest) ||
                             tryKind<rxPointMatcherResultSet>(offset, rest) ||
                             tryKind<rxPointMatcherResult>(offset, rest) ||
                             tryKind<rxPtToGridMapRunParams>(offset, rest) ||
                             tryKind<rxPtToGridMapResult>(offset, rest);
        if (!isFound) hopeless_.insert(offset);
        return isFound;
    }

    const std::string& firstFault() const { return firstFault_; }
    std::vector<ArchiveRecord> takeRecords() { return std::move(records_); }

  private:
    // Bounds the depth of the calls, too.
    static constexpr std::size_t kMostRecords = 1000;

    template <class Record>
    bool tryKind(std::size_t offset, Bytes rest) {
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
        records_.push_back({offset, size, {}});
        if constexpr (std::is_same_v<Record, rxPointMatcher>) {
            records_.back().content = contentOf(record, rest.first(size), name_);
        } else {
            records_.back().content = std::move(record);
        }
        if (find(offset + size)) return true;
        records_.pop_back();
        return false;
    }

    Bytes bytes_;
    std::string name_;
    std::string firstFault_;
    std::vector<ArchiveRecord> records_;
    std::set<std::size_t> hopeless_;
};

std::string matcherKind(const MatcherContent& matcher) {
    if (matcher.grid) return "matcher trained on a grid pattern";
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
    if (!finder.find(0)) {
        throw InputError(name + ": is no archive of records that ptmatch knows, or is damaged" +
                         (finder.firstFault().empty() ? "" : ": " + finder.firstFault()));
    }
    return {name, bytes.size(), finder.takeRecords()};
}

}  // namespace ptmatch::tool
