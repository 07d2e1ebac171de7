#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <memory>

#include "platform/webengine/web_sheet.h"
#include "veltrane/toolkit/view_controller.h"

namespace veltrane::webengine {

/// A sheet as QML sees it.
class SheetItem final : public QObject {
  Q_OBJECT
  QML_NAMED_ELEMENT(SheetItem)
  QML_UNCREATABLE("Controllers have one")
  Q_PROPERTY(State state READ state NOTIFY changed)
  /// What stands in the way, translated; empty while nothing does.
  Q_PROPERTY(QString message READ message NOTIFY changed)
  /// What stands in the way may have passed when the user tries again.
  Q_PROPERTY(bool canTryAgain READ canTryAgain NOTIFY changed)
  /// Counts the pages that have been asked for; 0 while there is none to load or to show.
  Q_PROPERTY(int page READ page NOTIFY changed)
  // Of that page.
  Q_PROPERTY(QString hostPageText READ hostPageText CONSTANT)
  Q_PROPERTY(QUrl hostPage READ hostPage NOTIFY changed)
  Q_PROPERTY(QStringList origins READ origins NOTIFY changed)
  Q_PROPERTY(QString script READ script NOTIFY changed)
  Q_PROPERTY(QString tearDown READ tearDown NOTIFY changed)

 public:
  enum class State { Loading, Shown, Trouble, Ended };
  Q_ENUM(State)

  /// `modules`: what `findBrowserModules` has found.
  SheetItem(std::shared_ptr<WebSheet> sheet, QString modules);

  /// Of the controllers that `makeNetverify` and its like make; null for any other.
  static std::unique_ptr<SheetItem> make(ViewController& controller, const QString& modules);

  State state() const { return static_cast<State>(sheet_->state()); }
  QString message() const;
  bool canTryAgain() const { return sheet_->canTryAgain(); }
  int page() const { return sheet_->page() ? number_ : 0; }
  QString hostPageText() const;
  QUrl hostPage() const;
  QStringList origins() const;
  QString script() const;
  QString tearDown() const;

  /// Readies the engine of `item` for the browser. False when it cannot have one.
  Q_INVOKABLE bool prepareBrowser(QObject* item);
  /// The user's. A page that has something to end gets a moment for it; a second close does not
  /// wait.
  Q_INVOKABLE void close();
  Q_INVOKABLE void tryAgain() { sheet_->tryAgain(); }
  Q_INVOKABLE void received(const QString& origin, const QString& text);
  Q_INVOKABLE void askForCamera(const QUrl& origin);
  Q_INVOKABLE void documentMayLeave() { sheet_->documentMayLeave(); }
  Q_INVOKABLE void browserMissing() { sheet_->fail(WebTrouble::noBrowser); }
  Q_INVOKABLE void browserStopped() { sheet_->fail(WebTrouble::stopped); }

 signals:
  void changed();
  /// The page is to tear down what it has begun.
  void closing();
  void cameraAnswered(const QUrl& origin, bool allowed);

 private:
  void follow();

  std::shared_ptr<WebSheet> sheet_;
  const QString modules_;
  std::weak_ptr<const WebPage> last_;
  int number_ = 0;
  bool isClosing_ = false;
  Subscription subscription_;
};

}  // namespace veltrane::webengine
