#pragma once

#include <QQuickItem>
#include <QString>
#include <Qt>

class QQuickWindow;

namespace veltrane::window {

/// A click in the middle of an item, as from a mouse.
void click(QQuickItem& item);
/// The same on a button; false when it did not take the press, as under a list that still moves.
bool clickButton(QQuickItem& button);
/// A key pressed and released, as from a keyboard.
void pressKey(QQuickWindow& window, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
/// The text, key by key.
void type(QQuickWindow& window, const QString& text);

}  // namespace veltrane::window
