#pragma once

#include <functional>
#include <optional>
#include <string>

#include "foundation/vector.h"

namespace CLI {
class App;
}

// Options whose text is read by the tool itself: the conversion of numbers in the parser of command
// lines follows the locale and lets NaN through. Every option of this file goes to the group "Run
// parameters" of the help.
namespace ptmatch::tool {

/// A range of numbers as written on the command line: "LO,HI", or "full" for every number.
struct Interval {
    double low = 0.0;
    double high = 0.0;
    bool isFull = false;

    static Interval full() { return {0.0, 0.0, true}; }
};

/// The interval that `text` spells.
/// @throws InputError  when it is neither "full" nor two finite numbers in ascending order.
Interval parseInterval(const std::string& text);

/// The two finite numbers of "X,Y".
/// @throws InputError
rxVector<2> parseVector(const std::string& text);

/// A finite number.
/// @throws InputError
double parseFinite(const std::string& text);

/// A whole number from 1 to 2147483647.
/// @throws InputError
long parseCount(const std::string& text);

/// Adds an option whose text `store` reads; an InputError of it becomes an error of parsing that
/// names the option.
void addText(CLI::App& app, const std::string& name, const std::string& typeName,
             const std::string& help, const std::function<void(const std::string&)>& store);

/// Options of which parsing writes the value to `target`, which must outlive `app`.
void addNumber(CLI::App& app, const std::string& name, const std::string& help, double& target);
void addNumber(CLI::App& app, const std::string& name, const std::string& help,
               std::optional<double>& target);
void addInterval(CLI::App& app, const std::string& name, const std::string& help, Interval& target);
void addVector(CLI::App& app, const std::string& name, const std::string& help,
               std::optional<rxVector<2>>& target);
void addCount(CLI::App& app, const std::string& name, const std::string& help, long& target);

/// An option that names a file, outside the group of the run parameters; an empty name is an error
/// of parsing.
void addFile(CLI::App& app, const std::string& name, const std::string& help, std::string& target);

}  // namespace ptmatch::tool
