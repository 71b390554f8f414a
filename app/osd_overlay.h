#pragma once
// OsdOverlay: the one line of short feedback over the video ("Paused", the
// position after a seek, the volume). White bold text with a shadow at the
// top-left of the video; it holds, then fades out over 300 ms.
//
// A transparent child laid over the video widget (which draws it over an
// OpenGL picture itself), masked to the line it shows. It follows the video
// area when the window moves or resizes, never takes the focus and lets
// every mouse event through to the video beneath. One per process (ShowOsd
// reaches it); interface thread only.

#include <QElapsedTimer>
#include <QFont>
#include <QPointer>
#include <QString>
#include <QWidget>

#include <functional>

namespace zelvaro {

class OsdOverlay : public QWidget {
  Q_OBJECT
 public:
  // Covers `anchor` (the video area) for as long as both live.
  explicit OsdOverlay(QWidget* anchor);
  ~OsdOverlay() override;

  // A new message replaces the one on show at once, whatever its phase.
  // `durationMs` is the hold time; the fade comes on top of it.
  void Show(const QString& text, int durationMs);
  // From the 16 ms timer, only while a message is on show.
  void OsdTick();

  bool isShowing() const { return visible_; }
  const QString& text() const { return text_; }
  float opacity() const { return opacity_; }

  // Milliseconds since an arbitrary start; tests drive the fade with their own.
  void SetClockForTesting(std::function<qint64()> clock) { clock_ = std::move(clock); }

 protected:
  void paintEvent(QPaintEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  qint64 Now() const;
  QFont Font() const;
  qreal Baseline(const QFont& font) const;
  void FollowAnchor();

  QPointer<QWidget> anchor_;
  QString text_;
  bool visible_ = false;
  qint64 startMs_ = 0;
  int holdMs_ = 2000;
  int fadeMs_ = 300;
  float opacity_ = 1.0f;
  float fontSize_ = 32.0f;  // pixels, not scaled: the line is sized to the picture
  float textX_ = 15.0f;
  float textY_ = 10.0f;
  QElapsedTimer clockStart_;
  std::function<qint64()> clock_;
};

// The one way of showing short feedback; does nothing while no overlay exists.
void ShowOsd(const QString& text, int durationMs);
// The process's overlay, or null before the main window makes it and after it goes.
OsdOverlay* CurrentOsdOverlay();

}  // namespace zelvaro
