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

TEST(NaturalCompareTest, Pairs) {
  struct Case {
    const char16_t* a;
    const char16_t* b;
    int sign;
  };
  const Case cases[] = {
      {u"x9y", u"x10a", -1},  // digit runs compare by value
      {u"a2b3", u"a2b11", -1},
      {u"Show.MKV", u"show.mkv", 0},  // case is ignored
      {u"Cherry", u"banana", 1},
      {u"ÄRGER", u"ärger", 0},
      {u"a123456789012345678901234567890", u"a99999999999999999999", 1},  // no overflow
      {u"a123456789012345678901234567890", u"a123456789012345678901234567891", -1},
      {u"track 01", u"track 2", -1},  // leading zeros only break ties
      {u"a01b", u"a1c", -1},
      {u"Show", u"Show 1", -1},  // a prefix orders first
      {u"", u"a", -1},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Sign(NaturalCompare(c.a, c.b)), c.sign)
        << QString::fromUtf16(c.a).toStdString() << " / " << QString::fromUtf16(c.b).toStdString();
  }
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
