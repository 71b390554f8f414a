#pragma once
// What the options pages keep in the settings store, free of windows: the
// stored values of the general page with their defaults, reading them in one
// go, writing back only the ones the user changed (a page that was opened
// and saved untouched writes nothing), and the texts of the two audio sliders.
//
// Any thread; the store's own rules apply (foundation/settings.h).

#include <QString>
#include <QStringView>

#include <cstdint>
#include <map>
#include <span>
#include <vector>

namespace zelvaro::options {

struct StoredDword {
  QStringView name;
  uint32_t defaultValue;
};

// The general page's values that live in the store (the page's other flags
// live in the main window until it closes).
std::span<const StoredDword> GeneralStoredValues();

using DwordValues = std::map<QString, uint32_t>;

// Each value of `values` as stored, its default when absent.
DwordValues ReadDwords(std::span<const StoredDword> values);
// Writes the values of `edited` that differ from `loaded`; returns their names.
std::vector<QString> WriteChangedDwords(const DwordValues& loaded, const DwordValues& edited);

// Slider ranges and the texts beside them.
inline constexpr int kMaxNormFactorMin = 100;
inline constexpr int kMaxNormFactorMax = 400;
inline constexpr int kBoostMin = 0;
inline constexpr int kBoostMax = 300;
inline constexpr int kSliderTickStep = 50;
// "2.0x" for 200.
QString MaxNormFactorText(int position);
// "GeneralOptions.AudioBoostNone" at 0, else the factor: "2.5x" for 150.
QString BoostText(int position);

}  // namespace zelvaro::options
