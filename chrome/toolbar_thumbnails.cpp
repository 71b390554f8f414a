// The toolbar's preview bound to the engine's thumbnail generator. Kept in a
// file of its own so that what links the toolbar without a generator (tests,
// benchmarks) never needs the engine's decoding.

#include "chrome/toolbar_window.h"
#include "engine/thumbnail_generator.h"

namespace zelvaro::chrome {

void ToolbarWindow::SetPreview(bool enabled, ThumbnailGenerator* thumbnails) {
  PreviewFrames frames;
  if (thumbnails != nullptr) {
    frames.Ready = [thumbnails] { return thumbnails->ready(); };
    frames.GetFrame = [thumbnails](double fraction, int* width, int* height) {
      return thumbnails->GetFrame(fraction, width, height);
    };
    // The generator may be handed to another toolbar or outlive this one.
    QPointer<ToolbarWindow> self(this);
    thumbnails->SetFrameReadyCallback([self] {
      if (self) self->OnPreviewFrameReady();
    });
  }
  SetPreviewFrames(enabled, std::move(frames));
}

}  // namespace zelvaro::chrome
