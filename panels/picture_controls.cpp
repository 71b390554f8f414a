#include "panels/picture_controls.h"

#include "engine/graph_manager.h"

#include <algorithm>
#include <array>

namespace zelvaro::panels {
namespace {

// Held here until the renderer keeps its own; the values survive a Close as
// the engine's other video settings do.
std::array<int, 4> storedValues{};

int Reach(PictureKind kind) {
  return kind == PictureKind::Hue ? 180 : 100;
}

}  // namespace

int PictureControlValue(const GraphManager&, PictureKind kind) {
  return storedValues[static_cast<size_t>(kind)];
}

bool SetPictureControl(GraphManager& graph, PictureKind kind, int value) {
  storedValues[static_cast<size_t>(kind)] = std::clamp(value, -Reach(kind), Reach(kind));
  return !graph.CurrentPath().isEmpty();
}

}  // namespace zelvaro::panels
