#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QPointer>
#include <QQmlParserStatus>
#include <QQuickItem>
#include <QString>
#include <chrono>
#include <memory>

namespace veltrane::qtquick {

/// Has assistive programs say a text that changes by itself: at once when nothing has been said for
/// a while, or when it is urgent, else when that while is over; and again as long as it holds. What
/// has changed in the meantime is left out.
class SpokenText : public QObject, public QQmlParserStatus {
  Q_OBJECT
  Q_INTERFACES(QQmlParserStatus)
  QML_ELEMENT
  /// Empty says nothing.
  Q_PROPERTY(QString text READ text WRITE setText NOTIFY textChanged)
  /// There will be no time to say the text later.
  Q_PROPERTY(bool urgent READ isUrgent WRITE setUrgent NOTIFY urgentChanged)
  /// The item whose accessible name the text is.
  Q_PROPERTY(QQuickItem* speaker MEMBER speaker_ NOTIFY speakerChanged)

 public:
  /// Between two texts.
  static constexpr std::chrono::milliseconds kPause{3'000};
  /// Until the same is said again.
  static constexpr std::chrono::milliseconds kRepeat{9'000};

  explicit SpokenText(QObject* parent = nullptr);
  ~SpokenText() override;

  const QString& text() const { return text_; }
  void setText(const QString& text);
  bool isUrgent() const { return isUrgent_; }
  void setUrgent(bool urgent);

  void classBegin() override { isMade_ = false; }
  void componentComplete() override;

 signals:
  void textChanged();
  void urgentChanged();
  void speakerChanged();
  /// This has been said.
  void spoken(const QString& text);

 private:
  void speak();
  void after(std::chrono::milliseconds delay, void (SpokenText::*what)());
  void pauseIsOver();

  QString text_;
  QPointer<QQuickItem> speaker_;
  /// Not before QML has said everything about it.
  bool isMade_ = true;
  bool isPausing_ = false;
  bool isLate_ = false;
  bool isUrgent_ = false;
  int turn_ = 0;
  /// Gone with this object, so that nothing comes of what was to be done later.
  std::shared_ptr<SpokenText*> self_;
};

}  // namespace veltrane::qtquick
