#pragma once
// One libass set-up: library, renderer and (once a script is read) track,
// owned together and released in the order libass needs. Not thread-safe:
// the provider guards it with its libass lock.

#include "foundation/c_handle.h"

#include <ass/ass.h>

#include <QSize>

#include <memory>
#include <string_view>

namespace zelvaro {

using AssLibraryHandle = CHandle<ASS_Library, ass_library_done>;
using AssRendererHandle = CHandle<ASS_Renderer, ass_renderer_done>;
using AssTrackHandle = CHandle<ASS_Track, ass_free_track>;

struct AssContext {
  // Declared in this order so that the track goes first and the library last.
  AssLibraryHandle Library;
  AssRendererHandle Renderer;
  AssTrackHandle Track;
  QSize FrameSize;
};

// Library and renderer for a frame of `frameSize`, with fonts from
// fontconfig. A face that is not installed falls back to
// kSubtitleFallbackFamily, so Hangul and Han come from one CJK face instead
// of from whatever fontconfig offers per glyph. Null when libass fails.
std::unique_ptr<AssContext> CreateAssContext(QSize frameSize);

// What a frame may cost is bounded before libass sees a track: libass's time
// grows with the square of the events shown at once and with the length of a
// line, so a broken or hostile file could stall the renderer for minutes.
// No real subtitle comes near these.
inline constexpr int kMaxActiveAssEvents = 1000;
inline constexpr size_t kMaxAssEventTextBytes = 16 * 1024;

// Reads an ASS script held in memory (libass copies it); false when libass
// finds no script in it or the script holds no event. Events beyond the
// bounds above are cut short (text) or never shown (the ones that start
// while kMaxActiveAssEvents others are active).
bool ReadAssScript(AssContext* context, std::string_view script);

}  // namespace zelvaro
