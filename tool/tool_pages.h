#pragma once

#include <string>

namespace CLI {
class App;
}

// Texts about the whole tool that are made from its commands and options, so that they agree.
namespace ptmatch::tool {

/// The page of the manual, section 1, in the macros `man`.
std::string manualPage(const CLI::App& app, const std::string& version);

/// A script that completes commands, options, words that options take, and file names in bash.
std::string bashCompletion(const CLI::App& app);

}  // namespace ptmatch::tool
