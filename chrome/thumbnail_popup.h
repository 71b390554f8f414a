#pragma once
// ThumbnailPopup: the small window above the seek bar with the picture and
// the time of the point under the mouse. A tool-tip window of the toolbar,
// which makes it once previews are on (ahead of the first hover) and owns
// it; it never takes the focus or the mouse. It keeps the last picture it was given, so a point
// whose picture is still being decoded shows the previous one (or only the time). Interface thread
// only; pictures are QImage values.

#include "chrome/tooltip_window.h"

#include <QFont>
#include <QImage>
#include <QPoint>
#include <QSize>
#include <QWidget>

namespace zelvaro::chrome {

class ThumbnailPopup : public PassivePopup {
  Q_OBJECT
 public:
  static constexpr int kDefaultPictureWidth = 160;
  static constexpr int kDefaultPictureHeight = 90;

  explicit ThumbnailPopup(QWidget* owner);

  // Shows the popup for `fraction` of `durationSeconds`, its bottom 5s above
  // the global point `anchor` and centred on it, inside the work area.
  // `picture` replaces the one on show unless it is null; `pictureSize` is
  // the size to show it at (160 × 90 where a side is below 1).
  void ShowAt(QPoint anchor, const QImage& picture, QSize pictureSize, double durationSeconds,
              double fraction);
  // A picture that arrived late for the point on show.
  void UpdatePicture(const QImage& picture, QSize pictureSize);
  // Hides it and drops the picture.
  void Clear();
  // Makes the window (on X11 maps it once out of sight) and paints it once
  // off screen, so the first hover does not pay for the native window and
  // the font on the interface thread.
  void Prepare();

  const QImage& Picture() const { return picture_; }
  double Fraction() const { return fraction_; }  // -1 when nothing is on show

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void TakePicture(const QImage& picture, QSize pictureSize);
  void Place();

  QFont font_;
  QImage picture_;
  int pictureWidth_ = kDefaultPictureWidth;
  int pictureHeight_ = kDefaultPictureHeight;
  double duration_ = 0;
  double fraction_ = -1.0;
  QPoint anchor_;
};

}  // namespace zelvaro::chrome
