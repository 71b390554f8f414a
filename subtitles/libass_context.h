#pragma once
// The process's one libass: one library and one renderer whose fonts are set
// up once (fontconfig, default family "sans-serif"), shared by every loaded
// subtitle. A loaded subtitle owns only its track (AssContext).
//
// Threads: AssEngine::Instance() may be called from any thread; its first
// call sets up the fonts, which can take a while, so the subtitle load calls
// it on its worker before anything renders. ReadAssScript runs on any thread,
// also while another thread renders: reading a script touches nothing a
// render uses (fonts embedded in scripts are not extracted). RenderFrame and
// everything done with the images it returns need the libass lock, Mutex();
// an ASS_Image list is valid until the next RenderFrame, so it is used up
// before the lock is let go. In the subtitle path the libass lock is the last
// one taken (queue, provider, libass).

#include "foundation/c_handle.h"

#include <ass/ass.h>

#include <QSize>

#include <cstdint>
#include <memory>
#include <mutex>
#include <string_view>

namespace zelvaro {

using AssLibraryHandle = CHandle<ASS_Library, ass_library_done>;
using AssRendererHandle = CHandle<ASS_Renderer, ass_renderer_done>;
using AssTrackHandle = CHandle<ASS_Track, ass_free_track>;

class AssEngine {
 public:
  // Null when libass can't be set up. Lives to the end of the process, so no
  // track can outlive its library.
  static AssEngine* Instance();

  ASS_Library* Library() const { return library_.get(); }
  std::recursive_mutex& Mutex() { return mutex_; }

  // With Mutex() held. The frame size is given to the renderer only when it
  // differs from the last call's (a change empties libass's caches).
  ASS_Image* RenderFrame(ASS_Track* track, QSize frameSize, int64_t timeMs, int* change);

 private:
  AssEngine() = default;

  std::recursive_mutex mutex_;  // the libass lock
  AssLibraryHandle library_;
  AssRendererHandle renderer_;
  QSize frameSize_;
};

// One loaded script and the size its pictures are drawn at. Guarded by the
// provider that owns it.
struct AssContext {
  AssTrackHandle Track;
  QSize FrameSize;
};

// What a frame may cost is bounded before libass sees a track: libass's time
// grows with the square of the events shown at once and with the length of a
// line's text, so a broken or hostile file could stall the renderer for
// minutes. No real subtitle comes near these. Override blocks and drawings
// don't count towards a line's text and are never cut; an event whose whole
// text exceeds kMaxAssEventBytes is not shown at all.
inline constexpr int kMaxActiveAssEvents = 1000;
inline constexpr size_t kMaxAssEventTextBytes = 16 * 1024;
inline constexpr size_t kMaxAssEventBytes = 4 * 1024 * 1024;

enum class AssScriptOrigin {
  kFile,       // a script of the user's: one without events is still a script
  kConverted,  // made from SubRip, WebVTT or SAMI: without events it is nothing
};

// Brings a track's styles and events within the bounds above and within the
// sizes a picture can show (a line no taller than the picture); events beyond
// them are cut short or never shown. Call before the track is first drawn.
void BoundAssTrack(ASS_Track* track);

// The same for one event added to a track that is already drawn, under the
// engine's lock.
void BoundAssEvent(ASS_Track* track, int index);

// Reads an ASS script held in memory (libass copies it); null when libass
// finds no script in it, or, for a converted one, no event. Events beyond the
// bounds above are cut short or never shown. A script that names no language
// is given the one its text shows (kana: Japanese, Hangul: Korean), so that
// a Han character takes that language's forms in whatever CJK face
// fontconfig falls back to.
AssTrackHandle ReadAssScript(std::string_view script, AssScriptOrigin origin);

// "ja", "ko" or null: the language the text's own characters name.
const char* GuessCjkLanguage(std::string_view utf8);

}  // namespace zelvaro
