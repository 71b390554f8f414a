#pragma once
// AudioCoverView: what the video area shows for an audio-only input, the
// cover over a blurred copy of itself and the 32 spectrum bands along the
// bottom (or the bands alone on the background when the file has no cover).
// A child of the renderer, laid over all of it; shown only while an
// audio-only input is open. Interface thread only.
//
// The cover, its blurred background, shadow and outline are composed once
// per size into a cache; a change of the bands repaints only the band
// rectangle, at most 60 times a second, and an unchanged set repaints nothing.

#include "app/spectrum_analyzer.h"

#include <QElapsedTimer>
#include <QImage>
#include <QRect>
#include <QWidget>

namespace zelvaro {

// Where everything goes in a client area of `client` for a cover of
// `imageSize` (empty: no cover). The one geometry paint and tests share.
struct CoverGeometry {
  QRect cover;  // empty without a cover
  int shadowOffset = 0;
  QRect bands;   // the area the bars can reach
  int left = 0;  // x of band 0
  int bandWidth = 0;
  int gap = 0;
  int baseline = 0;                        // y just below the bars
  int fullHeight = 0;                      // a bar at level 1
  QRect Bar(int band, float level) const;  // empty below 0.005
};
CoverGeometry ComputeCoverGeometry(const QSize& client, const QSize& imageSize);

class AudioCoverView : public QWidget {
  Q_OBJECT
 public:
  explicit AudioCoverView(QWidget* renderer);

  void SetAlbumArt(const QImage& image);
  void ClearAlbumArt();
  // Levels 0..1; repaints the band rectangle when any level changed.
  void SetBars(const SpectrumAnalyzer::Levels& levels);
  void ResetBars();
  bool BarsActive() const { return barsActive_; }
  const QImage& AlbumArt() const { return albumArt_; }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void RebuildCache();

  QImage albumArt_;
  QImage blurred_;
  QImage frameCache_;  // background, cover, shadow and outline at this size
  SpectrumAnalyzer::Levels bars_{};
  bool barsActive_ = false;
  bool bandsStale_ = false;  // bars_ changed since the band was last repainted
  QElapsedTimer sinceBandRepaint_;
};

}  // namespace zelvaro
