#include "option_text.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <string_view>
#include <utility>

#include "input_error.h"
#include "number_text.h"

namespace ptmatch::tool {
namespace {

std::optional<double> finiteNumber(std::string_view text) {
    const auto value = parseNumber(text);
    return value && std::isfinite(*value) ? value : std::nullopt;
}

std::optional<std::pair<double, double>> numberPair(std::string_view text) {
    const auto comma = text.find(',');
    if (comma == std::string_view::npos) return std::nullopt;
    const auto first = finiteNumber(text.substr(0, comma));
    const auto second = finiteNumber(text.substr(comma + 1));
    if (!first || !second) return std::nullopt;
    return std::pair(*first, *second);
}

}  // namespace

Interval parseInterval(const std::string& text) {
    if (trimmed(text) == "full") return Interval::full();
    const auto pair = numberPair(text);
    if (!pair) throw InputError("expected LO,HI or full, found " + inQuotes(text));
    if (pair->first > pair->second) {
        throw InputError("expected LO,HI with LO not above HI, found " + inQuotes(text));
    }
    return {pair->first, pair->second};
}

rxVector<2> parseVector(const std::string& text) {
    if (const auto pair = numberPair(text)) return {pair->first, pair->second};
    throw InputError("expected X,Y, found " + inQuotes(text));
}

double parseFinite(const std::string& text) {
    if (const auto value = finiteNumber(text)) return *value;
    throw InputError("expected a finite number, found " + inQuotes(text));
}

long parseCount(const std::string& text) {
    constexpr double kLargest = 2147483647.0;
    const auto number = finiteNumber(text);
    if (number && *number < 1.0) throw InputError("must be at least 1, found " + printable(text));
    if (number && *number > kLargest) {
        throw InputError("must be at most 2147483647, found " + printable(text));
    }
    if (const auto count = parseWholeNumber(text)) return *count;
    throw InputError("expected a whole number, found " + inQuotes(text));
}

void addText(CLI::App& app, const std::string& name, const std::string& typeName,
             const std::string& help, const std::function<void(const std::string&)>& store) {
    app.add_option_function<std::string>(
           name,
           [name, store](const std::string& text) {
               try {
                   store(text);
               } catch (const InputError& error) {
                   throw CLI::ValidationError(name, error.what());
               }
           },
           help)
        ->type_name(typeName)
        ->group("Run parameters");
}

void addNumber(CLI::App& app, const std::string& name, const std::string& help, double& target) {
    addText(app, name, "NUMBER", help,
            [&target](const std::string& text) { target = parseFinite(text); });
}

void addNumber(CLI::App& app, const std::string& name, const std::string& help,
               std::optional<double>& target) {
    addText(app, name, "NUMBER", help,
            [&target](const std::string& text) { target = parseFinite(text); });
}

void addInterval(CLI::App& app, const std::string& name, const std::string& help,
                 Interval& target) {
    addText(app, name, "LO,HI|full", help,
            [&target](const std::string& text) { target = parseInterval(text); });
}

void addVector(CLI::App& app, const std::string& name, const std::string& help,
               std::optional<rxVector<2>>& target) {
    addText(app, name, "X,Y", help,
            [&target](const std::string& text) { target = parseVector(text); });
}

void addCount(CLI::App& app, const std::string& name, const std::string& help, long& target) {
    addText(app, name, "COUNT", help,
            [&target](const std::string& text) { target = parseCount(text); });
}

void addFile(CLI::App& app, const std::string& name, const std::string& help, std::string& target) {
    app.add_option(name, target, help)->type_name("FILE")->check([](const std::string& path) {
        return std::string(path.empty() ? "expected the name of a file, found nothing" : "");
    });
}

}  // namespace ptmatch::tool
