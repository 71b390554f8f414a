#include "subtitles/srt_converter.h"

#include "foundation/text_conversion.h"
#include "subtitles/ass_script.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>

namespace zelvaro {

namespace {

bool StartsWithDigit(std::string_view line) {
  return !line.empty() && line.front() >= '0' && line.front() <= '9';
}

void FinishCue(int64_t startMs, int64_t endMs, std::string_view text, std::string* script) {
  std::string escaped;
  escaped.reserve(text.size() + 16);
  for (char c : text) {
    if (c == '\n')
      escaped.append("\\N");
    else
      escaped.push_back(c);
  }
  AppendAssDialogue(startMs, endMs, StripSrtTags(escaped), script);
}

int64_t TimeFromParts(int hours, int minutes, int seconds, int fraction) {
  return static_cast<int64_t>(hours) * 3600000 + static_cast<int64_t>(minutes) * 60000 +
         static_cast<int64_t>(seconds) * 1000 + fraction;
}

// What a checked string-to-int conversion accepts: leading blanks, a sign,
// digits, and anything behind them; no digits or a value beyond int fails.
bool ParseIndex(std::string_view line, int32_t* index) {
  const std::string copy(line);
  errno = 0;
  char* end = nullptr;
  const long value = std::strtol(copy.c_str(), &end, 10);
  if (end == copy.c_str() || errno == ERANGE || value < INT_MIN || value > INT_MAX) return false;
  *index = static_cast<int32_t>(value);
  return true;
}

bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

}  // namespace

// Each "<" with a ">" behind it goes, with all between; a "<" without a later
// ">" ends the removal and stays. One pass gives what erasing the first pair
// again and again would, without its quadratic cost.
std::string StripSrtTags(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  size_t position = 0;
  while (position < text.size()) {
    const size_t open = text.find('<', position);
    if (open == std::string_view::npos) break;
    const size_t close = text.find('>', open + 1);
    if (close == std::string_view::npos) break;
    result.append(text.substr(position, open - position));
    position = close + 1;
  }
  result.append(text.substr(position));
  return result;
}

int64_t ParseSrtTime(const std::string& text) {
  int hours = 0, minutes = 0, seconds = 0, fraction = 0;
  if (std::sscanf(text.c_str(), "%d:%d:%d,%d", &hours, &minutes, &seconds, &fraction) == 4 ||
      std::sscanf(text.c_str(), "%d:%d:%d.%d", &hours, &minutes, &seconds, &fraction) == 4)
    return TimeFromParts(hours, minutes, seconds, fraction);
  return 0;
}

bool SrtTimeOutOfRange(const std::string& text) {
  std::string copy = text;
  for (char& c : copy)
    if (c == ',') c = '.';
  int hours = 0, minutes = 0, seconds = 0, fraction = 0;
  if (std::sscanf(copy.c_str(), "%d:%d:%d.%d", &hours, &minutes, &seconds, &fraction) != 4)
    return false;
  return hours < 0 || minutes < 0 || minutes > 59 || seconds < 0 || seconds > 59 || fraction < 0;
}

int64_t ParseCueTime(const std::string& text) {
  std::string copy = text;
  for (char& c : copy)
    if (c == ',') c = '.';
  int hours = 0, minutes = 0, seconds = 0, fraction = 0;
  if (std::sscanf(copy.c_str(), "%d:%d:%d.%d", &hours, &minutes, &seconds, &fraction) != 4)
    return 0;
  return TimeFromParts(hours, minutes, seconds, fraction);
}

std::string ConvertSrtToAss(const SubtitleStyle& style, std::string_view utf8) {
  std::string script;
  script.reserve(utf8.size() + utf8.size() / 2 + 2048);
  AppendAssHeader(style, &script);

  // kSkip: the text of a cue whose timing was out of range, up to its blank.
  enum class State { kIndex, kTime, kText, kSkip } state = State::kIndex;
  int64_t startMs = 0;
  int64_t endMs = 0;
  std::string text;
  ForEachSubtitleLine(utf8, [&](std::string_view line) {
    switch (state) {
      case State::kIndex:
        if (StartsWithDigit(line)) state = State::kTime;
        break;
      case State::kTime: {
        // Keeps waiting for a time line, across empty lines and junk.
        const size_t arrow = line.find(" --> ");
        if (arrow == std::string_view::npos) break;
        const std::string left(line.substr(0, arrow));
        const std::string right(line.substr(arrow + 5));
        if (SrtTimeOutOfRange(left) || SrtTimeOutOfRange(right)) {
          state = State::kSkip;
          break;
        }
        startMs = ParseSrtTime(left);
        endMs = ParseSrtTime(right);
        text.clear();
        state = State::kText;
        break;
      }
      case State::kSkip:
        if (line.empty()) state = State::kIndex;
        break;
      case State::kText:
        if (!line.empty()) {
          if (!text.empty()) text.push_back('\n');
          text.append(line);
        } else {
          if (!text.empty()) FinishCue(startMs, endMs, text, &script);
          state = State::kIndex;
        }
        break;
    }
  });
  if (state == State::kText && !text.empty()) FinishCue(startMs, endMs, text, &script);
  return script;
}

bool ParseSrtCues(std::string_view utf8, std::vector<SrtCue>* cues) {
  cues->clear();
  int state = 0;
  SrtCue cue;
  std::string text;
  auto finish = [&] {
    cue.Text = Utf8ToWide(text);
    cues->push_back(std::move(cue));
    cue = SrtCue{};
  };
  ForEachSubtitleLine(utf8, [&](std::string_view line) {
    if (state == 0) {
      if (line.empty()) return;
      if (ParseIndex(line, &cue.Index)) state = 1;
    } else if (state == 1) {
      const size_t arrow = line.find("-->");
      if (arrow == std::string_view::npos) {
        state = 0;
        cue = SrtCue{};
        return;
      }
      std::string_view left = line.substr(0, arrow);
      std::string_view right = line.substr(arrow + 3);
      while (!left.empty() && IsBlank(left.back())) left.remove_suffix(1);
      while (!right.empty() && IsBlank(right.front())) right.remove_prefix(1);
      const std::string start(left);
      const std::string end(right);
      text.clear();
      if (SrtTimeOutOfRange(start) || SrtTimeOutOfRange(end)) {
        state = 3;  // its text is skipped up to the blank line
        cue = SrtCue{};
        return;
      }
      cue.StartMs = ParseCueTime(start);
      cue.EndMs = ParseCueTime(end);
      state = 2;
    } else if (state == 3) {
      if (line.empty()) state = 0;
    } else if (!line.empty()) {
      if (!text.empty()) text.push_back('\n');
      text.append(line);
    } else {
      if (!text.empty()) finish();
      state = 0;
    }
  });
  if (state == 2 && !text.empty()) finish();
  return !cues->empty();
}

}  // namespace zelvaro
