#include "batch.h"

#include "interrupt.h"
#include "output_file.h"
#include "progress.h"
#include "readers.h"
#include "writers.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <map>
#include <mutex>
#include <new>
#include <thread>
#include <utility>
#include <vector>

namespace netloom_cli {
namespace {

namespace fs = std::filesystem;

// A file's name without its folder and its last extension.
std::string Stem(const std::string& path) {
    // "g.elk.json" is named "g", as "g.json" is.
    const std::string stem = fs::path(path).stem().string();
    const std::string elk = ".elk";
    const bool elkJson = stem.size() > elk.size() && fs::path(path).extension() == ".json" &&
                         stem.compare(stem.size() - elk.size(), elk.size(), elk) == 0;
    return elkJson ? stem.substr(0, stem.size() - elk.size()) : stem;
}

struct Batch {
    Batch(const CommandLine& commandLine, std::vector<Format> outputs, LayoutOptions layout)
        : line(commandLine), formats(std::move(outputs)), options(std::move(layout)) {}

    const CommandLine& line;
    std::vector<Format> formats;
    LayoutOptions options;
    std::mutex printLock;
    std::atomic<std::size_t> next{0};
    std::atomic<int> done{0};
    std::atomic<bool> failed{false};
    ProgressLine* progress = nullptr;
    bool showProgress = false;

    void Print(const char* kind, const std::string& message) {
        const std::lock_guard<std::mutex> lock(printLock);
        // Over the progress line, which is drawn again after it.
        std::fprintf(stderr, "%snetloom: %s: %s\n", showProgress ? "\r\033[K" : "", kind,
                     message.c_str());
    }

    // Reads, lays out and renders one input, then writes its outputs.
    void LayOut(const std::string& input) {
        FileGraph graph = ReadGraph(input, InputFormatOf(line, input));
        for (const std::string& note : graph.warnings) {
            Print("warning", input + ": " + note);
        }
        LayoutOptions own = FileLayoutOptions(line, graph);
        own.threads = options.threads;
        own.progress = options.progress;
        const LayoutResult result = RunLayout(graph, own);
        if (result.placedByNeighbour > 0) {
            Print("warning", input + ": " + LevelsWarning(result.placedByNeighbour));
        }
        std::vector<std::string> texts;
        for (const Format format : formats) {
            std::string warning;
            texts.push_back(RenderAs(graph, result, format, warning));
            if (!warning.empty()) {
                Print("warning", input + ": " + warning);
            }
        }
        ThrowIfInterrupted();
        for (std::size_t f = 0; f < formats.size(); ++f) {
            WriteFileAtomically(OutputPath(input, formats[f]), texts[f]);
        }
    }

    std::string OutputPath(const std::string& input, Format format) const {
        return (fs::path(line.outdir) / (Stem(input) + FormatExtension(format))).string();
    }

    void Work() {
        // After Ctrl-C no input is started and the current one writes nothing.
        for (std::size_t i = next++; i < line.inputs.size() && !Interrupted(); i = next++) {
            const std::string& input = line.inputs[i];
            std::string error;
            try {
                LayOut(input);
            } catch (const InterruptedError&) {
                break;
            } catch (const InputError& e) {
                error = e.Describe();
            } catch (const OutputError& e) {
                error = e.what();
            } catch (const UsageError& e) {
                error = e.what();
            } catch (const std::bad_alloc&) {
                error = input + ": out of memory";
            }
            if (!error.empty()) {
                failed = true;
                Print("error", error);
            }
            progress->Update(++done, static_cast<int>(line.inputs.size()));
        }
    }
};

// The path with symbolic links and dot segments resolved as far as it exists;
// as given when even that fails (the read or write names the problem then).
fs::path Resolved(const fs::path& path) {
    std::error_code error;
    const fs::path resolved = fs::weakly_canonical(path, error);
    return error ? path : resolved;
}

// Usage problems found before any file is read: stdin, outputs that two inputs
// would share, an output that would replace an input.
void CheckPlan(const Batch& batch) {
    std::map<fs::path, std::string> owner;
    for (const std::string& input : batch.line.inputs) {
        if (input == "-") {
            throw UsageError("--outdir cannot read standard input");
        }
        owner[Resolved(input)] = input;
    }
    for (const std::string& input : batch.line.inputs) {
        for (const Format format : batch.formats) {
            const fs::path out = Resolved(batch.OutputPath(input, format));
            const auto [it, added] = owner.emplace(out, input);
            if (!added) {
                throw UsageError(it->second == input
                                     ? out.string() + " would replace the input itself"
                                     : input + " and " + it->second + " would both be written to " +
                                           out.string());
            }
        }
    }
}

} // namespace

std::string LevelsWarning(std::size_t placedByNeighbour) {
    return "the levels file leaves out " + std::to_string(placedByNeighbour) +
           " node(s) of components it names; each went one level below its nearest listed "
           "neighbour";
}

int RunBatch(const CommandLine& line) {
    if (!line.output.empty()) {
        throw UsageError("-o and --outdir exclude each other");
    }
    Batch batch(line, OutputFormats(line), line.layout);
    // Many layouts side by side: each force layout on one thread unless asked.
    if (!line.threadsGiven) {
        batch.options.threads = 1;
    }
    batch.options.progress = ProgressMode::Never;
    CheckPlan(batch);
    std::error_code error;
    fs::create_directories(line.outdir, error);
    if (error || !fs::is_directory(line.outdir)) {
        batch.Print("error", line.outdir + ": cannot create the folder" +
                                 (error ? ": " + error.message() : std::string()));
        return 1;
    }

    const std::size_t files = line.inputs.size();
    const unsigned hardware = std::max(1u, std::thread::hardware_concurrency());
    const std::size_t jobs =
        std::min(files, line.jobs > 0 ? static_cast<std::size_t>(line.jobs) : hardware);
    const ProgressMode mode = line.layout.progress;
    batch.showProgress =
        mode == ProgressMode::Always || (mode == ProgressMode::Auto && isatty(STDERR_FILENO) == 1);
    ProgressLine progress(batch.showProgress, mode == ProgressMode::Always ? 0.0 : 1.0,
                          "laying out files");
    progress.Update(0, static_cast<int>(files));
    batch.progress = &progress;
    std::vector<std::thread> workers;
    for (std::size_t w = 1; w < jobs; ++w) {
        workers.emplace_back([&batch]() { batch.Work(); });
    }
    batch.Work();
    for (std::thread& worker : workers) {
        worker.join();
    }
    progress.Finish();
    if (Interrupted()) {
        batch.Print("error", "interrupted; the outputs written before are complete, no other was "
                             "written");
        return kInterruptedStatus;
    }
    return batch.failed ? 1 : 0;
}

} // namespace netloom_cli
