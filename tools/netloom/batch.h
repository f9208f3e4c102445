#pragma once

// netloom layout INPUT... --outdir DIR: many files in one run, on several
// workers.

#include "options.h"

#include <cstddef>
#include <string>

namespace netloom_cli {

// Lays out every input of line.inputs on line.jobs workers and writes
// DIR/NAME.EXT for each output format. Each failed input gets one error line on
// stderr and the others go on. Returns 1 if any input failed, else 0; throws
// UsageError for a command line that cannot run at all.
int RunBatch(const CommandLine& line);

// The warning for nodes a levels file left out.
std::string LevelsWarning(std::size_t placedByNeighbour);

} // namespace netloom_cli
