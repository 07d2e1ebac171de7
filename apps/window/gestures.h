#pragma once

#include <QQuickItem>
#include <QString>
#include <Qt>

class QQuickWindow;

namespace veltrane::window {

/// The visible item of that name among those drawn below `root`; null when there is none. Items
/// that a view made for its delegates have no QObject parent there, so the search goes by what is
/// drawn.
QQuickItem* findItem(QQuickItem* root, const QString& name);
/// Scrolls a list on by a page, less what keeps the two together; false at its end.
bool scrollOn(QQuickItem& list);
void scrollToTop(QQuickItem& list);
/// A click in the middle of an item, as from a mouse.
void click(QQuickItem& item);
/// The same at a place in it.
void clickAt(QQuickItem& item, const QPointF& within);
/// The same on a button; false when it did not take the press, as under a list that still moves.
bool clickButton(QQuickItem& button);
/// A key pressed and released, as from a keyboard.
void pressKey(QQuickWindow& window, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
/// The text, key by key.
void type(QQuickWindow& window, const QString& text);

}  // namespace veltrane::window
