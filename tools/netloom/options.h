#pragma once

// The command line: netloom layout INPUT [-o OUTPUT] [options].

#include "graph_file.h"
#include "layout_run.h"

#include <CLI/CLI.hpp>

#include <optional>
#include <string>

namespace netloom_cli {

struct CommandLine {
    std::string input;
    std::string output; // empty: standard output
    std::string from;   // format names as given, empty: from the extension
    std::string to;
    std::string type = "hierarchy";
    std::string progress = "auto";
    LayoutOptions layout;
};

// Declares the options on app and its layout subcommand; returns the subcommand.
CLI::App* DefineCommandLine(CLI::App& app, CommandLine& line);

// A usage problem found after parsing (exit status 2).
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Fills line.layout.type and .progress from the parsed words; throws UsageError.
void ResolveChoices(CommandLine& line);
// The input and output formats: --from/--to, else the file extension, else JSON
// for standard output. Throws UsageError.
Format InputFormat(const CommandLine& line);
Format OutputFormat(const CommandLine& line);

} // namespace netloom_cli
