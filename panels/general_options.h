#pragma once
// GeneralOptions: the general page of the options dialog. Window, playlist,
// media key and audio settings, and the language. Part of the options
// dialog (options_page.h); interface thread only.
//
// The four window flags (remember position, seek bar preview, media keys,
// release on deactivate) change the main window's copies (window_globals.h),
// which the main window stores when it closes; the rest go to the settings
// store, each only when changed. The language acts as soon as it is chosen.

#include "panels/options_page.h"
#include "panels/options_values.h"

#include <map>

class QCheckBox;
class QComboBox;
class QLabel;
class QSlider;

namespace zelvaro {

class GeneralOptions : public OptionsPage {
 public:
  // The page's controls by identifier.
  enum Control {
    kHeaderGeneral = 1049,
    kRememberWindowPos = 1023,
    kSeekbarThumbnail = 1025,
    kKeyframeSeek = 1039,
    kPlaylistRestore = 1046,
    kPlaylistHeightSync = 1055,
    kResumePlayback = 1056,
    kHeaderMediaKey = 1050,
    kGlobalMediaKeys = 1026,
    kUnregisterOnDeactivate = 1027,
    kHeaderAudio = 1051,
    kAudioNormalize = 1040,
    kAudioNormalizeRecover = 1041,
    kMaxNormFactorLabel = 1052,
    kMaxNormFactor = 1042,
    kMaxNormFactorValue = 1043,
    kBoostLabel = 1053,
    kBoost = 1044,
    kBoostValue = 1045,
    kLanguageLabel = 1048,
    kLanguage = 1047,
    kLanguageHint = 1054,
  };

  GeneralOptions() : OptionsPage(u"GeneralOptions.PageTitle") {}

  bool Create(QWidget* parent, const QRect& area) override;
  void Load() override;
  void Save() override;
  void RefreshTexts() override;

  // The control of an identifier, null for none; for tests and the dialog.
  QWidget* control(int id) const;

 private:
  QCheckBox* Check(int id) const;
  QSlider* Slider(int id) const;
  QLabel* Label(int id) const;
  void UpdateEnabled();
  void UpdateSliderTexts();
  void FillLanguages();
  options::DwordValues EditedDwords() const;

  std::map<int, QWidget*> controls_;
  options::DwordValues loaded_;
  bool filling_ = false;
};

}  // namespace zelvaro
