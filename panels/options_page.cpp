#include "panels/options_page.h"

#include "foundation/language_manager.h"

#include <QApplication>
#include <QEvent>
#include <QWidget>

namespace zelvaro {

QString OptionsPage::Title() const {
  return LanguageManager::GetString(titleKey_);
}

bool OtherOptions::Create(QWidget* parent, const QRect& area) {
  page_ = new QWidget(parent);
  page_->setGeometry(area);
  return true;
}

void SwitchLanguage(const QString& id) {
  LanguageManager& languages = LanguageManager::Instance();
  const QString before = languages.GetCurrentLanguage();
  languages.SetLanguage(id);
  if (languages.GetCurrentLanguage() == before && before != id) return;
  // A window passes the event on to its children; owned windows (tool
  // windows with a parent) hear it from their owner.
  for (QWidget* window : QApplication::topLevelWidgets()) {
    if (window->parentWidget() != nullptr) continue;
    QEvent event(QEvent::LanguageChange);
    QApplication::sendEvent(window, &event);
  }
}

}  // namespace zelvaro
