-- For bench/playback_vs_peers.sh: mpv's seek latency on the paused clip,
-- from the seek command to the "playback-restart" event, which mpv sends
-- once the frame at the target is on screen. Keyframe seeks, then exact
-- ones, over the targets in ZELVARO_SEEK_TARGETS (seconds, comma-separated,
-- the same list bench_playback_seek uses); medians are printed and mpv quits.
local targets = {}
for item in string.gmatch(os.getenv("ZELVARO_SEEK_TARGETS") or "", "[^,]+") do
  targets[#targets + 1] = tonumber(item)
end
local modes = { "keyframes", "exact" }
local results = { keyframes = {}, exact = {} }
local phase, index = 1, 0
local started = nil   -- nil until the file's own first restart
local waiting = false

local function median(list)
  if #list == 0 then return -1 end
  table.sort(list)
  local middle = math.floor(#list / 2)
  if #list % 2 == 1 then return list[middle + 1] end
  return (list[middle] + list[middle + 1]) / 2
end

local function finish()
  io.stdout:write(string.format("mpv_keyframe_seek_median_ms=%.2f\nmpv_exact_seek_median_ms=%.2f\n",
    median(results.keyframes), median(results.exact)))
  io.stdout:flush()
  mp.command("quit")
end

local function nextSeek()
  index = index + 1
  if index > #targets then
    if phase == #modes then return finish() end
    phase, index = phase + 1, 1
  end
  waiting = true
  started = mp.get_time()
  mp.commandv("seek", tostring(targets[index]), "absolute+" .. modes[phase])
end

mp.register_event("playback-restart", function()
  if started == nil then
    started = 0
    if #targets == 0 then return finish() end
    -- As in bench_playback_seek: a pause between seeks lets the last one settle.
    mp.add_timeout(0.3, nextSeek)
    return
  end
  if not waiting then return end
  waiting = false
  table.insert(results[modes[phase]], (mp.get_time() - started) * 1000)
  mp.add_timeout(0.1, nextSeek)
end)
