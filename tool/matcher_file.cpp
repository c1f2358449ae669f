#include "matcher_file.h"

#include <cstddef>
#include <new>
#include <span>
#include <vector>

#include "foundation/memory_archive.h"
#include "input_error.h"
#include "input_file.h"
#include "number_text.h"

namespace ptmatch::tool {
namespace {

std::vector<unsigned char> bytesOf(std::string_view text) {
    return {text.begin(), text.end()};
}

}  // namespace

bool isMatcherArchive(std::string_view bytes) {
    // Versions up to 200009 are below 2^18. The next ones, up to 2^18 - 1, are told from text, too.
    constexpr unsigned kLargestThirdByte = 3;
    return bytes.size() >= 4 && bytes[3] == '\0' &&
           static_cast<unsigned char>(bytes[2]) <= kLargestThirdByte;
}

std::shared_ptr<const rxPointMatcher> parseMatcher(std::string_view bytes,
                                                   const std::string& name) {
    const std::vector<unsigned char> record = bytesOf(bytes);
    rxMemoryLoadArchive archive{std::span<const unsigned char>(record)};
    auto matcher = std::make_shared<rxPointMatcher>();
    try {
        archive || *matcher;
    } catch (const rxArchive::UnknownVersion&) {
        throw InputError(name +
                         ": is not a trained matcher, is damaged, or was written by a newer "
                         "version");
    } catch (const rxArchive::Errors& error) {
        throw InputError(name + ": is not a trained matcher, or is damaged: " +
                         std::string(trimmed(error.what())));
    }
    // Before what follows: a file of zeros reads as a short record, too.
    if (!matcher->isTrained()) throw InputError(name + ": holds a matcher that is not trained");
    if (const auto left = archive.bytesLeft().value_or(0); left != 0) {
        throw InputError(name + ": holds " + std::to_string(left) +
                         " more bytes after a trained matcher; see ptmatch info");
    }
    return matcher;
}

std::string matcherBytes(rxPointMatcher& matcher) {
    rxMemoryStoreArchive archive;
    archive || matcher;
    const std::vector<unsigned char>& stored = archive.stored();
    return {stored.begin(), stored.end()};
}

std::string readUntrained(const std::string& path, const std::string& expected) {
    std::string bytes = readInputFile(path, expected);
    if (isMatcherArchive(bytes)) {
        parseMatcher(bytes, path);  // says so when it only looks like one
        throw InputError(path + ": is a trained matcher already, expected " + expected);
    }
    requireNoForeignFile(bytes, path, expected);
    return bytes;
}

void requireNoForeignFile(std::string_view bytes, const std::string& name,
                          const std::string& expected) {
    constexpr std::size_t kLookedAt = 512;
    const std::string_view start = bytes.substr(0, 2);
    if (start == "\xff\xfe" || start == "\xfe\xff") {
        throw InputError(name + ": is UTF-16 text; save it as UTF-8");
    }
    const bool isGreyMap = bytes.substr(0, 2) == "P5";
    if (isGreyMap || bytes.substr(0, kLookedAt).find('\0') == std::string_view::npos) return;
    throw InputError(name + ": is neither " + expected + " nor a trained matcher");
}

}  // namespace ptmatch::tool
