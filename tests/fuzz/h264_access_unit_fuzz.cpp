// The access-unit check on arbitrary bytes, in each framing a stream can
// declare (and one it cannot): it must never read outside the unit, which
// the address sanitiser of the fuzz build reports.
#include "engine/lead_in_skip.h"

#include <cstdint>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // A copy of exactly `size` bytes, so a read past its end is caught.
  const std::vector<uint8_t> unit(data, data + size);
  for (int lengthSize : {0, 1, 2, 3, 4})
    zelvaro::IsDisposableH264AccessUnit(unit.data(), unit.size(), lengthSize);
  return 0;
}
