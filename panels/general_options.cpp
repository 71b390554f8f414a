#include "panels/general_options.h"

#include "app/window_globals.h"
#include "foundation/language_manager.h"
#include "foundation/setting_names.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QSlider>
#include <QVBoxLayout>

#include <tuple>

namespace zelvaro {
namespace {

struct Row {
  int id;
  enum Kind { kHeader, kCheck, kLabel } kind;
  const char16_t* key;
};

// Top to bottom; the sliders and the language list sit between these rows.
constexpr Row kRows[] = {
    {GeneralOptions::kHeaderGeneral, Row::kHeader, u"GeneralOptions.HeaderGeneral"},
    {GeneralOptions::kRememberWindowPos, Row::kCheck, u"GeneralOptions.RememberWindowPos"},
    {GeneralOptions::kSeekbarThumbnail, Row::kCheck, u"GeneralOptions.SeekbarThumbnail"},
    {GeneralOptions::kKeyframeSeek, Row::kCheck, u"GeneralOptions.KeyframeSeek"},
    {GeneralOptions::kPlaylistRestore, Row::kCheck, u"GeneralOptions.PlaylistRestore"},
    {GeneralOptions::kPlaylistHeightSync, Row::kCheck, u"GeneralOptions.PlaylistHeightSync"},
    {GeneralOptions::kResumePlayback, Row::kCheck, u"GeneralOptions.ResumePlayback"},
    {GeneralOptions::kHeaderMediaKey, Row::kHeader, u"GeneralOptions.HeaderMediaKey"},
    {GeneralOptions::kGlobalMediaKeys, Row::kCheck, u"GeneralOptions.GlobalMediaKeys"},
    {GeneralOptions::kUnregisterOnDeactivate, Row::kCheck,
     u"GeneralOptions.UnregisterOnDeactivate"},
    {GeneralOptions::kHeaderAudio, Row::kHeader, u"GeneralOptions.HeaderAudio"},
    {GeneralOptions::kAudioNormalize, Row::kCheck, u"GeneralOptions.AudioNormalize"},
    {GeneralOptions::kAudioNormalizeRecover, Row::kCheck, u"GeneralOptions.AudioNormalizeRecover"},
    {GeneralOptions::kMaxNormFactorLabel, Row::kLabel, u"GeneralOptions.MaxNormFactor"},
    {GeneralOptions::kBoostLabel, Row::kLabel, u"GeneralOptions.AudioBoostLabel"},
    {GeneralOptions::kLanguageLabel, Row::kLabel, u"GeneralOptions.LabelLanguage"},
    {GeneralOptions::kLanguageHint, Row::kLabel, u"GeneralOptions.LangHint"},
};

// Checks whose value lives in the store, by setting name.
struct StoredCheck {
  int id;
  QStringView name;
};
constexpr StoredCheck kStoredChecks[] = {
    {GeneralOptions::kKeyframeSeek, setting::kKeyframeSeek},
    {GeneralOptions::kPlaylistRestore, setting::kPlaylistRestoreOnStartup},
    {GeneralOptions::kPlaylistHeightSync, setting::kPlaylistHeightSync},
    {GeneralOptions::kResumePlayback, setting::kResumePlayback},
    {GeneralOptions::kAudioNormalize, setting::kAudioNormalize},
    {GeneralOptions::kAudioNormalizeRecover, setting::kAudioNormalizeRecover},
};

// Checks whose value is the main window's copy.
struct WindowFlag {
  int id;
  bool* flag;
};
const WindowFlag kWindowFlags[] = {
    {GeneralOptions::kRememberWindowPos, &RememberWindowPos},
    {GeneralOptions::kSeekbarThumbnail, &SeekbarThumbnailPreview},
    {GeneralOptions::kGlobalMediaKeys, &GlobalMediaKeys},
    {GeneralOptions::kUnregisterOnDeactivate, &UnregisterOnDeactivate},
};

QSlider* MakeSlider(QWidget* parent, int minimum, int maximum) {
  auto* slider = new QSlider(Qt::Horizontal, parent);
  slider->setRange(minimum, maximum);
  slider->setTickInterval(options::kSliderTickStep);
  slider->setTickPosition(QSlider::TicksBelow);
  slider->setPageStep(options::kSliderTickStep);
  return slider;
}

}  // namespace

bool GeneralOptions::Create(QWidget* parent, const QRect& area) {
  page_ = new QWidget(parent);
  page_->setObjectName(QStringLiteral("GeneralOptions"));
  for (const Row& row : kRows) {
    if (row.kind == Row::kCheck) {
      controls_[row.id] = new QCheckBox(page_);
    } else {
      auto* label = new QLabel(page_);
      if (row.kind == Row::kHeader) {
        QFont bold = label->font();
        bold.setBold(true);
        label->setFont(bold);
      }
      if (row.id == kLanguageHint) label->setWordWrap(true);
      controls_[row.id] = label;
    }
  }
  controls_[kMaxNormFactor] =
      MakeSlider(page_, options::kMaxNormFactorMin, options::kMaxNormFactorMax);
  controls_[kBoost] = MakeSlider(page_, options::kBoostMin, options::kBoostMax);
  controls_[kMaxNormFactorValue] = new QLabel(page_);
  controls_[kBoostValue] = new QLabel(page_);
  auto* language = new QComboBox(page_);
  controls_[kLanguage] = language;

  auto* layout = new QVBoxLayout(page_);
  const auto add = [&](int id) { layout->addWidget(controls_[id]); };
  for (int id :
       {kHeaderGeneral, kRememberWindowPos, kSeekbarThumbnail, kKeyframeSeek, kPlaylistRestore,
        kPlaylistHeightSync, kResumePlayback, kHeaderMediaKey, kGlobalMediaKeys,
        kUnregisterOnDeactivate, kHeaderAudio, kAudioNormalize, kAudioNormalizeRecover}) {
    add(id);
  }
  auto* grid = new QGridLayout;
  int gridRow = 0;
  for (auto [label, slider, value] :
       {std::tuple{kMaxNormFactorLabel, kMaxNormFactor, kMaxNormFactorValue},
        std::tuple{kBoostLabel, kBoost, kBoostValue}}) {
    grid->addWidget(controls_[label], gridRow, 0);
    grid->addWidget(controls_[slider], gridRow, 1);
    grid->addWidget(controls_[value], gridRow, 2);
    ++gridRow;
  }
  grid->addWidget(controls_[kLanguageLabel], gridRow, 0);
  grid->addWidget(language, gridRow, 1, 1, 2);
  grid->setColumnStretch(1, 1);
  layout->addLayout(grid);
  add(kLanguageHint);
  layout->addStretch(1);
  page_->setGeometry(area);

  QObject::connect(Check(kGlobalMediaKeys), &QCheckBox::toggled, page_,
                   [this] { UpdateEnabled(); });
  QObject::connect(Check(kAudioNormalize), &QCheckBox::toggled, page_, [this] { UpdateEnabled(); });
  for (int id : {kMaxNormFactor, kBoost}) {
    QObject::connect(Slider(id), &QSlider::valueChanged, page_, [this] { UpdateSliderTexts(); });
  }
  QObject::connect(language, &QComboBox::currentIndexChanged, page_, [this, language](int index) {
    if (filling_ || index < 0) return;
    SwitchLanguage(language->itemData(index).toString());
  });
  RefreshTexts();
  return true;
}

QWidget* GeneralOptions::control(int id) const {
  const auto found = controls_.find(id);
  return found == controls_.end() ? nullptr : found->second;
}

QCheckBox* GeneralOptions::Check(int id) const {
  return qobject_cast<QCheckBox*>(control(id));
}
QSlider* GeneralOptions::Slider(int id) const {
  return qobject_cast<QSlider*>(control(id));
}
QLabel* GeneralOptions::Label(int id) const {
  return qobject_cast<QLabel*>(control(id));
}

void GeneralOptions::Load() {
  if (!page_) return;
  loaded_ = options::ReadDwords(options::GeneralStoredValues());
  for (const WindowFlag& flag : kWindowFlags) Check(flag.id)->setChecked(*flag.flag);
  for (const StoredCheck& check : kStoredChecks) {
    Check(check.id)->setChecked(loaded_[check.name.toString()] != 0);
  }
  Slider(kMaxNormFactor)
      ->setValue(static_cast<int>(loaded_[setting::kAudioMaxNormFactor.toString()]));
  Slider(kBoost)->setValue(static_cast<int>(loaded_[setting::kAudioBoost.toString()]));
  UpdateSliderTexts();
  UpdateEnabled();
  FillLanguages();
}

options::DwordValues GeneralOptions::EditedDwords() const {
  options::DwordValues edited;
  for (const StoredCheck& check : kStoredChecks) {
    edited[check.name.toString()] = Check(check.id)->isChecked() ? 1 : 0;
  }
  edited[setting::kAudioMaxNormFactor.toString()] =
      static_cast<uint32_t>(Slider(kMaxNormFactor)->value());
  edited[setting::kAudioBoost.toString()] = static_cast<uint32_t>(Slider(kBoost)->value());
  return edited;
}

void GeneralOptions::Save() {
  if (!page_) return;
  for (const WindowFlag& flag : kWindowFlags) *flag.flag = Check(flag.id)->isChecked();
  options::WriteChangedDwords(loaded_, EditedDwords());
  loaded_ = EditedDwords();
  const auto* language = qobject_cast<QComboBox*>(control(kLanguage));
  const QString chosen = language->currentData().toString();
  if (!chosen.isEmpty() && chosen != LanguageManager::Instance().GetCurrentLanguage()) {
    SwitchLanguage(chosen);
  }
}

void GeneralOptions::RefreshTexts() {
  if (!page_) return;
  for (const Row& row : kRows) {
    const QString text = LanguageManager::GetString(row.key);
    if (row.kind == Row::kCheck) {
      Check(row.id)->setText(text);
    } else {
      Label(row.id)->setText(text);
    }
  }
  UpdateSliderTexts();
}

void GeneralOptions::UpdateEnabled() {
  Check(kUnregisterOnDeactivate)->setEnabled(Check(kGlobalMediaKeys)->isChecked());
  const bool normalize = Check(kAudioNormalize)->isChecked();
  Check(kAudioNormalizeRecover)->setEnabled(normalize);
  Slider(kMaxNormFactor)->setEnabled(normalize);
}

void GeneralOptions::UpdateSliderTexts() {
  Label(kMaxNormFactorValue)->setText(options::MaxNormFactorText(Slider(kMaxNormFactor)->value()));
  Label(kBoostValue)->setText(options::BoostText(Slider(kBoost)->value()));
}

void GeneralOptions::FillLanguages() {
  auto* language = qobject_cast<QComboBox*>(control(kLanguage));
  filling_ = true;
  language->clear();
  const QString current = LanguageManager::Instance().GetCurrentLanguage();
  for (const LanguageInfo& info : LanguageManager::Instance().GetLanguages()) {
    language->addItem(info.Name, info.Id);
  }
  // The first of duplicate ids is the one the manager loads.
  language->setCurrentIndex(language->findData(current));
  filling_ = false;
}

}  // namespace zelvaro
