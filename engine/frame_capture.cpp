#include "engine/frame_capture.h"

#include "engine/external_tool.h"
#include "engine/graph_manager.h"
#include "engine/video_output.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "foundation/trace.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QImageWriter>

namespace zelvaro {

CaptureResult EncodeBmp(const QImage& image) {
  if (image.isNull()) return nullptr;
  auto bytes = std::make_shared<QByteArray>();
  QBuffer buffer(bytes.get());
  buffer.open(QIODevice::WriteOnly);
  // Qt writes 24-bit BMP for an opaque RGB image; the alpha of a read-back
  // is meaningless.
  if (!image.convertToFormat(QImage::Format_RGB888).save(&buffer, "BMP")) return nullptr;
  return bytes;
}

bool SaveImageBytes(const QByteArray& bytes, const QString& path, const QString& mimeType) {
  QByteArray format;
  if (mimeType == QLatin1String("image/png")) format = "png";
  if (mimeType == QLatin1String("image/jpeg")) format = "jpeg";
  if (format.isEmpty()) return false;
  QImage image;
  if (!image.loadFromData(bytes)) return false;
  QImageWriter writer(path, format);
  if (format == "jpeg") writer.setQuality(95);
  return writer.write(image);
}

QString AlbumArtTempPath() {
  return QDir::tempPath() + QStringLiteral("/Zelvaro_albumart_") +
         QString::number(QCoreApplication::applicationPid()) + QStringLiteral(".jpg");
}

QString ExtractAlbumArt(const QString& mediaPath) {
  if (mediaPath.isEmpty() || IsUrl(mediaPath) || !QFileInfo::exists(mediaPath)) return {};
  if (FindExternalTool().isEmpty()) return {};
  const QString out = AlbumArtTempPath();
  QFile::remove(out);
  ExternalToolJob job;
  job.arguments = {QStringLiteral("-y"),  QStringLiteral("-i"),      mediaPath,
                   QStringLiteral("-an"), QStringLiteral("-vcodec"), QStringLiteral("copy"),
                   QStringLiteral("-f"),  QStringLiteral("image2"),  out};
  job.timeoutMs = 5000;
  job.outputPath = out;
  const ExternalToolResult result = RunExternalTool(job);
  if (!result.Succeeded()) return {};
  if (QFileInfo(out).size() < 100) {
    QFile::remove(out);
    return {};
  }
  return out;
}

QImage GraphManager::CaptureDisplayedImage() {
  if (!graph_ || videoWindowHandle_ == nullptr) return {};
  return videoWindowHandle_->DisplayedImage();
}

QImage GraphManager::CaptureCurrentImage() {
  if (!graph_ || videoWindowHandle_ == nullptr) return {};
  return videoWindowHandle_->CurrentImage();
}

QImage GraphManager::CapturePrintWindow() {
  if (videoWindowHandle_ == nullptr || videoWindowHandle_->ClientSize().isEmpty()) return {};
  return videoWindowHandle_->GrabWindow();
}

QImage GraphManager::CaptureFrameImage() {
  switch (Settings::GetDwordOr(setting::kScreenshotMethod, 0)) {
    case 1: {
      QImage image = CaptureDisplayedImage();
      return image.isNull() ? CaptureCurrentImage() : image;
    }
    case 2:
      return CapturePrintWindow();
    default:
      return CaptureCurrentImage();
  }
}

CaptureResult GraphManager::CaptureFrame() {
  return EncodeBmp(CaptureFrameImage());
}

}  // namespace zelvaro
