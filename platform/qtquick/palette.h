#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QObject>

namespace veltrane::qtquick {

/// Contrast of two opaque colours as WCAG 2 defines it, from 1 to 21.
double contrast(const QColor& a, const QColor& b);

/// `color` itself when it has `ratio` against `background`, otherwise the nearest mixture of it
/// with black or white that has. For ratios up to 4.5 there always is one. Translucent colours are
/// taken as they look on the background.
QColor readable(const QColor& color, const QColor& background, double ratio);

/// What a theme or a document asks for; invalid colours ask for nothing.
struct PaletteWishes {
  QColor background;
  QColor text;
  QColor accent;
  QColor barBackground;
  QColor barTint;
  /// The system asks for dark colours.
  bool dark = false;

  friend bool operator==(const PaletteWishes&, const PaletteWishes&) = default;
};

/// The colours of one screen. Wishes are drawn as they are; everything else is derived so that text
/// has a contrast of at least 4.5 : 1 to what is behind it, and lines of controls 3 : 1.
struct Palette {
  Q_GADGET
  QML_ANONYMOUS
  Q_PROPERTY(QColor background MEMBER background)
  Q_PROPERTY(QColor text MEMBER text)
  Q_PROPERTY(QColor input MEMBER input)
  Q_PROPERTY(QColor muted MEMBER muted)
  Q_PROPERTY(QColor line MEMBER line)
  Q_PROPERTY(QColor outline MEMBER outline)
  Q_PROPERTY(QColor accent MEMBER accent)
  Q_PROPERTY(QColor onAccent MEMBER onAccent)
  Q_PROPERTY(QColor link MEMBER link)
  Q_PROPERTY(QColor focus MEMBER focus)
  Q_PROPERTY(QColor barBackground MEMBER barBackground)
  Q_PROPERTY(QColor barTitle MEMBER barTitle)
  Q_PROPERTY(QColor barControl MEMBER barControl)
  Q_PROPERTY(QColor barLine MEMBER barLine)

 public:
  static Palette derive(const PaletteWishes& wishes);

  QColor background;
  QColor text;     // as wished
  QColor input;    // text in fields and alerts: as wished if that can be read
  QColor muted;    // placeholders, hints
  QColor line;     // hairlines that carry no meaning
  QColor outline;  // borders of controls
  QColor accent;   // filled controls
  QColor onAccent;
  QColor link;     // text in the accent
  QColor focus;    // rings and borders in the accent
  QColor surface;  // what alerts and sheets have for a background
  QColor barBackground;
  QColor barTitle;
  QColor barControl;
  QColor barLine;

 private:
  void deriveBar(const PaletteWishes& wishes);
};

}  // namespace veltrane::qtquick
