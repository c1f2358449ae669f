#pragma once

#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace ptmatch::testing {

/// The bytes of an example in docs/archive_format.md: the hexadecimal numbers of the block after
/// the line
/// `<!-- example: NAME -->`, without its comments.
inline std::vector<unsigned char> documentedBytes(const std::string& name) {
    std::ifstream document(PTMATCH_SOURCE_DIR "/docs/archive_format.md");
    const std::string title = "<!-- example: " + name + " -->";
    std::string line;
    while (std::getline(document, line) && line != title) {
    }
    if (!std::getline(document, line) || line != "```") {
        throw std::runtime_error("docs/archive_format.md has no example " + name);
    }
    std::string text;
    while (std::getline(document, line) && line != "```") text += line.substr(0, line.find('#'));
    std::erase(text, ' ');
    std::vector<unsigned char> bytes;
    for (std::size_t at = 0; at < text.size(); at += 2) {
        bytes.push_back(static_cast<unsigned char>(std::stoi(text.substr(at, 2), nullptr, 16)));
    }
    return bytes;
}

}  // namespace ptmatch::testing
