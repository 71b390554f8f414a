// Which H.264 access units an exact seek may leave undecoded.

#include "engine/lead_in_skip.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <vector>

namespace zelvaro {
namespace {

// NAL headers: forbidden bit, nal_ref_idc (2 bits), nal_unit_type (5 bits).
constexpr uint8_t kSei = 0x06;
constexpr uint8_t kSps = 0x67;
constexpr uint8_t kIdrSlice = 0x65;
constexpr uint8_t kRefSlice = 0x41;         // P or reference B
constexpr uint8_t kDisposableSlice = 0x01;  // nal_ref_idc 0

// An access unit of NAL units, each a header and two payload bytes, with
// 4-byte length prefixes (lengthSize 4) or start codes (0).
std::vector<uint8_t> AccessUnit(std::initializer_list<uint8_t> headers, int lengthSize) {
  std::vector<uint8_t> unit;
  for (uint8_t header : headers) {
    if (lengthSize == 4) {
      unit.insert(unit.end(), {0, 0, 0, 3});
    } else {
      unit.insert(unit.end(), {0, 0, 0, 1});
    }
    unit.insert(unit.end(), {header, 0x9A, 0x42});
  }
  return unit;
}

TEST(LeadInSkipTest, OnlyUnitsWhoseSlicesAreAllUnreferencedAreDisposable) {
  for (int lengthSize : {4, 0}) {
    SCOPED_TRACE(lengthSize);
    auto disposable = [&](std::initializer_list<uint8_t> headers) {
      const std::vector<uint8_t> unit = AccessUnit(headers, lengthSize);
      return IsDisposableH264AccessUnit(unit.data(), unit.size(), lengthSize);
    };
    EXPECT_TRUE(disposable({kDisposableSlice}));
    EXPECT_TRUE(disposable({kSei, kDisposableSlice, kDisposableSlice}));
    EXPECT_FALSE(disposable({kRefSlice}));
    EXPECT_FALSE(disposable({kDisposableSlice, kRefSlice}));
    EXPECT_FALSE(disposable({kSps, kIdrSlice}));
    EXPECT_FALSE(disposable({kSei}));  // no picture in it
    EXPECT_FALSE(disposable({}));
    EXPECT_FALSE(disposable({0x81}));  // forbidden bit set
  }
  // Lengths that run past the unit, or a zero length, are malformed.
  std::vector<uint8_t> unit = AccessUnit({kDisposableSlice}, 4);
  unit[3] = 9;
  EXPECT_FALSE(IsDisposableH264AccessUnit(unit.data(), unit.size(), 4));
  unit[3] = 0;
  EXPECT_FALSE(IsDisposableH264AccessUnit(unit.data(), unit.size(), 4));
  const uint8_t shortPrefix[] = {0, 2, kDisposableSlice, 0};
  EXPECT_TRUE(IsDisposableH264AccessUnit(shortPrefix, sizeof shortPrefix, 2));
  EXPECT_FALSE(IsDisposableH264AccessUnit(shortPrefix, sizeof shortPrefix, 3));
  EXPECT_FALSE(IsDisposableH264AccessUnit(nullptr, 0, 4));
}

}  // namespace
}  // namespace zelvaro
