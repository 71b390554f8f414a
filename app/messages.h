#pragma once
// The player's own messages. Panels and workers reach MainWindow with these;
// on Linux each arrives as a queued call to MainWindow::OnPlayerMessage, and
// a result a worker posts travels as a move-only value owned by the receiver.
// The numbers are fixed; gaps between them have no meaning.

namespace zelvaro {

enum PlayerMessage : int {
  WM_PLAYER_GRAPH_EVENT = 1124,
  WM_PLAYER_PLAY_PAUSE = 1224,
  WM_PLAYER_STOP = 1225,
  WM_PLAYER_PREV_KEYFRAME = 1226,
  WM_PLAYER_NEXT_KEYFRAME = 1227,
  WM_PLAYER_OPEN_DIALOG = 1228,
  WM_PLAYER_QUERY_SEEKABLE = 1229,
  WM_PLAYER_SEEK_FRACTION = 1230,
  WM_PLAYER_SET_VOLUME = 1231,
  WM_PLAYER_SET_MUTE = 1232,
  WM_PLAYER_ROTATE_LEFT = 1233,
  WM_PLAYER_ROTATE_RIGHT = 1234,
  WM_PLAYER_FLIP_H = 1235,
  WM_PLAYER_FLIP_V = 1236,
  WM_PLAYER_TOGGLE_PLAYLIST = 1237,
  WM_PLAYER_TOGGLE_CONTROL_PANEL = 1238,
  WM_PLAYER_SUBTITLE_MENU = 1239,
  WM_PLAYER_AUDIO_MENU = 1240,
  WM_PLAYER_TOGGLE_FULLSCREEN = 1241,
  WM_PLAYER_PLAY_INDEX = 1244,
  WM_PLAYER_PLAY_INDEX_AT = 1245,
  WM_PLAYER_PLAYLIST_HIDDEN = 1246,
  WM_PLAYER_GET_CURRENT_PATH = 1254,
  WM_PLAYER_GET_POSITION_MS = 1255,
  WM_PLAYER_LYRICS_RESULT = 1264,
  WM_PLAYER_ALBUM_ART_RESULT = 1265,
};

// The only graph event acted on: the end of the stream.
inline constexpr long EC_COMPLETE = 1;

}  // namespace zelvaro
