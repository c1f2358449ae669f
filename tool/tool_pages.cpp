#include "tool_pages.h"

#include <CLI/CLI.hpp>
#include <vector>

namespace ptmatch::tool {
namespace {

std::vector<const CLI::App*> commandsOf(const CLI::App& app) {
    return app.get_subcommands([](const CLI::App*) { return true; });
}

bool takesValue(const CLI::Option& option) {
    return option.get_items_expected_max() > 0;
}

// Every spelling of an option: -h and --help.
std::vector<std::string> spellingsOf(const CLI::Option& option) {
    std::vector<std::string> spellings;
    for (const std::string& name : option.get_snames()) spellings.push_back("-" + name);
    for (const std::string& name : option.get_lnames()) spellings.push_back("--" + name);
    return spellings;
}

std::string joined(const std::vector<std::string>& words, const std::string& separator) {
    std::string text;
    for (const std::string& word : words) {
        if (!text.empty()) text += separator;
        text += word;
    }
    return text;
}

// Text as it is: neither a hyphen to break at, nor an escape, nor a request at the start of a line.
std::string roff(const std::string& text) {
    std::string escaped;
    bool isLineStart = true;
    for (const char c : text) {
        if (isLineStart && (c == '.' || c == '\'')) escaped += "\\&";
        if (c == '\\') {
            escaped += "\\e";
        } else if (c == '-') {
            escaped += "\\-";
        } else if (c == '\'') {
            escaped += "\\(aq";
        } else {
            escaped += c;
        }
        isLineStart = c == '\n';
    }
    return escaped;
}

// " FILE", for what stands without an option.
std::string positionalsOf(const CLI::App& command) {
    std::string text;
    for (const CLI::Option* const option : command.get_options()) {
        if (!spellingsOf(*option).empty()) continue;
        text.append(" \\fI").append(roff(option->get_name(true))).append("\\fR");
    }
    return text;
}

std::string optionEntry(const CLI::Option& option) {
    std::vector<std::string> names = spellingsOf(option);
    const bool isPositional = names.empty();
    if (isPositional) names.push_back(option.get_name(true));
    std::string text = ".TP\n\\fB" + roff(joined(names, ", ")) + "\\fR";
    if (takesValue(option) && !isPositional) {
        text += " \\fI" + roff(option.get_type_name()) + "\\fR";
    }
    return text + "\n" + roff(option.get_description()) + "\n";
}

std::string examplesOf(const CLI::App& command) {
    const std::string footer = command.get_footer();
    const auto end = footer.find('\n');
    if (end == std::string::npos) return {};
    return ".PP\n" + roff(footer.substr(0, end)) + "\n.PP\n.nf\n" + roff(footer.substr(end + 1)) +
           "\n.fi\n";
}

// What a reader without the documents has to know to write the tables.
std::string fileSection() {
    const std::pair<const char*, const char*> kinds[] = {
        {"Points",
         "A line for each point: x,y, of a model also x,y,weight. With a header (a first line "
         "without a number) columns are found by name: x and y, weight in a model, frame with "
         "--frames; others are ignored. Blank lines and lines that begin with # are skipped."},
        {"Pairs", "The same with the columns ax,ay,bx,by, in space ax,ay,az,bx,by,bz."},
        {"Patterns",
         "Text with a line for each row: x, X, #, 1, *, o and O are set positions, the dot, 0 and "
         "the blank are not. Or a portable grey map (PGM), in which every pixel but 0 is set."},
        {"Trained matchers", "Archives that train writes, told by their content."}};
    std::string text = ".SH FILES\n";
    for (const auto& [kind, meaning] : kinds) {
        text += std::string(".TP\n.B ") + kind + "\n" + roff(meaning) + "\n";
    }
    return text;
}

std::string commandSection(const CLI::App& command) {
    std::string text =
        ".SS ptmatch " + roff(command.get_name()) + "\n" + roff(command.get_description()) + ".\n";
    for (const CLI::Option* const option : command.get_options()) text += optionEntry(*option);
    return text + examplesOf(command);
}

// The words that can be given as they are: of "LO,HI|full" the second, of "FILE" none.
std::string wordsFor(const CLI::Option& option) {
    std::vector<std::string> words;
    std::string rest = option.get_type_name() + "|";
    for (auto end = rest.find('|'); end != std::string::npos; end = rest.find('|')) {
        const bool isWord = end > 0 && rest.front() >= 'a' && rest.front() <= 'z';
        if (isWord) words.push_back(rest.substr(0, end));
        rest.erase(0, end + 1);
    }
    return joined(words, " ");
}

bool takesFile(const CLI::Option& option) {
    return option.get_type_name().rfind("FILE", 0) == 0;
}

// The branch for what may follow one option of a command.
std::string valueBranch(const CLI::App& command, const CLI::Option& option) {
    if (!takesValue(option) || spellingsOf(option).empty()) return {};
    std::string text = "        '" + command.get_name() + " " +
                       joined(spellingsOf(option), "' | '" + command.get_name() + " ") + "')\n";
    if (takesFile(option)) {
        text += "            _ptmatch_files\n";
    } else {
        text += "            _ptmatch_words '" + wordsFor(option) + "'\n";
    }
    return text + "            return\n            ;;\n";
}

std::string optionWords(const CLI::App& command) {
    std::vector<std::string> words;
    for (const CLI::Option* const option : command.get_options()) {
        for (const std::string& spelling : spellingsOf(*option)) words.push_back(spelling);
    }
    return joined(words, " ");
}

}  // namespace

std::string manualPage(const CLI::App& app, const std::string& version) {
    std::string text = ".TH PTMATCH 1 \"\" \"ptmatch " + roff(version) + "\" \"User Commands\"\n";
    text += ".nh\n.ad l\n";  // options are neither hyphenated nor spread over the line
    text += ".SH NAME\nptmatch \\- find patterns and grids among points, fit transforms to pairs\n";
    text += ".SH SYNOPSIS\n";
    for (const CLI::App* const command : commandsOf(app)) {
        text += ".B ptmatch " + roff(command->get_name()) + "\n[\\fIoptions\\fR]" +
                positionalsOf(*command) + "\n.br\n";
    }
    text += ".B ptmatch\n\\-\\-help | \\-\\-version\n";
    text += ".SH DESCRIPTION\n" + roff(app.get_description()) + "\n";
    text +=
        "Points and pairs are tables of comma\\-separated text, with or without a header that "
        "names the columns.\nAngles are in degrees, from the x axis towards the y axis.\nExamples "
        "use tables in the folder data of a checkout of ptmatch, and are run there.\n";
    text += ".SH OPTIONS\n";
    for (const CLI::Option* const option : app.get_options()) text += optionEntry(*option);
    text += ".SH COMMANDS\n";
    for (const CLI::App* const command : commandsOf(app)) text += commandSection(*command);
    text += fileSection();
    text += ".SH EXIT STATUS\n";
    const std::pair<const char*, const char*> codes[] = {
        {"0", "Something was found, fitted, written or shown."},
        {"1", "Nothing was found."},
        {"2",
         "The input or an option cannot be used, or output cannot be written; a message says "
         "which."},
        {"3", "Some data sets of a batch cannot be used; the others were searched."},
        {"130", "Interrupted by Ctrl-C. A batch has printed what was finished."}};
    for (const auto& [code, meaning] : codes) {
        text += std::string(".TP\n.B ") + code + "\n" + roff(meaning) + "\n";
    }
    text +=
        ".SH SEE ALSO\n.BR rsvg\\-convert (1),\nwhich makes the PNG pictures.\n.PP\n"
        "The folder docs of the sources of ptmatch: tool.md, with examples and every field of the "
        "JSON, and guide, on the choice of parameters.\n";
    return text;
}

std::string bashCompletion(const CLI::App& app) {
    std::vector<std::string> names;
    std::string values;
    std::string options;
    for (const CLI::App* const command : commandsOf(app)) {
        names.push_back(command->get_name());
        for (const CLI::Option* const option : command->get_options()) {
            values += valueBranch(*command, *option);
        }
        options +=
            "        " + command->get_name() + ") words='" + optionWords(*command) + "' ;;\n";
    }
    return R"(# Completion of ptmatch for bash, made from its commands and options.

_ptmatch_words() {
    mapfile -t COMPREPLY < <(compgen -W "$1" -- "$word")
}

# Names are looked for without the quotes and backslashes that the user wrote; bash puts its own.
_ptmatch_files() {
    compopt -o filenames 2>/dev/null
    word=${word#[\'\"]}
    mapfile -t COMPREPLY < <(compgen -f -- "${word//\\/}")
}

_ptmatch() {
    local -a given=("${COMP_WORDS[@]:0:COMP_CWORD}")
    local word=${COMP_WORDS[COMP_CWORD]} command=${COMP_WORDS[1]} words='' option i
    COMPREPLY=()
    # Of --option=value, bash makes three words.
    if [[ $word == = ]]; then
        word=''
    elif ((COMP_CWORD > 2)) && [[ ${given[-1]} == = ]]; then
        unset 'given[-1]'
    fi
    local last=$((${#given[@]} - 1))
    if ((COMP_CWORD == 1)); then
        _ptmatch_words ')" +
           optionWords(app) + R"( )" + joined(names, " ") + R"('
        return
    fi
    # The option that the word belongs to: one value follows it, or several files.
    for ((i = last; i > 1; --i)); do
        [[ ${given[i]} == --* ]] && break
    done
    option=${given[i]}
    ((i == last)) || [[ $option == --data ]] || option=''
    if [[ $word != -* ]]; then
        case "$command $option" in
)" + values +
           R"(        esac
        if [[ $command == info ]]; then
            _ptmatch_files
            return
        fi
    fi
    case $command in
)" + options +
           R"(    esac
    _ptmatch_words "$words"
}

complete -F _ptmatch ptmatch
)";
}

}  // namespace ptmatch::tool
