#pragma once

#include <QtQml/qqmlregistration.h>
#include <QBasicTimer>
#include <QColor>
#include <QQuickPaintedItem>
#include <array>

#include "veltrane/base/secret.h"

namespace veltrane::qtquick {

/// A line for a PIN or a passphrase. It keeps the characters in a place of its own that never moves
/// and is wiped, draws them by itself, as dots unless `revealed`, and hands them to nobody but
/// `secret()`: no text property, no undo, no copying, nothing that an assistive program could read.
///
/// Up to 1,024 characters (code points); what would not fit as a whole is not taken.
class SecretField : public QQuickPaintedItem {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(int length READ length NOTIFY edited)
  Q_PROPERTY(bool revealed MEMBER revealed_ NOTIFY lookChanged)
  /// At the right edge, for layouts from right to left.
  Q_PROPERTY(bool mirrored MEMBER mirrored_ NOTIFY lookChanged)
  Q_PROPERTY(int pixelSize MEMBER pixelSize_ NOTIFY lookChanged)
  Q_PROPERTY(QColor color MEMBER color_ NOTIFY lookChanged)
  Q_PROPERTY(QColor selectionColor MEMBER selectionColor_ NOTIFY lookChanged)
  /// An on-screen keyboard opens with its digits.
  Q_PROPERTY(bool digits MEMBER digits_ NOTIFY lookChanged)

 public:
  static constexpr int kMost = 1024;

  explicit SecretField(QQuickItem* parent = nullptr);
  ~SecretField() override;

  int length() const { return length_; }
  /// As UTF-8, composed, so that one passphrase is the same on all keyboards.
  Secret secret() const;
  bool equals(const SecretField& other) const;
  Q_INVOKABLE void wipe();

  void paint(QPainter* painter) override;
  QVariant inputMethodQuery(Qt::InputMethodQuery query) const override;

 signals:
  void edited();
  void lookChanged();

 protected:
  bool event(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void inputMethodEvent(QInputMethodEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;
  void timerEvent(QTimerEvent* event) override;
  void geometryChange(const QRectF& now, const QRectF& before) override;

 private:
  bool edit(const QKeyEvent& event);
  bool moveCaret(const QKeyEvent& event);
  bool erase(const QKeyEvent& event);
  void insert(const QString& text);
  void remove(int from, int to);
  void selectAll();
  /// The characters in a buffer of its own, for the caller to wipe.
  QString text() const;
  void changed();
  void place();

  double lineWidth() const;
  double xOf(int position) const;
  int positionAt(double x) const;
  double start() const;

  std::array<char32_t, kMost> characters_{};
  int length_ = 0;
  int caret_ = 0;
  bool allSelected_ = false;
  bool caretVisible_ = false;
  double scrolled_ = 0;
  QBasicTimer blinking_;

  bool revealed_ = false;
  bool mirrored_ = false;
  bool digits_ = false;
  int pixelSize_ = 16;
  QColor color_;
  QColor selectionColor_;
};

}  // namespace veltrane::qtquick
