#include "library/natural_compare.h"

#include <QString>
#include <QStringList>

#include <gtest/gtest.h>

#include <algorithm>

namespace zelvaro {
namespace {

using namespace Qt::StringLiterals;

int Sign(int value) {
  return (value > 0) - (value < 0);
}

TEST(NaturalCompareTest, DigitRunsCompareByValue) {
  EXPECT_LT(NaturalCompare(u"Episode 2.mkv", u"Episode 10.mkv"), 0);
  EXPECT_GT(NaturalCompare(u"Episode 10.mkv", u"Episode 9.mkv"), 0);
  EXPECT_LT(NaturalCompare(u"x9y", u"x10a"), 0);
  EXPECT_LT(NaturalCompare(u"a2b3", u"a2b11"), 0);
}

TEST(NaturalCompareTest, CaseIsIgnored) {
  EXPECT_EQ(NaturalCompare(u"Show.MKV", u"show.mkv"), 0);
  EXPECT_LT(NaturalCompare(u"apple", u"Banana"), 0);
  EXPECT_GT(NaturalCompare(u"Cherry", u"banana"), 0);
  EXPECT_EQ(NaturalCompare(u"ÄRGER", u"ärger"), 0);
}

TEST(NaturalCompareTest, LongRunsDoNotOverflow) {
  EXPECT_GT(NaturalCompare(u"a123456789012345678901234567890", u"a99999999999999999999"), 0);
  EXPECT_LT(NaturalCompare(u"a123456789012345678901234567890", u"a123456789012345678901234567891"),
            0);
}

TEST(NaturalCompareTest, LeadingZerosOnlyBreakTies) {
  EXPECT_LT(NaturalCompare(u"track 1", u"track 01"), 0);
  EXPECT_LT(NaturalCompare(u"track 01", u"track 2"), 0);
  // The zeros decide only when everything else is equal.
  EXPECT_LT(NaturalCompare(u"a01b", u"a1c"), 0);
  EXPECT_EQ(NaturalCompare(u"007", u"007"), 0);
}

TEST(NaturalCompareTest, PrefixOrdersFirst) {
  EXPECT_LT(NaturalCompare(u"Show", u"Show 1"), 0);
  EXPECT_LT(NaturalCompare(u"", u"a"), 0);
  EXPECT_EQ(NaturalCompare(u"", u""), 0);
}

TEST(NaturalCompareTest, SortsAListAsAPersonWould) {
  QStringList names = {u"ep 10.mkv"_s,  u"Ep 2.mkv"_s,  u"ep 1.mkv"_s,  u"EP 01.mkv"_s,
                       u"ep 100.mkv"_s, u"bonus.mkv"_s, u"Ep 9b.mkv"_s, u"Ep 9a.mkv"_s};
  std::sort(names.begin(), names.end(),
            [](const QString& a, const QString& b) { return NaturalCompare(a, b) < 0; });
  const QStringList expected = {u"bonus.mkv"_s, u"ep 1.mkv"_s,  u"EP 01.mkv"_s, u"Ep 2.mkv"_s,
                                u"Ep 9a.mkv"_s, u"Ep 9b.mkv"_s, u"ep 10.mkv"_s, u"ep 100.mkv"_s};
  EXPECT_EQ(names, expected);
}

// std::sort needs a strict weak order: a broken one can crash it. Check
// antisymmetry and transitivity over every triple of a tricky sample.
TEST(NaturalCompareTest, IsAStrictWeakOrder) {
  const QStringList sample = {u""_s,    u"0"_s,   u"00"_s,  u"1"_s,   u"01"_s,  u"10"_s,
                              u"a"_s,   u"A"_s,   u"a1"_s,  u"a01"_s, u"a1b"_s, u"a01b"_s,
                              u"a-1"_s, u"a.1"_s, u"a~"_s,  u"a 2"_s, u"a2"_s,  u"a10"_s,
                              u"b"_s,   u"_1"_s,  u"[1]"_s, u"9z"_s,  u"z9"_s,  u"é1"_s};
  for (const QString& a : sample) {
    EXPECT_EQ(NaturalCompare(a, a), 0);
    for (const QString& b : sample) {
      ASSERT_EQ(Sign(NaturalCompare(a, b)), -Sign(NaturalCompare(b, a)))
          << a.toStdString() << " / " << b.toStdString();
      for (const QString& c : sample) {
        if (NaturalCompare(a, b) < 0 && NaturalCompare(b, c) < 0) {
          ASSERT_LT(NaturalCompare(a, c), 0)
              << a.toStdString() << " < " << b.toStdString() << " < " << c.toStdString();
        }
        if (NaturalCompare(a, b) == 0 && NaturalCompare(b, c) == 0) {
          ASSERT_EQ(NaturalCompare(a, c), 0);
        }
      }
    }
  }
}

}  // namespace
}  // namespace zelvaro
