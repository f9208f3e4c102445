#pragma once

// The command line: netloom layout INPUT [-o OUTPUT] [options], or
// netloom layout INPUT... --outdir DIR [--to FORMAT,...] [--jobs N] [options].

#include "graph_file.h"
#include "layout_run.h"

#include <CLI/CLI.hpp>

#include <optional>
#include <string>
#include <vector>

namespace netloom_cli {

struct CommandLine {
    std::vector<std::string> inputs;
    std::string input;         // the one input without --outdir
    std::string output;        // empty: standard output
    std::string from;          // format names as given, empty: from the extension
    std::string to;            // with --outdir, a comma-separated list
    std::string outdir;        // empty: one input, one output
    int jobs = 0;              // workers of a batch; 0: one per hardware thread
    bool threadsGiven = false; // --threads was given
    std::string type = "hierarchy";
    std::string progress = "auto";
    bool stats = false; // crossing and bend counts on stderr
    std::string layerSpacing = "auto";
    LayoutOptions layout;
    std::vector<std::string> given; // layout options named on the command line
};

// The layout options named on the command line that a file may set too.
inline const char* const kFileOptions[] = {"--type", "--direction", "--distance",
                                           "--layer-spacing"};

// The options for one file: the command line's, and the file's own (ELK JSON
// layoutOptions) where the command line names none.
LayoutOptions FileLayoutOptions(const CommandLine& line, const FileGraph& graph);

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
Format InputFormatOf(const CommandLine& line, const std::string& path);
Format OutputFormat(const CommandLine& line);
// The formats of a batch: each of --to's comma-separated names, JSON without it.
std::vector<Format> OutputFormats(const CommandLine& line);
// The usual file extension of a format (".json", ".gv", ...).
const char* FormatExtension(Format format);

} // namespace netloom_cli
