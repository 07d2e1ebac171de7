#include "platform/qtquick/palette.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace veltrane::qtquick {
namespace {

std::vector<QColor> manyColours() {
  std::vector<QColor> colours;
  for (int red = 0; red <= 255; red += 51) {
    for (int green = 0; green <= 255; green += 51) {
      for (int blue = 0; blue <= 255; blue += 51) colours.emplace_back(red, green, blue);
    }
  }
  return colours;
}

std::string name(const QColor& color) {
  return color.name(QColor::HexArgb).toStdString();
}

void expectContrasts(const Palette& p, const std::string& of);

/// An alert wears the colours of the screen below it.
void expectContrastsOfAlert(const Palette& below, const std::string& of) {
  PaletteWishes wishes;
  wishes.background = below.surface;
  wishes.text = below.input;
  wishes.accent = below.accent;
  expectContrasts(Palette::derive(wishes), "an alert over " + of);
}

void expectContrasts(const Palette& p, const std::string& of) {
  const auto text = [&](const QColor& color, const QColor& behind, const char* what) {
    EXPECT_GE(contrast(color, behind), 4.5) << what << ' ' << name(color) << " of " << of;
  };
  text(p.input, p.background, "input");
  text(p.muted, p.background, "muted");
  text(p.link, p.background, "link");
  text(p.onAccent, p.accent, "on accent");
  EXPECT_GE(contrast(p.outline, p.background), 3.0) << "outline of " << of;
  EXPECT_GE(contrast(p.focus, p.background), 3.0) << "focus of " << of;
}

TEST(Palette, OursAreAsDesignedAndReadable) {
  const Palette light = Palette::derive({});
  EXPECT_EQ(light.background, QColor("#FFFFFF"));
  EXPECT_EQ(light.text, QColor("#12161C"));
  EXPECT_EQ(light.muted, QColor("#5B6572"));
  EXPECT_EQ(light.line, QColor("#C7CDD6"));
  EXPECT_EQ(light.accent, QColor("#1E5FD6"));
  expectContrasts(light, "light");
  PaletteWishes wishes;
  wishes.dark = true;
  const Palette dark = Palette::derive(wishes);
  EXPECT_EQ(dark.background, QColor("#111418"));
  EXPECT_EQ(dark.text, QColor("#ECEFF3"));
  EXPECT_EQ(dark.accent, QColor("#7FB0FF"));
  EXPECT_EQ(dark.onAccent, QColor("#0A1526"));
  expectContrasts(dark, "dark");
}

TEST(Palette, IsReadableWhateverAServerAsksFor) {
  const auto colours = manyColours();
  std::mt19937 random(7);
  std::uniform_int_distribution<std::size_t> pick(0, colours.size() - 1);
  for (const QColor& background : colours) {
    for (int i = 0; i < 6; ++i) {
      PaletteWishes wishes;
      wishes.background = background;
      wishes.text = i == 0 ? QColor() : colours[pick(random)];
      wishes.accent = i == 1 ? QColor() : colours[pick(random)];
      wishes.barBackground = i == 2 ? QColor() : colours[pick(random)];
      wishes.dark = i % 2 == 0;
      const Palette p = Palette::derive(wishes);
      expectContrasts(p, name(background) + " with " + name(wishes.accent));
      expectContrastsOfAlert(p, name(background));
      EXPECT_GE(contrast(p.barTitle, p.barBackground), 4.5);
      EXPECT_GE(contrast(p.barControl, p.barBackground), 4.5);
      EXPECT_EQ(p.background, background);
      EXPECT_TRUE(!wishes.text.isValid() || p.text == wishes.text);
      EXPECT_TRUE(!wishes.accent.isValid() || p.accent == wishes.accent);
    }
  }
}

TEST(Palette, TranslucentColoursCountAsTheyLook) {
  PaletteWishes wishes;
  wishes.background = QColor(0, 0, 0, 0);
  EXPECT_EQ(Palette::derive(wishes).background, QColor("#FFFFFF"));
  const QColor faint(0, 0, 0, 20);
  EXPECT_GE(contrast(readable(faint, Qt::white, 4.5), Qt::white), 4.5);
}

TEST(Palette, ContrastIsThatOfTheGuidelines) {
  EXPECT_NEAR(contrast(Qt::black, Qt::white), 21, 1e-9);
  EXPECT_NEAR(contrast(QColor("#777777"), Qt::white), 4.48, 0.01);
  EXPECT_EQ(readable(QColor("#595959"), Qt::white, 4.5), QColor("#595959"));
}

}  // namespace
}  // namespace veltrane::qtquick
