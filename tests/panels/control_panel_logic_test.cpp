// The control panel's window-free rules: where its parts are at any scale,
// where it opens, and the arithmetic and texts of its controls.

#include "panels/control_panel_layout.h"
#include "panels/control_panel_values.h"

#include <gtest/gtest.h>

#include <set>

namespace zelvaro::panels {
namespace {

TEST(ControlPanelLayout, EveryControlSitsInsideTheContentAndNoTwoOfATabOverlap) {
  for (float scale : {1.0f, 1.25f, 2.0f}) {
    SCOPED_TRACE(scale);
    const ControlPanelLayout layout = ControlPanelGeometry(scale);
    EXPECT_EQ(layout.size, QSize(static_cast<int>(340 * scale), static_cast<int>(280 * scale)));
    std::set<int> ids;
    const auto controls = ControlPanelControls();
    for (size_t i = 0; i < controls.size(); ++i) {
      const QRect rect = ControlRect(controls[i], scale);
      EXPECT_TRUE(layout.content.contains(rect)) << controls[i].id << " " << i;
      if (controls[i].id != 0) {
        EXPECT_TRUE(ids.insert(controls[i].id).second) << controls[i].id;
      }
      for (size_t j = i + 1; j < controls.size(); ++j) {
        if (controls[j].tab != controls[i].tab) continue;
        EXPECT_FALSE(rect.intersects(ControlRect(controls[j], scale)))
            << controls[i].id << "/" << controls[j].id << " at " << i << "/" << j;
      }
    }
    // Tabs side by side under the title strip, filling the row.
    EXPECT_EQ(layout.tabs[0].left(), layout.content.left());
    EXPECT_EQ(layout.tabs[3].right(), layout.content.right());
    for (int tab = 1; tab < kControlPanelTabCount; ++tab) {
      EXPECT_EQ(layout.tabs[tab].left(), layout.tabs[tab - 1].right() + 1);
    }
    EXPECT_GT(layout.tabs[0].top(), layout.titleStrip.bottom());
    EXPECT_EQ(layout.closeButton.right(), layout.size.width() - 1);
  }
}

TEST(ControlPanelLayout, HitTestFindsCloseTabsControlsOfTheShownTabAndDragsElsewhere) {
  const float scale = 1.5f;
  const ControlPanelLayout layout = ControlPanelGeometry(scale);
  EXPECT_EQ(ControlPanelHitTest(layout, layout.closeButton.center(), 0, scale).kind,
            ControlPanelHitKind::Close);
  const ControlPanelHit tab = ControlPanelHitTest(layout, layout.tabs[2].center(), 0, scale);
  EXPECT_EQ(tab.kind, ControlPanelHitKind::Tab);
  EXPECT_EQ(tab.tab, 2);
  const QPoint speedUp = ControlRect(*FindControl(9061), scale).center();
  EXPECT_EQ(ControlPanelHitTest(layout, speedUp, 0, scale).kind, ControlPanelHitKind::Control);
  // The same place on the subtitle tab is a label: it drags.
  EXPECT_EQ(ControlPanelHitTest(layout, speedUp, 3, scale).kind, ControlPanelHitKind::Drag);
  EXPECT_EQ(ControlPanelHitTest(layout, layout.titleText.center(), 0, scale).kind,
            ControlPanelHitKind::Drag);
}

TEST(ControlPanelPlacement, StoredPointsAreKeptReachableNotWhollyOnScreen) {
  const QSize size(340, 280);
  const QRect parent(100, 50, 800, 600);
  const QRect work(0, 0, 1920, 1040);
  struct Case {
    QPoint stored;
    float scale;
    QPoint expected;
  };
  const Case cases[] = {
      {{500, 300}, 1.0f, {500, 300}},
      {{1900, 300}, 1.0f, {1870, 300}},  // at most 50 inside the right edge
      {{1900, 300}, 2.0f, {1820, 300}},
      {{-290, 300}, 1.0f, {-290, 300}},  // 50 still on screen: left alone
      {{-291, 300}, 1.0f, {0, 300}},     // 49 on screen: back to the left edge
      {{500, -10}, 1.0f, {500, -10}},    // up to 10 above the top
      {{500, -11}, 1.0f, {500, 0}},
      {{500, 1030}, 1.0f, {500, 1010}},  // 30 above the bottom at least
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ControlPanelPosition(&c.stored, size, parent, work, c.scale), c.expected)
        << c.stored.x() << "," << c.stored.y() << " x" << c.scale;
  }
  EXPECT_EQ(ControlPanelPosition(nullptr, size, parent, work, 1.0f), QPoint(900, 50));
}

TEST(ControlPanelValues, SpeedStepsHoldTheRangeAndRoundToTenths) {
  struct Case {
    double speed, down, up;
  };
  const Case cases[] = {{1.0, 0.9, 1.1},  {0.1, 0.1, 0.2}, {3.95, 3.9, 4.0},
                        {1.27, 1.2, 1.4}, {4.0, 3.9, 4.0}, {0.15, 0.1, 0.3}};
  for (const Case& c : cases) {
    EXPECT_DOUBLE_EQ(SpeedStepDown(c.speed), c.down) << c.speed;
    EXPECT_DOUBLE_EQ(SpeedStepUp(c.speed), c.up) << c.speed;
  }
}

TEST(ControlPanelValues, LabelsAndPictureMapping) {
  EXPECT_EQ(BoostLabel(0, QStringLiteral("Off")), QStringLiteral("Off"));
  EXPECT_EQ(FontLabel(QStringLiteral("Noto Sans"), 0), QStringLiteral("Noto Sans, 24pt"));
  EXPECT_EQ(PictureValue(PictureKind::Hue, 200), 100);  // the slider reaches ±100 of ±180
  EXPECT_EQ(PictureSliderPosition(-180), 0);
  EXPECT_EQ(MarginDown(3), 0);
  EXPECT_EQ(MarginUp(25), 30);
}

TEST(ControlPanelValues, MarkEditsShowBOnlyBehindA) {
  constexpr int64_t kSecond = 10'000'000;
  struct Case {
    int64_t markA, markB;
    const char* a;
    const char* b;
  };
  const Case cases[] = {
      {0, 0, "--:--:--", "--:--:--"},
      {1, 0, "00:00:00", "--:--:--"},
      {61 * kSecond, 3725 * kSecond, "00:01:01", "01:02:05"},
      {10 * kSecond, 10 * kSecond, "00:00:10", "--:--:--"},  // B at A
      {10 * kSecond, 5 * kSecond, "00:00:10", "--:--:--"},   // B before A
  };
  for (const Case& c : cases) {
    EXPECT_EQ(MarkAText(c.markA), QString::fromLatin1(c.a)) << c.markA;
    EXPECT_EQ(MarkBText(c.markA, c.markB), QString::fromLatin1(c.b)) << c.markB;
  }
  EXPECT_EQ(MarkTime(-1), QStringLiteral("--:--:--"));
}

}  // namespace
}  // namespace zelvaro::panels
