#pragma once
// The desktop entry that makes Zelvaro a handler of media files on a
// freedesktop desktop, and the MIME types it names. The installed entry
// (share/applications/zelvaro.desktop) and the per-user one that file
// association writes come from the one text below, so the two never differ
// but in Exec.
//
// Pure functions, any thread. MIME types come from the shared-mime-info
// database as Qt reads it.

#include <QString>
#include <QStringList>
#include <QStringView>

namespace zelvaro {

// The desktop id both entries are known by.
inline constexpr QStringView kDesktopId{u"zelvaro.desktop"};

// The MIME type a file of this extension (without its point) is given; empty
// when shared-mime-info knows none. A glob shared with a non-media type
// (".ts" is also a translation file) resolves to the media type.
QString AssociationMimeType(QStringView extension);
// Every media type of every video and audio extension of the association
// tables (".ogg" is audio/ogg and video/ogg), sorted, once each: what the
// entry's MimeType= line and the MPRIS SupportedMimeTypes announce. Reads the
// MIME database on the first call (a few milliseconds) and keeps the list.
const QStringList& MediaMimeTypes();

// The whole entry, "[Desktop Entry]" to "MimeType=...;", lines ending in
// "\n". `execPath` is the program as Exec names it ("zelvaro" for the
// installed entry, an absolute path for the per-user one); it is quoted as
// the entry format asks when it holds blanks or other reserved characters.
QString DesktopEntryText(const QStringList& mimeTypes, const QString& execPath);

}  // namespace zelvaro
