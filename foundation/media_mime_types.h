#pragma once
// The MIME types of the media extensions the player associates with itself
// (VideoExtensions and AudioExtensions), as shared-mime-info names them:
// what the desktop entry's MimeType= line and the MPRIS SupportedMimeTypes
// list announce. Reads the MIME database on the first call (a few
// milliseconds) and keeps the list; any thread, but the first call is best
// made off the interface thread or at build time.

#include <QStringList>

namespace zelvaro {

// Sorted, without duplicates and without the generic application/octet-stream.
const QStringList& MediaMimeTypes();

}  // namespace zelvaro
