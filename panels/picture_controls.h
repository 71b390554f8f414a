#pragma once
// The picture tab's four values as the engine holds them: one door for the
// panel, so the sliders never need to know where brightness, contrast,
// saturation and hue are kept. Interface thread only.

#include "panels/control_panel_values.h"

namespace zelvaro {

class GraphManager;

namespace panels {

// The value now in force, −100..100 (hue −180..180).
int PictureControlValue(const GraphManager& graph, PictureKind kind);
// Stores and applies at once; false when no picture took it (nothing open).
bool SetPictureControl(GraphManager& graph, PictureKind kind, int value);

}  // namespace panels
}  // namespace zelvaro
