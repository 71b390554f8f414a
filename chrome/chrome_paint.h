#pragma once
// What every painted chrome window draws with: the interface font at a
// designed cell height, and the skin's icons, loaded once per window and
// tinted at draw time from a small cache, so nothing in a paint touches the
// file system. Interface thread only.

#include <QColor>
#include <QFont>
#include <QHash>
#include <QIcon>
#include <QImage>
#include <QPixmap>
#include <QString>
#include <QStringList>

class QPainter;
class QRect;

namespace zelvaro::chrome {

// The face named by "App.FontName" at weight 400, sized so that a line
// (ascent plus descent) is `cellHeight` pixels, as the design's font heights
// mean. `averageWidth`, when above 0, narrows or widens the face so that
// its average character is that wide.
QFont DesignFont(int cellHeight, int averageWidth = 0);

// Reads the system's fonts into the toolkit's font database (the font
// configuration, then every face's description): the first text measured
// would otherwise pay for it on the interface thread. For a worker thread,
// once the QApplication exists; the database is thread-safe.
void WarmUpFontDatabase();

// The folder of the skin's icons, ending in '/'.
QString IconDir();

// The program's own icon for its windows, at every size the skin has; empty
// when the skin is missing. Returned by value.
QIcon ApplicationIcon();

class IconSet {
 public:
  // Loads `names` ("play.png", ...) from IconDir(); their "@2x" variants,
  // where present, when first drawn that large. A missing file is a null
  // icon that draws nothing.
  explicit IconSet(const QStringList& names);

  bool Has(const QString& name) const;
  // Draws `name` scaled to `target` (square), its channels multiplied by
  // `tint`; an invalid tint draws it as it is.
  void Draw(QPainter& painter, const QString& name, const QRect& target,
            const QColor& tint = QColor()) const;

 private:
  struct Source {
    QImage normal;
    QString doubledPath;
    QByteArray format;
    // The "@2x" image, read the first time it is wanted: at 1x it never is.
    const QImage& Doubled() const;
    mutable QImage doubled;
    mutable bool doubledRead = false;
  };
  QHash<QString, Source> sources_;
  mutable QHash<QString, QPixmap> drawn_;  // name, tint and device size
};

}  // namespace zelvaro::chrome
