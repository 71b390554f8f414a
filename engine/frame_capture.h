#pragma once
// Getting the picture out of the player, and album art out of audio files.
//
// A capture ends in one form, a CaptureResult: the bytes of a whole BMP
// file, shared and never changed (null for failure). GraphManager's
// CaptureFrame takes one of three ways, chosen by the ScreenshotMethod
// setting (0 and any unknown value: CaptureCurrentImage; 1:
// CaptureDisplayedImage, falling to CaptureCurrentImage when it has
// nothing; 2: CapturePrintWindow). The read-backs run on the interface
// thread; turning a picture into bytes (EncodeBmp, SaveImageBytes) can take
// longer than a frame, so the screenshot command does that on a worker from
// CaptureFrameImage.
//
// Album art: ExtractAlbumArt runs ffmpeg through ExternalTool and blocks, so
// it belongs on a worker thread; it touches no GraphManager state. Its one
// temporary file per process (AlbumArtTempPath) is removed by
// GraphManager::Close and before each extraction.

#include <QByteArray>
#include <QImage>
#include <QString>

#include <memory>

namespace zelvaro {

using CaptureResult = std::shared_ptr<const QByteArray>;

// A 24-bit bottom-up BMP file of `image`; null for a null image. Any thread.
CaptureResult EncodeBmp(const QImage& image);

// Decodes `bytes` (any format Qt reads) and writes them to `path` as
// "image/png" or "image/jpeg" (quality 95). False for another MIME type,
// bytes that do not decode, or a failed write. Any thread.
bool SaveImageBytes(const QByteArray& bytes, const QString& path, const QString& mimeType);

// The temporary directory, "Zelvaro_albumart_", the process id, ".jpg".
QString AlbumArtTempPath();

// The picture attached to an audio file, copied out by ffmpeg into
// AlbumArtTempPath (waiting at most 5 s); its path, or empty for a URL, a
// missing file, no tool, a failed run or an output under 100 bytes (which is
// removed). Worker threads only.
QString ExtractAlbumArt(const QString& mediaPath);

}  // namespace zelvaro
