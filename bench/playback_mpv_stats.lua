-- For bench/playback_vs_peers.sh: mpv's dropped frames over a whole run.
-- The counters are gone by the time the file ends, so their last values
-- are kept as they change and printed at the end, on one line.
local drops, decoderDrops, delayed = 0, 0, 0
mp.observe_property("frame-drop-count", "number", function(_, value) drops = value or drops end)
mp.observe_property("decoder-frame-drop-count", "number",
  function(_, value) decoderDrops = value or decoderDrops end)
mp.observe_property("vo-delayed-frame-count", "number",
  function(_, value) delayed = value or delayed end)
mp.register_event("end-file", function()
  io.stdout:write(string.format("mpv_frames_dropped=%d mpv_decoder_drops=%d mpv_delayed=%d\n",
    drops + decoderDrops, decoderDrops, delayed))
  io.stdout:flush()
end)
