#include "subtitles/sami_converter.h"

#include "subtitles/ass_script.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace zelvaro {

namespace {

struct SamiEntry {
  int64_t StartMs = 0;
  std::string Text;
};

// ASCII only: in a UTF-8 text the other bytes are parts of characters.
char LowerAscii(char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

bool IsTrimmed(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// Keeps text outside tags; "<br>" and "<br/" become the ASS line break, while
// "<br />" with its blank is dropped like any other tag. Raw line ends stay.
std::string StripSamiTags(std::string_view body) {
  std::string text;
  text.reserve(body.size());
  bool inTag = false;
  for (size_t i = 0; i < body.size(); ++i) {
    const char c = body[i];
    if (c == '<') {
      if (i + 2 < body.size()) {
        std::string head;
        for (size_t k = i; k < i + 4 && k < body.size(); ++k) head.push_back(LowerAscii(body[k]));
        if (head == "<br>" || head == "<br/") text.append("\\N");
      }
      inTag = true;
    } else if (c == '>') {
      inTag = false;
    } else if (!inTag) {
      text.push_back(c);
    }
  }
  return text;
}

std::string TrimAndDecode(std::string text) {
  size_t begin = 0;
  size_t end = text.size();
  while (begin < end && IsTrimmed(text[begin])) ++begin;
  while (end > begin && IsTrimmed(text[end - 1])) --end;
  // "&nbsp;" alone, the usual clearing line, becomes a one-blank text.
  static constexpr std::string_view kNbsp = "&nbsp;";
  std::string decoded;
  decoded.reserve(end - begin);
  std::string_view rest(text.data() + begin, end - begin);
  for (size_t found; (found = rest.find(kNbsp)) != std::string_view::npos;) {
    decoded.append(rest.substr(0, found)).push_back(' ');
    rest.remove_prefix(found + kNbsp.size());
  }
  decoded.append(rest);
  return decoded;
}

// The first `needle` at or after a position, for positions that only grow:
// a hit still ahead is kept, so a needle that appears once at the far end of
// the input is searched for once, not once per sync.
class ForwardFinder {
 public:
  ForwardFinder(std::string_view haystack, std::string_view needle)
      : haystack_(haystack), needle_(needle) {}
  size_t From(size_t position) {
    if (!known_ || (found_ != std::string_view::npos && found_ < position)) {
      found_ = haystack_.find(needle_, position);
      known_ = true;
    }
    return found_;
  }

 private:
  std::string_view haystack_;
  std::string_view needle_;
  size_t found_ = std::string_view::npos;
  bool known_ = false;
};

}  // namespace

std::string ConvertSamiToAss(const SubtitleStyle& style, std::string_view utf8) {
  // The finds are case-insensitive. Lowering the whole input once gives the
  // same positions as lowering each tail, without the quadratic cost on a
  // large file.
  std::string lowered(utf8);
  for (char& c : lowered) c = LowerAscii(c);
  const std::string_view lower(lowered);

  std::vector<SamiEntry> entries;
  size_t position = 0;
  // Each search below may run far ahead of the sync it serves; the finders
  // keep such a hit for the next syncs, so the scan stays linear even in a
  // file of many syncs with one "start=", ">" or "</body" at its end.
  ForwardFinder startFinder(lower, "start=");
  ForwardFinder tagEndFinder(lower, ">");
  ForwardFinder bodyCloseFinder(lower, "</body");
  size_t valueAttribute = std::string_view::npos;
  uint64_t value = 0;
  while (position < lower.size()) {
    const size_t sync = lower.find("<sync", position);
    if (sync == std::string_view::npos) break;
    const size_t startAttribute = startFinder.From(sync);
    if (startAttribute == std::string_view::npos) break;
    if (startAttribute != valueAttribute) {
      size_t digits = startAttribute + 6;
      while (digits < lower.size() && (lower[digits] == '"' || lower[digits] == '\'')) ++digits;
      // Unsigned with wrap-around, like the reading it stands for; only a
      // fuzzer ever writes twenty digits.
      value = 0;
      while (digits < lower.size() && lower[digits] >= '0' && lower[digits] <= '9') {
        value = value * 10 + static_cast<uint64_t>(lower[digits] - '0');
        ++digits;
      }
      valueAttribute = startAttribute;
    }
    const size_t tagEnd = tagEndFinder.From(sync);
    if (tagEnd == std::string_view::npos) break;
    const size_t bodyStart = tagEnd + 1;
    size_t bodyEnd = std::min(lower.find("<sync", bodyStart), bodyCloseFinder.From(bodyStart));
    if (bodyEnd == std::string_view::npos) bodyEnd = lower.size();
    entries.push_back({static_cast<int64_t>(value),
                       TrimAndDecode(StripSamiTags(utf8.substr(bodyStart, bodyEnd - bodyStart)))});
    position = bodyEnd;
  }
  if (entries.empty()) return {};

  std::string script;
  script.reserve(utf8.size() + 2048);
  AppendAssHeader(style, &script);
  for (size_t i = 0; i < entries.size(); ++i) {
    const int64_t start = entries[i].StartMs;
    const int64_t end = i + 1 < entries.size()
                            ? entries[i + 1].StartMs
                            : (start > INT64_MAX - 5000 ? INT64_MAX : start + 5000);
    if (!entries[i].Text.empty() && end > start)
      AppendAssDialogue(start, end, entries[i].Text, &script);
  }
  return script;
}

}  // namespace zelvaro
