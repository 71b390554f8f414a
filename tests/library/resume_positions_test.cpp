#include "library/resume_positions.h"

#include "library/sqlite_handle.h"
#include "tests/library/library_test_support.h"

#include <cmath>
#include <limits>

namespace zelvaro::test {
namespace {

using namespace Qt::StringLiterals;

TEST(ResumePositionsRule, KeepsOnlyPositionsPastTheStartAndBeforeTheEnd) {
  struct Case {
    double position, duration;
    bool kept;
  };
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const Case cases[] = {
      {29.9, 600, false},         {30, 600, true},  {569.9, 600, true},
      {570, 600, false},          {40, 0, false},   {40, -1, false},
      {nan, 600, false},          {40, nan, false}, {35, 36, false},
      {3600 * 2, 3600 * 3, true},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ResumePositions::KeptPosition(c.position, c.duration).has_value(), c.kept)
        << c.position << " of " << c.duration;
  }
}

class ResumePositionsTest : public LibraryTest {
 protected:
  void SetUp() override { ASSERT_TRUE(db_.Open()); }
  PlaylistDatabase db_;
};

TEST_F(ResumePositionsTest, RecordsForgetsAndSurvivesARestart) {
  {
    ResumePositions positions(db_);
    positions.Record(u"/m/a.mkv"_s, 40, 600);
    positions.Record(u"/m/b.mkv"_s, 100, 600);
    // Watched to its end: forgotten.
    positions.Record(u"/m/b.mkv"_s, 590, 600);
    ASSERT_TRUE(positions.FlushWrites(5000));
  }
  db_.Close();
  PlaylistDatabase restarted;
  ASSERT_TRUE(restarted.Open());
  ResumePositions positions(restarted);
  EXPECT_EQ(positions.Lookup(u"/m/a.mkv"_s, 600), std::optional<double>(40));
  EXPECT_FALSE(positions.Lookup(u"/m/b.mkv"_s, 600));
  // The same name now a shorter file: the old place lies past its end.
  EXPECT_FALSE(positions.Lookup(u"/m/a.mkv"_s, 41));
}

TEST_F(ResumePositionsTest, KeepsTheNewestThousand) {
  ResumePositions positions(db_);
  positions.Record(u"/m/0.mkv"_s, 60, 600);
  ASSERT_TRUE(positions.FlushWrites(5000));
  // 1,004 newer rows in one go; the next write trims the table.
  const int extra = 5;
  ASSERT_EQ(ExecSql(db_.Handle(),
                    "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 1004)"
                    " INSERT INTO resume_positions SELECT '/m/' || i || '.mkv', 60, i + 1 FROM n;"),
            SQLITE_OK);
  // Written again, the oldest becomes the newest.
  positions.Record(u"/m/0.mkv"_s, 61, 600);
  ASSERT_TRUE(positions.FlushWrites(5000));
  EXPECT_EQ(Rows("resume_positions"), ResumePositions::kMaxEntries);
  EXPECT_EQ(positions.Lookup(u"/m/0.mkv"_s, 600), std::optional<double>(61));
  for (int i = 1; i <= extra; ++i) EXPECT_FALSE(positions.Lookup(u"/m/%1.mkv"_s.arg(i), 600));
  EXPECT_TRUE(positions.Lookup(u"/m/%1.mkv"_s.arg(extra + 1), 600));
}

}  // namespace
}  // namespace zelvaro::test
