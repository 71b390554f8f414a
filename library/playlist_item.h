#pragma once
// PlaylistItem: one playlist entry, in memory and as a row of `playlist`
// Field names are the column names.

#include <QString>

#include <cstdint>

namespace zelvaro {

struct PlaylistItem {
  // Row id as read by LoadItems; 0 for an item created in this run. It goes
  // stale at the next save (rows get new AUTOINCREMENT ids); nothing relies on it.
  int32_t id = 0;
  QString file_path;       // full path or URL
  QString file_name;       // behind the last "\" or "/", or the whole path
  uint64_t file_size = 0;  // bytes; 0 = not yet known
  double duration = 0;     // seconds; 0 = not yet known
  uint64_t file_date = 0;  // last write, FILETIME ticks (see file_time.h); 0 = unknown
  QString codec_info;
  int32_t sort_order = 0;  // rewritten with the item's index at each save
};

}  // namespace zelvaro
