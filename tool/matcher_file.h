#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "ptmatch/ppmatch.h"

// Files that hold a trained matcher: one record of docs/archive_format.md and nothing else, so that
// every program with the library can load them.
namespace ptmatch::tool {

/// Whether the bytes begin as a record of a matcher does, and as no table or pattern can: with the
/// two upper bytes of a version number, of which the last is 0.
bool isMatcherArchive(std::string_view bytes);

/// The matcher that the bytes hold.
/// @param name  what messages call them
/// @throws InputError  they are cut off, damaged, of a newer version, followed by others, or hold a
///                     matcher that is not trained.
std::shared_ptr<const rxPointMatcher> parseMatcher(std::string_view bytes, const std::string& name);

/// The record of `matcher`, which must be trained; it is not changed.
std::string matcherBytes(rxPointMatcher& matcher);

/// The text of a table or of a pattern that a matcher is to be trained on.
/// @throws InputError  the file at `path` cannot be read, holds a trained matcher already, or is
///                     neither a table or a pattern nor a matcher.
std::string readUntrained(const std::string& path, const std::string& expected);

/// A table or a pattern is text, or the pixels of a grey map: a file that is neither, and no
/// matcher, is better named as such than by the first character that is out of place.
/// @throws InputError  the bytes hold a null byte among the first, and are no grey map.
void requireNoForeignFile(std::string_view bytes, const std::string& name,
                          const std::string& expected);

}  // namespace ptmatch::tool
