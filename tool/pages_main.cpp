// Writes the manual page and the completion for bash of the tool: the program that the build runs.

#include <CLI/CLI.hpp>
#include <exception>
#include <fstream>
#include <iostream>
#include <string>

#include "tool_app.h"
#include "tool_pages.h"

namespace {

void write(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    file.close();
    if (!file) throw std::ios_base::failure(path + ": cannot be written");
}

}  // namespace

int main(int argc, char** argv) {
    try {
        if (argc != 3) {
            std::cerr << "usage: ptmatch_tool_pages MANUAL COMPLETION\n";
            return 2;
        }
        CLI::App app(ptmatch::tool::kToolDescription, "ptmatch");
        ptmatch::tool::AllOptions options;
        addAllCommands(app, options);
        write(argv[1], ptmatch::tool::manualPage(app, PTMATCH_VERSION));
        write(argv[2], ptmatch::tool::bashCompletion(app));
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "ptmatch_tool_pages: " << error.what() << '\n';
        return 2;
    }
}
