#include "panels/picture_controls.h"

#include "engine/graph_manager.h"

namespace zelvaro::panels {

int PictureControlValue(const GraphManager& graph, PictureKind kind) {
  switch (kind) {
    case PictureKind::Brightness:
      return graph.Brightness();
    case PictureKind::Contrast:
      return graph.Contrast();
    case PictureKind::Saturation:
      return graph.Saturation();
    case PictureKind::Hue:
      return graph.Hue();
  }
  return 0;
}

bool SetPictureControl(GraphManager& graph, PictureKind kind, int value) {
  switch (kind) {
    case PictureKind::Brightness:
      return graph.SetBrightness(value);
    case PictureKind::Contrast:
      return graph.SetContrast(value);
    case PictureKind::Saturation:
      return graph.SetSaturation(value);
    case PictureKind::Hue:
      return graph.SetHue(value);
  }
  return false;
}

}  // namespace zelvaro::panels
