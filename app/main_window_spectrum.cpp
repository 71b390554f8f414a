// MainWindow's audio-only display: the cover view over the renderer and the
// spectrum fed from the time-stretch stage's tap by timer 1006.

#include "app/audio_cover_view.h"
#include "app/main_window.h"
#include "engine/graph_manager.h"
#include "video/video_renderer.h"

#include <QWindow>

#include <array>

namespace zelvaro {

void MainWindow::SetAudioOnly(bool audioOnly) {
  spectrum_.Reset();
  if (!coverView_) return;
  coverView_->ResetBars();
  coverView_->setVisible(audioOnly);
}

void MainWindow::FeedSpectrum() {
  if (!coverView_ || !coverView_->isVisible() || !graph_ || graph_->State() != 2) return;
  // Nobody sees the bars of a minimised or covered window: no analysis, no paint.
  if (isMinimized() || windowHandle() == nullptr || !windowHandle()->isExposed()) return;
  std::array<float, 2048> samples;
  int frames = 0, channels = 0, sampleRate = 0;
  if (!graph_->GetAudioSamples(samples.data(), int(samples.size()), &frames, &channels,
                               &sampleRate) ||
      frames < 1)
    return;
  spectrum_.Process(samples.data(), frames, channels, sampleRate);
  coverView_->SetBars(spectrum_.GetLevels());
}

}  // namespace zelvaro
