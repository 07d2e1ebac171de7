#include "platform/qtquick/cell_items.h"

#include <algorithm>
#include <array>
#include <utility>

#include "platform/qtquick/convert.h"
#include "platform/qtquick/words.h"

namespace veltrane::qtquick {
namespace {

QColor either(const std::optional<Color>& color, const QColor& standard) {
  return color ? toQColor(*color) : standard;
}

Qt::InputMethodHints hintsFor(KeyboardType type) {
  switch (type) {
    case KeyboardType::asciiCapable:
      return Qt::ImhLatinOnly;
    case KeyboardType::numbersAndPunctuation:
      return Qt::ImhPreferNumbers | Qt::ImhNoPredictiveText;
    case KeyboardType::url:
      return Qt::ImhUrlCharactersOnly | Qt::ImhNoPredictiveText | Qt::ImhNoAutoUppercase;
    case KeyboardType::numberPad:
    case KeyboardType::asciiCapableNumberPad:
      return Qt::ImhDigitsOnly;
    case KeyboardType::phonePad:
      return Qt::ImhDialableCharactersOnly;
    case KeyboardType::emailAddress:
      return Qt::ImhEmailCharactersOnly | Qt::ImhNoPredictiveText | Qt::ImhNoAutoUppercase;
    case KeyboardType::decimalPad:
      return Qt::ImhFormattedNumbersOnly;
  }
  return Qt::ImhNone;
}

struct CellKind {
  std::string_view className;
  std::unique_ptr<Cell> (*make)(Cell::PaletteSource);
  bool takesFocus;
};

template <typename Item>
std::unique_ptr<Cell> make(Cell::PaletteSource palette) {
  return std::make_unique<Item>(std::move(palette));
}

/// Room for a picture when the document names none; a code in it can be scanned from an arm's
/// length.
constexpr double kPictureHeight = 200;
/// And for one of a screen's own icons, which are small.
constexpr double kIconHeight = 120;

constexpr std::array<CellKind, 7> kKinds = {{
    {"LabelTableViewCell", make<LabelCell>, false},
    {"ImageTableViewCell", make<ImageCell>, false},
    {"ButtonTableViewCell", make<ButtonCell>, true},
    {"TextFieldTableViewCell", make<TextFieldCell>, true},
    {"ToggleSwitchTableViewCell", make<ToggleSwitchCell>, true},
    {"DropdownTableViewCell", make<DropdownCell>, true},
    {"MFATableViewCell", make<MethodCell>, true},
}};

const CellKind* kindOf(std::string_view className) {
  const auto found = std::find_if(kKinds.begin(), kKinds.end(), [&](const CellKind& kind) {
    return kind.className == className;
  });
  return found == kKinds.end() ? nullptr : found;
}

}  // namespace

void Cell::attach(std::shared_ptr<TableViewCell> cell) {
  const bool again = cell_ != nullptr;
  cell_ = std::move(cell);
  // A cell starts as one that is seen.
  if (again && delegates_ == 0) cell_->didEndDisplaying();
  attached_ = true;
  subscription_ = cell_->changed.subscribe([this] { emit changed(); });
  emit changed();
}

void Cell::detach() {
  subscription_.reset();
  attached_ = false;
}

void Cell::appear() {
  if (++delegates_ == 1) cell_->willDisplay();
}

void Cell::disappear() {
  if (--delegates_ == 0) cell_->didEndDisplaying();
}

QColor Cell::textColor(const Label& label) const {
  return either(label.textColor, palette().text);
}

QString LabelCell::text() const {
  return toQString(label().text);
}
QColor LabelCell::color() const {
  return textColor(label());
}
double LabelCell::fontSize() const {
  return label().font.size;
}
bool LabelCell::isBold() const {
  return label().font.bold;
}
QString LabelCell::alignment() const {
  if (!label().alignment) return {};
  constexpr std::array kWords = {"left", "center", "right"};
  return QString::fromLatin1(kWords.at(static_cast<std::size_t>(*label().alignment)));
}

double ImageCell::height() const {
  const auto& cell = as<ImageTableViewCell>();
  if (!cell.hasSource()) return 0;
  const bool isIcon = cell.kind == CellValueKind::pngURLImage;
  return std::max(0.0, cell.imageHeightConstraint.value_or(isIcon ? kIconHeight : kPictureHeight));
}
PictureValue ImageCell::picture() const {
  return PictureValue(as<ImageTableViewCell>().icon);
}

QString MethodCell::title() const {
  return toQString(row().titleLabel.text);
}
QColor MethodCell::titleColor() const {
  return textColor(row().titleLabel);
}
QString MethodCell::subTitle() const {
  return toQString(row().subTitleLabel.text);
}
QColor MethodCell::subTitleColor() const {
  return either(row().subTitleLabel.textColor, palette().muted);
}
PictureValue MethodCell::icon() const {
  return PictureValue(row().iconImage);
}

QString ButtonCell::title() const {
  return toQString(button().title);
}
QColor ButtonCell::titleColor() const {
  return either(button().titleColor, palette().onAccent);
}
QColor ButtonCell::background() const {
  return either(button().backgroundColor, palette().accent);
}
double ButtonCell::radius() const {
  return button().cornerRadius;
}
void ButtonCell::press() {
  whileAttached<ButtonTableViewCell>([](ButtonTableViewCell& cell) { cell.buttonPressed(); });
}

QString TextFieldCell::caption() const {
  return toQString(as<TextFieldTableViewCell>().displayNameLabel.text);
}
QColor TextFieldCell::captionColor() const {
  return textColor(as<TextFieldTableViewCell>().displayNameLabel);
}
QString TextFieldCell::text() const {
  return toQString(field().text);
}
QString TextFieldCell::placeholder() const {
  return toQString(field().placeholder);
}
bool TextFieldCell::isSecure() const {
  return field().isSecureTextEntry;
}
int TextFieldCell::inputHints() const {
  auto hints = field().keyboardType ? hintsFor(*field().keyboardType) : Qt::ImhNone;
  // What is typed here must not reach a keyboard's dictionary, shown in clear or not.
  if (isSecure()) {
    hints |=
        Qt::ImhSensitiveData | Qt::ImhHiddenText | Qt::ImhNoPredictiveText | Qt::ImhNoAutoUppercase;
  }
  return static_cast<int>(hints);
}
void TextFieldCell::edit(const QString& text) {
  whileAttached<TextFieldTableViewCell>(
      [&](TextFieldTableViewCell& cell) { cell.textFieldDidChange(text.toStdString()); });
}

QString ToggleSwitchCell::caption() const {
  return toQString(row().label.text);
}
QColor ToggleSwitchCell::captionColor() const {
  return textColor(row().label);
}
QColor ToggleSwitchCell::track() const {
  if (!isOn()) return palette().outline;
  return either(row().toggleSwitch.onTintColor, palette().accent);
}
QColor ToggleSwitchCell::knob() const {
  constexpr double kTellsApart = 3;
  return contrast(Qt::white, track()) >= kTellsApart ? QColor(Qt::white) : QColor("#0A1526");
}
bool ToggleSwitchCell::isOn() const {
  return row().toggleSwitch.isOn;
}
void ToggleSwitchCell::toggle() {
  whileAttached<ToggleSwitchTableViewCell>(
      [](ToggleSwitchTableViewCell& cell) { cell.switchValueChanged(!cell.toggleSwitch.isOn); });
}

QString DropdownCell::caption() const {
  return toQString(row().dropdownLabel.text);
}
QColor DropdownCell::captionColor() const {
  return textColor(row().dropdownLabel);
}
QString DropdownCell::title() const {
  const std::string& title = row().dropdownValueButton.title;
  return hasChoice() ? toQString(title) : translated(title);
}
bool DropdownCell::hasChoice() const {
  return row().hasChoice;
}
QColor DropdownCell::borderColor() const {
  return either(row().dropdownValueButton.borderColor, palette().outline);
}
double DropdownCell::borderWidth() const {
  return row().dropdownValueButton.borderWidth;
}
double DropdownCell::radius() const {
  return row().dropdownValueButton.cornerRadius;
}
void DropdownCell::open() {
  whileAttached<DropdownTableViewCell>(
      [](DropdownTableViewCell& cell) { cell.dropdownButtonPressed(); });
}

std::unique_ptr<Cell> makeCell(std::string_view className, Cell::PaletteSource palette) {
  const CellKind* kind = kindOf(className);
  return kind ? kind->make(std::move(palette)) : make<Cell>(std::move(palette));
}

bool takesFocus(std::string_view className) {
  const CellKind* kind = kindOf(className);
  return kind && kind->takesFocus;
}

}  // namespace veltrane::qtquick
