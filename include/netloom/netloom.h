#pragma once

// The whole public interface of netloom.
#include <netloom/connected_graph.h>
#include <netloom/creation_order.h>
#include <netloom/edge.h>
#include <netloom/export.h>
#include <netloom/layout_progress.h>
#include <netloom/layout_strategy.h>
#include <netloom/network_graph.h>
#include <netloom/node.h>
#include <netloom/params.h>
#include <netloom/quad_tree.h>
#include <netloom/rect.h>
