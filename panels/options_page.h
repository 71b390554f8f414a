#pragma once
// The options dialog and its pages. OptionsDialog (options_dialog.h) shows
// a list of pages on the left and one page at a time beside it; each page is
// an OptionsPage. MainWindow::ShowOptions makes the pages, runs the dialog
// modally and, however it closed, applies the stored values
// (MainWindow::ApplySettings).
//
// A page's life: constructed by the main window, Create builds its widget
// inside the dialog, Load fills the controls from the settings, Save writes
// back what the user changed (Save runs for every page when the user saves,
// never on Cancel), RefreshTexts renews the texts after a language switch.
// The dialog owns the page widgets; the caller owns the page objects, which
// live only while the dialog is open.
//
// A language switch acts at once: SwitchLanguage loads the language and sends
// QEvent::LanguageChange to every window of the program, on which each window
// renews its texts (the dialog, its pages, the main window, the panels).
//
// Interface thread only.

#include <QRect>
#include <QString>
#include <QStringView>

class QWidget;

namespace zelvaro {

class OptionsPage {
 public:
  explicit OptionsPage(QStringView titleKey) : titleKey_(titleKey.toString()) {}
  virtual ~OptionsPage() = default;
  OptionsPage(const OptionsPage&) = delete;
  OptionsPage& operator=(const OptionsPage&) = delete;

  // Builds the page's widget as a child of `parent`, placed in `area`.
  // False leaves the page without a widget; the dialog then shows nothing for it.
  virtual bool Create(QWidget* parent, const QRect& area) = 0;
  virtual void Load() = 0;
  virtual void Save() = 0;
  virtual void RefreshTexts() {}

  // In the language in force.
  QString Title() const;
  QWidget* widget() const { return page_; }

 protected:
  QString titleKey_;
  QWidget* page_ = nullptr;  // owned by the dialog through its parent
};

// A page with nothing on it but its title.
class OtherOptions : public OptionsPage {
 public:
  OtherOptions() : OptionsPage(u"OtherOptions.PageTitle") {}
  bool Create(QWidget* parent, const QRect& area) override;
  void Load() override {}
  void Save() override {}
};

// Makes `id` the language in force (LanguageManager::SetLanguage, which
// stores it) and tells every window. An unknown id changes nothing.
void SwitchLanguage(const QString& id);

}  // namespace zelvaro
