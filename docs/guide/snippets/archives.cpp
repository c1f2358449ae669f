// Trained matchers and more in files and in memory, and what is checked when they come back.
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "foundation/memory_archive.h"
#include "foundation/stream_archive.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/summaries.h"
#include "read_points.h"

namespace {

void require(bool holds, const std::string& what) {
    if (!holds) throw std::runtime_error("does not hold: " + what);
}

void keepAMatcher(const std::string& path) {
    rxPointMatcher matcher;
    matcher.train(readPoints("data/demo_pick/model.csv"), rxPointMatcherDefs::eAutoDetect);
    rxPointMatcherRunParams params(0.8);
    // [store]
    {
        std::ofstream file(path, std::ios::binary);
        rxStreamStoreArchive archive(file);
        archive || matcher || params;
        file.close();
        if (!file) throw std::runtime_error("cannot write " + path);
    }
    // [store]

    // [load]
    std::ifstream file(path, std::ios::binary);
    rxStreamLoadArchive archive(file);
    rxPointMatcher loaded;
    rxPointMatcherRunParams loadedParams;
    archive || loaded || loadedParams;  // in the order in which they were stored
    if (archive.bytesLeft() != 0U) throw std::runtime_error(path + " holds something else, too");
    // [load]
    require(loadedParams == params, "the parameters are the same");
    const std::vector<rxVector<2>> data = readPoints("data/demo_pick/data.csv");
    rxPointMatcherResultSet found;
    rxPointMatcherResultSet again;
    matcher.run(data, params, found);
    loaded.run(data, loadedParams, again);
    const rxPointMatcherResult& one = found.results().at(0);
    const rxPointMatcherResult& other = again.results().at(0);
    require(one.modelToDataXform() == other.modelToDataXform() &&
                one.modelToDataMap() == other.modelToDataMap(),
            "the results are the same, to the last bit");
}

void theModeIsNotRecorded() {
    // [mode]
    rxPointMatcher matcher;
    matcher.train({{0, 0}, {40, 0}, {40, 25}}, rxPointMatcherDefs::eExhaustiveMode);
    rxMemoryStoreArchive storing;
    storing || matcher;

    rxMemoryLoadArchive loading(storing.stored());
    rxPointMatcher loaded;
    loading || loaded;
    if (loaded.trainMode() != rxPointMatcherDefs::eExhaustiveMode) {
        loaded.train(loaded.modelPoints(), rxPointMatcherDefs::eExhaustiveMode);
    }
    // [mode]
    require(loaded.trainMode() == rxPointMatcherDefs::eExhaustiveMode, "the mode is set again");
}

void damageIsNoticed() {
    rxPointMatcher matcher;
    matcher.train({{0, 0}, {40, 0}, {40, 25}}, rxPointMatcherDefs::eAutoDetect);
    rxMemoryStoreArchive storing;
    storing || matcher;
    const std::vector<unsigned char> record = storing.takeStored();
    long numRefused = 0;
    std::string why;
    for (std::size_t length = 0; length < record.size(); ++length) {
        const std::vector<unsigned char> part(record.begin(),
                                              record.begin() + static_cast<long>(length));
        // [damage]
        rxMemoryLoadArchive archive(part);
        rxPointMatcher loaded;
        try {
            archive || loaded;
        } catch (const rxArchive::Errors& error) {
            why = error.what();  // the matcher is as it was before
            ++numRefused;
        }
        // [damage]
        require(!loaded.isTrained(), "a part of a record trains nothing");
    }
    require(numRefused == static_cast<long>(record.size()), "every cut is refused");

    std::cout << why << '\n';

    // What the format cannot notice: a bit of a coordinate. Put a checksum around what matters.
    std::vector<unsigned char> changed = record;
    long numAccepted = 0;
    for (std::size_t byte = 0; byte < record.size(); ++byte) {
        changed[byte] = static_cast<unsigned char>(changed[byte] ^ 1U);
        try {
            rxMemoryLoadArchive archive(changed);
            rxPointMatcher loaded;
            archive || loaded;
            ++numAccepted;
        } catch (const rxArchive::Errors&) {
        }
        changed[byte] = record[byte];
    }
    std::cout << record.size() << " bytes: each of " << numRefused << " shorter parts is refused, "
              << numAccepted << " changes of one bit are not noticed\n";
}

}  // namespace

int main() try {
    const std::filesystem::path path =
        std::filesystem::temp_directory_path() /
        ("guide_archives_" + std::to_string(std::random_device()()) + ".ptm");
    keepAMatcher(path.string());
    std::filesystem::remove(path);
    theModeIsNotRecorded();
    damageIsNoticed();
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
