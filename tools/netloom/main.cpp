// netloom: lays out graph files with the netloom library.
//
// Exit status: 0 done, 1 bad input or an output that cannot be written,
// 2 usage errors, 130 stopped by Ctrl-C (nothing written).

#include "batch.h"
#include "interrupt.h"
#include "options.h"
#include "output_file.h"
#include "readers.h"
#include "writers.h"

#include "front/route_counts.h"

#include <cstdio>
#include <iostream>
#include <iterator>

using namespace netloom_cli;

namespace {

int Fail(const std::string& message, int status) {
    std::fprintf(stderr, "netloom: error: %s\n", message.c_str());
    return status;
}

FileGraph ReadInput(const std::string& path, Format format) {
    if (path != "-") {
        return ReadGraph(path, format);
    }
    const std::string text((std::istreambuf_iterator<char>(std::cin)),
                           std::istreambuf_iterator<char>());
    return ReadText("<stdin>", text, format);
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("netloom", "netloom");
    CommandLine line;
    CLI::App* layout = DefineCommandLine(app, line);
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForVersion& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        return Fail(std::string(e.what()) + " (see netloom layout --help)", 2);
    }

    CatchInterrupt();
    Format inputFormat;
    Format outputFormat;
    try {
        ResolveChoices(line);
        line.threadsGiven = layout->count("--threads") > 0;
        for (const char* name : kFileOptions) {
            if (layout->count(name) > 0) {
                line.given.push_back(name);
            }
        }
        if (!line.outdir.empty()) {
            return RunBatch(line);
        }
        if (line.inputs.size() > 1) {
            throw UsageError("several inputs need --outdir DIR");
        }
        line.input = line.inputs.front();
        inputFormat = InputFormat(line);
        outputFormat = OutputFormat(line);
    } catch (const UsageError& e) {
        return Fail(std::string(e.what()) + " (see netloom layout --help)", 2);
    }

    try {
        // Freeing a million-node graph and its layout takes a good share of a
        // run that ends right after writing: both are left to the process's end.
        static FileGraph& graph = *new FileGraph(ReadInput(line.input, inputFormat));
        for (const std::string& note : graph.warnings) {
            std::fprintf(stderr, "netloom: warning: %s\n", note.c_str());
        }
        static const LayoutResult& result =
            *new LayoutResult(RunLayout(graph, FileLayoutOptions(line, graph)));
        // An ELK graph is written back as one unless --to names another format.
        if (graph.format == Format::Elk && outputFormat == Format::Json && line.to.empty()) {
            outputFormat = Format::Elk;
        }
        if (result.placedByNeighbour > 0) {
            std::fprintf(stderr, "netloom: warning: %s\n",
                         LevelsWarning(result.placedByNeighbour).c_str());
        }
        std::string warning;
        auto notes = [&] {
            if (!warning.empty()) {
                std::fprintf(stderr, "netloom: warning: %s\n", warning.c_str());
            }
            if (line.stats) {
                std::fputs(
                    DescribeCounts(CountRoutes(result.request, result.MakeDrawing())).c_str(),
                    stderr);
            }
            ThrowIfInterrupted();
        };
        if (line.output.empty()) {
            const std::string text = RenderAs(graph, result, outputFormat, warning);
            notes();
            std::cout << text;
            std::cout.flush();
            if (!std::cout) {
                return Fail("cannot write to standard output", 1);
            }
        } else {
            // Written as it is made, under a temporary name until complete.
            AtomicFile file(line.output);
            RenderTo(graph, result, outputFormat, warning,
                     [&file](const std::string& part) { file.Write(part); });
            notes();
            file.Commit();
        }
    } catch (const InputError& e) {
        return Fail(e.Describe(), 1);
    } catch (const OutputError& e) {
        return Fail(e.what(), 1);
    } catch (const InterruptedError& e) {
        return Fail(e.what(), kInterruptedStatus);
    } catch (const std::bad_alloc&) {
        return Fail("out of memory", 1);
    }
    return 0;
}
