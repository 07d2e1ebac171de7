#include "platform/qtquick/palette.h"

#include <algorithm>
#include <cmath>

namespace veltrane::qtquick {
namespace {

constexpr double kText = 4.5;
constexpr double kControl = 3.0;

struct Scheme {
  QColor background, text, muted, line, accent, onAccent;
};

const Scheme& light() {
  static const Scheme scheme{"#FFFFFF", "#12161C", "#5B6572", "#C7CDD6", "#1E5FD6", "#FFFFFF"};
  return scheme;
}

const Scheme& dark() {
  static const Scheme scheme{"#111418", "#ECEFF3", "#9AA5B1", "#3A424C", "#7FB0FF", "#0A1526"};
  return scheme;
}

double linear(double channel) {
  return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double luminance(const QColor& color) {
  return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
         0.0722 * linear(color.blueF());
}

/// `share` of `b` in `a`, rounded to what a screen can show.
QColor mix(const QColor& a, const QColor& b, double share) {
  const auto channel = [share](int x, int y) {
    return static_cast<int>(std::lround(x + (y - x) * share));
  };
  return QColor(channel(a.red(), b.red()), channel(a.green(), b.green()),
                channel(a.blue(), b.blue()));
}

QColor over(const QColor& color, const QColor& background) {
  return mix(background, color, color.alphaF());
}

QColor either(const QColor& wish, const QColor& standard) {
  return wish.isValid() ? wish : standard;
}

bool isLight(const QColor& background) {
  return contrast(background, Qt::black) >= contrast(background, Qt::white);
}

}  // namespace

double contrast(const QColor& a, const QColor& b) {
  const double x = luminance(a) + 0.05;
  const double y = luminance(b) + 0.05;
  return std::max(x, y) / std::min(x, y);
}

QColor readable(const QColor& color, const QColor& background, double ratio) {
  const QColor seen = over(color, background);
  const QColor end = isLight(background) ? Qt::black : Qt::white;
  constexpr int kSteps = 64;
  for (int step = 0; step < kSteps; ++step) {
    const QColor candidate = mix(seen, end, static_cast<double>(step) / kSteps);
    if (contrast(candidate, background) >= ratio) return candidate;
  }
  return end;
}

Palette Palette::derive(const PaletteWishes& wishes) {
  const Scheme& system = wishes.dark ? dark() : light();
  const QColor background = over(either(wishes.background, system.background), system.background);
  const Scheme& scheme = isLight(background) ? light() : dark();
  const bool plain = background == scheme.background && !wishes.text.isValid();

  Palette p;
  p.background = background;
  p.text = either(wishes.text, readable(scheme.text, background, kText));
  p.input = readable(p.text, background, kText);
  p.muted = readable(plain ? scheme.muted : mix(p.input, background, 0.3), background, kText);
  p.line = plain ? scheme.line : mix(p.input, background, 0.8);
  p.outline = readable(p.line, background, kControl);
  p.accent = over(either(wishes.accent, scheme.accent), background);
  p.onAccent = wishes.accent.isValid()
                   ? readable(isLight(p.accent) ? light().text : light().onAccent, p.accent, kText)
                   : scheme.onAccent;
  p.link = readable(p.accent, background, kText);
  p.focus = readable(p.accent, background, kControl);
  p.surface = isLight(background) ? background : mix(background, Qt::white, 0.06);
  p.deriveBar(wishes);
  return p;
}

void Palette::deriveBar(const PaletteWishes& wishes) {
  barBackground = over(either(wishes.barBackground, background), background);
  barTitle = either(wishes.barTint, readable(input, barBackground, kText));
  barControl = either(wishes.barTint, readable(accent, barBackground, kText));
  barLine = barBackground == background ? line : mix(barBackground, barTitle, 0.2);
}

}  // namespace veltrane::qtquick
