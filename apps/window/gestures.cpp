#include "apps/window/gestures.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QQuickWindow>
#include <algorithm>

namespace veltrane::window {
namespace {

void mouse(QQuickWindow& window, QEvent::Type type, const QPointF& at, Qt::MouseButtons held) {
  QMouseEvent event(type, at, window.mapToGlobal(at), Qt::LeftButton, held, Qt::NoModifier);
  QCoreApplication::sendEvent(&window, &event);
}

void key(QQuickWindow& window, int code, Qt::KeyboardModifiers modifiers, const QString& text) {
  QKeyEvent down(QEvent::KeyPress, code, modifiers, text);
  QCoreApplication::sendEvent(&window, &down);
  QKeyEvent up(QEvent::KeyRelease, code, modifiers, text);
  QCoreApplication::sendEvent(&window, &up);
}

/// Calls `whileDown` with the mouse button held there in the item.
template <typename WhileDown>
void clickWith(QQuickItem& item, const QPointF& within, WhileDown whileDown) {
  QQuickWindow& window = *item.window();
  const QPointF at = item.mapToScene(within);
  mouse(window, QEvent::MouseButtonPress, at, Qt::LeftButton);
  whileDown();
  mouse(window, QEvent::MouseButtonRelease, at, Qt::NoButton);
}

QPointF middleOf(const QQuickItem& item) {
  return {item.width() / 2, item.height() / 2};
}

constexpr double kOverlap = 60;

}  // namespace

QQuickItem* findItem(QQuickItem* root, const QString& name) {
  if (!root || !root->isVisible()) return nullptr;
  if (root->objectName() == name) return root;
  // What is in a browser is its own.
  if (root->objectName() == QLatin1String("webView")) return nullptr;
  for (QQuickItem* child : root->childItems()) {
    if (QQuickItem* found = findItem(child, name)) return found;
  }
  return nullptr;
}

bool scrollOn(QQuickItem& list) {
  const auto number = [&list](const char* name) { return list.property(name).toDouble(); };
  const double last =
      number("originY") + number("contentHeight") + number("bottomMargin") - list.height();
  const double now = number("contentY");
  if (now > last - 1) return false;
  list.setProperty("contentY", std::min(now + std::max(list.height() - kOverlap, 1.0), last));
  return true;
}

void scrollToTop(QQuickItem& list) {
  QMetaObject::invokeMethod(&list, "positionViewAtBeginning");
}

void click(QQuickItem& item) {
  clickAt(item, middleOf(item));
}

void clickAt(QQuickItem& item, const QPointF& within) {
  clickWith(item, within, [] {});
}

bool clickButton(QQuickItem& button) {
  bool taken = false;
  clickWith(button, middleOf(button), [&] { taken = button.property("pressed").toBool(); });
  return taken;
}

void pressKey(QQuickWindow& window, Qt::Key code, Qt::KeyboardModifiers modifiers) {
  key(window, code, modifiers, {});
}

void type(QQuickWindow& window, const QString& text) {
  // A code for a letter outside the plain ones does not matter; the text does.
  for (const char32_t point : text.toUcs4()) {
    key(window, Qt::Key_unknown, Qt::NoModifier, QString::fromUcs4(&point, 1));
  }
}

}  // namespace veltrane::window
