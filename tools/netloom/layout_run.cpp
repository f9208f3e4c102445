#include "layout_run.h"

#include "interrupt.h"
#include "levels.h"
#include "progress.h"

#include <unistd.h>

#include <unordered_map>

namespace netloom_cli {

namespace {

// The file's graph as a request; port ids become numbers, one per distinct id.
Request MakeRequest(const FileGraph& file, std::vector<FileId>& portIds) {
    Request request;
    const std::size_t n = file.nodes.size();
    const std::size_t m = file.edges.size();
    request.nodeCount = n;
    request.x.resize(n);
    request.y.resize(n);
    request.fixed.resize(n);
    request.labels.resize(n);
    for (std::size_t i = 0; i < n; ++i) {
        const FileNode& node = file.nodes[i];
        request.x[i] = node.x;
        request.y[i] = node.y;
        request.fixed[i] = node.fixed ? 1 : 0;
        request.labels[i] = node.label.empty() ? node.id.key : node.label;
    }
    std::unordered_map<std::string, int> numbers;
    auto number = [&](const std::optional<FileId>& id) {
        if (!id) {
            return kNoPort;
        }
        const auto [it, added] = numbers.emplace(id->key, static_cast<int>(portIds.size()));
        if (added) {
            portIds.push_back(*id);
        }
        return it->second;
    };
    request.sources.resize(m);
    request.targets.resize(m);
    request.lengths.resize(m);
    request.sourcePorts.resize(m);
    request.targetPorts.resize(m);
    for (std::size_t j = 0; j < m; ++j) {
        const FileEdge& edge = file.edges[j];
        request.sources[j] = edge.source;
        request.targets[j] = edge.target;
        request.lengths[j] = edge.length ? *edge.length : kNoLength;
        request.sourcePorts[j] = number(edge.sourcePort);
        request.targetPorts[j] = number(edge.targetPort);
    }
    for (std::size_t i = 0; i < n; ++i) {
        if (file.nodes[i].record) {
            request.records.resize(n);
            RecordField& record = request.records[i] = *file.nodes[i].record;
            ForEachLeaf(record, [&numbers](RecordField& field) {
                const auto it = numbers.find(field.portName);
                field.port = field.portName.empty() || it == numbers.end() ? kNoPort : it->second;
            });
        }
    }
    request.directed = file.directed;
    return request;
}

} // namespace

LayoutResult RunLayout(const FileGraph& file, const LayoutOptions& options) {
    LayoutResult result;
    result.request = MakeRequest(file, result.portIds);
    Options run = options;
    if (run.direction == 0 && !run.bottomUp) {
        // DOT's rankdir, unless --direction says otherwise
        run.direction = file.direction;
        run.bottomUp = file.bottomUp;
    }
    if (options.levels == "direction") {
        run.levelSource = LevelSource::Direction;
    } else if (options.levels == "degree") {
        run.levelSource = LevelSource::Degree;
    } else if (!options.levels.empty()) {
        run.levelSource = LevelSource::Given;
        run.givenLevels = ReadLevelsFile(options.levels, file);
    }
    const bool show = options.progress == ProgressMode::Always ||
                      (options.progress == ProgressMode::Auto && isatty(STDERR_FILENO) == 1);
    ProgressLine line(show, options.progress == ProgressMode::Always ? 0.0 : 1.0);
    Progress progress;
    progress.components = [&line](int done, int total) { line.Update(done, total); };
    // Ctrl-C stops the layout at its next stop point; the run then writes nothing.
    progress.monitor = [&line](const netloom::LayoutProgress& step) {
        line.Report(step);
        return Interrupted();
    };
    std::string problem;
    result.graph = std::make_unique<LibraryGraph>();
    if (!netloom::front::RunLayout(result.request, run, progress, result, problem, *result.graph)) {
        throw InputError(file.path, 0, 0, problem);
    }
    LayoutOptions used = options;
    used.bottomUp = run.bottomUp;
    std::shared_ptr<const Drawing> drawn; // the fitted drawing, while it is the result's
    // A graph without edges has no row gaps to fit: it keeps the start value.
    if (options.autoLayerSpacing && IsLayered(run.type) && !result.stopped &&
        result.request.EdgeCount() > 0) {
        drawn = std::make_shared<const Drawing>(MakeDrawing(result.request, result));
        used.layerSpacing = FittingLayerSpacing(result.request, result, *drawn, run.layerSpacing);
        // The layout is deterministic: at the spacing it already had, it is done.
        if (used.layerSpacing != run.layerSpacing) {
            drawn.reset();
            run.layerSpacing = used.layerSpacing;
            Result again;
            // The first graph is freed first, so that the second reuses its memory.
            result.graph = std::make_unique<LibraryGraph>();
            if (!netloom::front::RunLayout(result.request, run, progress, again, problem,
                                           *result.graph)) {
                throw InputError(file.path, 0, 0, problem);
            }
            static_cast<Result&>(result) = std::move(again);
        }
    }
    line.Finish();
    ThrowIfInterrupted();
    if (run.levelSource == LevelSource::Given) {
        result.levels = "file";
    }
    result.options = used;
    // The spacing was fitted on a drawing at the default label width.
    if (drawn && used.labelWidth == kDefaultLabelWidth) {
        result.drawing = std::move(drawn);
    }
    return result;
}

} // namespace netloom_cli
