#pragma once

// Lays out a file graph with the options of the command line: the file's graph
// becomes the front layer's request (ports named by their file ids), the
// front layer runs the layout, and the result keeps what the writers need.

#include "graph_file.h"

#include "front/geometry.h"
#include "front/names.h"
#include "front/routes.h"
#include "front/run.h"

#include <memory>
#include <string>
#include <vector>

namespace netloom_cli {

using namespace netloom::front;

enum class ProgressMode { Auto, Always, Never };

struct LayoutOptions : Options {
    // --levels: "direction", "degree", a levels file, or empty for direction on
    // directed inputs and degree on the others.
    std::string levels;
    ProgressMode progress = ProgressMode::Auto;
    // --layer-spacing auto: the layered layouts run twice, the second time at
    // the spacing FittingLayerSpacing finds; layerSpacing then holds it.
    bool autoLayerSpacing = false;
    // --label-width: the most characters of a drawn label line.
    std::size_t labelWidth = kDefaultLabelWidth;
};

struct LayoutResult : Result {
    LayoutOptions options;
    Request request;             // the file graph as laid out (labels included)
    std::vector<FileId> portIds; // the file's port ids by port name number
    // The library's graph of the layout, freed with the result (or never, when
    // the result lives to the process's end).
    std::unique_ptr<LibraryGraph> graph;
    // The file's id of a port, or null for an unnamed edge end.
    const FileId* PortId(const NodePort& port) const {
        return port.name == kNoPort ? nullptr : &portIds[static_cast<std::size_t>(port.name)];
    }
    // The drawing of the result, made on first use (or handed over by the
    // auto layer spacing, which drew the same layout) and kept: every writer
    // of a run shares it.
    const Drawing& MakeDrawing() const {
        if (!drawing) {
            drawing = std::make_shared<const Drawing>(
                netloom::front::MakeDrawing(request, *this, options.labelWidth));
        }
        return *drawing;
    }
    mutable std::shared_ptr<const Drawing> drawing;
};

LayoutResult RunLayout(const FileGraph& graph, const LayoutOptions& options);

} // namespace netloom_cli
