#include "subtitles/text_decoding.h"

#include "tests/subtitles/subtitle_test_support.h"

#include <QStringEncoder>

#include <gtest/gtest.h>

#include <random>

namespace zelvaro {
namespace {

using test::EncodeAs;

const std::string kKoreanSrt =
    "1\n00:00:01,000 --> 00:00:02,000\n안녕하세요. 오늘은 날씨가 좋네요.\n\n"
    "2\n00:00:03,000 --> 00:00:04,000\n감사합니다\n";

DecodedSubtitleText Decode(const QByteArray& bytes,
                           SubtitleTextKind kind = SubtitleTextKind::kGeneric) {
  return DecodeSubtitleText(bytes, kind);
}

QByteArray Utf16(const std::string& utf8, QStringConverter::Encoding encoding, bool bom) {
  QStringEncoder encoder(encoding,
                         bom ? QStringConverter::Flag::WriteBom : QStringConverter::Flag::Default);
  return encoder.encode(QString::fromStdString(utf8));
}

TEST(TextDecodingTest, ByteOrderMarksWinAndUtf16WithoutOneShowsByItsZeroBytes) {
  EXPECT_EQ(Decode("\xEF\xBB\xBF" + QByteArray::fromStdString(kKoreanSrt)).Utf8, kKoreanSrt);
  for (auto encoding : {QStringConverter::Utf16LE, QStringConverter::Utf16BE}) {
    const DecodedSubtitleText decoded = Decode(Utf16(kKoreanSrt, encoding, true));
    EXPECT_EQ(decoded.Utf8, kKoreanSrt);
    EXPECT_EQ(decoded.Encoding, encoding == QStringConverter::Utf16LE ? "UTF-16LE" : "UTF-16BE");
    EXPECT_EQ(Decode(Utf16(kKoreanSrt, encoding, false)).Utf8, kKoreanSrt);
  }
  // A SAMI file with a UTF-16 mark is not taken for CP949.
  const std::string sami = "<SAMI><BODY><SYNC Start=0><P>자막</BODY></SAMI>";
  EXPECT_EQ(Decode(Utf16(sami, QStringConverter::Utf16LE, true), SubtitleTextKind::kSami).Utf8,
            sami);
}

TEST(TextDecodingTest, ValidUtf8StaysAsItIsEvenForSami) {
  const std::string sami = "<SYNC Start=0><P>한국어 자막 UTF-8, 표시 없음";
  const DecodedSubtitleText decoded =
      Decode(QByteArray::fromStdString(sami), SubtitleTextKind::kSami);
  EXPECT_EQ(decoded.Utf8, sami);
  EXPECT_EQ(decoded.Encoding, "UTF-8");
}

TEST(TextDecodingTest, LegacyCharsetsShowCorrectly) {
  struct Case {
    std::string utf8;
    const char* encoding;
    SubtitleTextKind kind;
  };
  const Case cases[] = {
      {kKoreanSrt, "CP949", SubtitleTextKind::kGeneric},
      // Two short lines: too little for the charset guess on its own.
      {"1\n00:00:01,000 --> 00:00:02,000\n짧은 한국어\n", "CP949", SubtitleTextKind::kGeneric},
      // Characters that only the CP949 extension of EUC-KR has.
      {"<SYNC Start=0><P>똠방각하 펲시콜라 햏", "CP949", SubtitleTextKind::kSami},
      {"1\n00:00:01,000 --> 00:00:02,000\nこんにちは、今日はいい天気ですね。{\\an8}上\n\n"
       "2\n00:00:03,000 --> 00:00:04,000\nありがとうございました\n",
       "CP932", SubtitleTextKind::kGeneric},  // Shift-JIS as Windows writes it
      {"1\n00:00:01,000 --> 00:00:02,000\nПривет, как дела? Сегодня хорошая погода.\n\n"
       "2\n00:00:03,000 --> 00:00:04,000\nСпасибо большое\n",
       "CP1251", SubtitleTextKind::kGeneric},
      {"1\n00:00:01,000 --> 00:00:02,000\nUn café très naïve à Noël\n", "ISO-8859-1",
       SubtitleTextKind::kGeneric},
  };
  for (const Case& c : cases) {
    const QByteArray bytes = EncodeAs(c.utf8, c.encoding);
    ASSERT_FALSE(IsValidUtf8(bytes.constData(), static_cast<size_t>(bytes.size()))) << c.encoding;
    const DecodedSubtitleText decoded = Decode(bytes, c.kind);
    EXPECT_EQ(decoded.Utf8, c.utf8) << c.encoding << " read as " << decoded.Encoding;
  }
}

TEST(TextDecodingTest, DamagedLegacyTextKeepsWhatReads) {
  QByteArray bytes = EncodeAs(kKoreanSrt, "CP949");
  bytes.append("\xFF\xFF tail");  // not CP949
  const std::string utf8 = Decode(bytes, SubtitleTextKind::kSami).Utf8;
  EXPECT_NE(utf8.find("안녕하세요"), std::string::npos);
  EXPECT_NE(utf8.find("tail"), std::string::npos);
}

TEST(TextDecodingTest, AnyBytesGiveValidUtf8) {
  // Lone surrogates behind UTF-16 marks, code points beyond U+10FFFF behind a
  // UTF-32 mark, broken UTF-8 behind its mark.
  for (const char* hex : {"fffe00d84100", "feffdc000041", "fffe000000001100", "efbbbfc0afeda080"}) {
    const std::string utf8 = Decode(QByteArray::fromHex(hex)).Utf8;
    EXPECT_TRUE(IsValidUtf8(utf8.data(), utf8.size())) << hex;
  }
  std::mt19937 random(7);
  for (int round = 0; round < 200; ++round) {
    QByteArray bytes(static_cast<qsizetype>(random() % 600), '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    for (auto kind : {SubtitleTextKind::kGeneric, SubtitleTextKind::kSami}) {
      const DecodedSubtitleText decoded = Decode(bytes, kind);
      EXPECT_TRUE(IsValidUtf8(decoded.Utf8.data(), decoded.Utf8.size())) << decoded.Encoding;
    }
  }
}

TEST(TextDecodingTest, Utf8ValidatorRejectsOverlongsSurrogatesAndCutSequences) {
  const std::string valid = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
  EXPECT_TRUE(IsValidUtf8(valid.data(), valid.size()));
  for (std::string bad :
       {"\xC0\xAF", "\xE0\x80\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE2\x82", "\x80", "\xFF"})
    EXPECT_FALSE(IsValidUtf8(bad.data(), bad.size())) << bad;
}

}  // namespace
}  // namespace zelvaro
