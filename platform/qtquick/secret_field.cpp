#include "platform/qtquick/secret_field.h"

#include <QClipboard>
#include <QCursor>
#include <QGuiApplication>
#include <QInputMethod>
#include <QPainter>
#include <QStyleHints>
#include <QTextLayout>
#include <algorithm>
#include <cmath>

namespace veltrane::qtquick {
namespace {

/// Shares of the text's size.
constexpr double kDotStep = 0.68;
constexpr double kDotRadius = 0.19;
constexpr double kCaretWidth = 2;

/// Also what others share of it: Qt's text classes hold the very same buffer.
void overwrite(const QString& text) {
  volatile auto* place = const_cast<char16_t*>(reinterpret_cast<const char16_t*>(text.utf16()));
  for (qsizetype i = 0; i < text.size(); ++i) place[i] = u'\0';
}

/// Lays a text out in one line for as long as `use` takes.
template <typename Use>
auto withLine(const QString& text, int pixelSize, Use use) {
  QFont font = QGuiApplication::font();
  font.setPixelSize(pixelSize);
  QTextLayout layout(text, font);
  layout.setCacheEnabled(false);
  layout.beginLayout();
  QTextLine line = layout.createLine();
  layout.endLayout();
  return use(layout, line);
}

bool isText(const QKeyEvent& event) {
  const QString text = event.text();
  if (text.isEmpty() || (event.modifiers() & ~Qt::ShiftModifier) == Qt::ControlModifier) {
    return false;
  }
  return text.front().isPrint() || text.front().isSurrogate();
}

}  // namespace

SecretField::SecretField(QQuickItem* parent) : QQuickPaintedItem(parent) {
  setFlag(ItemAcceptsInputMethod);
  setAcceptedMouseButtons(Qt::LeftButton);
  setCursor(QCursor(Qt::IBeamCursor));
  connect(this, &SecretField::lookChanged, this, &SecretField::place);
}

SecretField::~SecretField() {
  wipe();
}

QString SecretField::text() const {
  QString text;
  text.reserve(2 * length_);
  for (int i = 0; i < length_; ++i) text.append(QChar::fromUcs4(characters_[i]));
  return text;
}

Secret SecretField::secret() const {
  QString text = this->text();
  if (std::any_of(text.cbegin(), text.cend(), [](QChar c) { return c.unicode() > 0x7F; })) {
    QString composed = text.normalized(QString::NormalizationForm_C);
    // What is composed already comes back in the same buffer.
    composed.detach();
    overwrite(text);
    text = composed;
  }
  QByteArray utf8 = text.toUtf8();
  overwrite(text);
  Secret secret(std::string_view(utf8.constData(), static_cast<std::size_t>(utf8.size())));
  volatile char* byte = utf8.data();
  for (qsizetype i = 0; i < utf8.size(); ++i) byte[i] = '\0';
  return secret;
}

bool SecretField::equals(const SecretField& other) const {
  return std::equal(characters_.begin(), characters_.begin() + length_, other.characters_.begin(),
                    other.characters_.begin() + other.length_);
}

void SecretField::wipe() {
  volatile char32_t* place = characters_.data();
  for (int i = 0; i < kMost; ++i) place[i] = U'\0';
  const bool had = length_ > 0;
  length_ = caret_ = 0;
  allSelected_ = false;
  if (had) changed();
}

bool SecretField::event(QEvent* event) {
  // A shortcut of the host's must not take what is typed here.
  if (event->type() == QEvent::ShortcutOverride) {
    const auto& key = static_cast<QKeyEvent&>(*event);
    event->setAccepted(isText(key) || key.matches(QKeySequence::Paste) ||
                       key.matches(QKeySequence::SelectAll) || key.key() == Qt::Key_Delete);
    return event->isAccepted();
  }
  return QQuickPaintedItem::event(event);
}

void SecretField::keyPressEvent(QKeyEvent* event) {
  if (!edit(*event)) event->ignore();
}

bool SecretField::edit(const QKeyEvent& event) {
  if (event.matches(QKeySequence::SelectAll)) {
    selectAll();
  } else if (event.matches(QKeySequence::Paste)) {
    insert(QGuiApplication::clipboard()->text());
  } else if (isText(event)) {
    insert(event.text());
  } else {
    return erase(event) || moveCaret(event);
  }
  return true;
}

bool SecretField::erase(const QKeyEvent& event) {
  const bool whole = event.modifiers() & Qt::ControlModifier;
  if (event.key() == Qt::Key_Backspace) {
    remove(whole || allSelected_ ? 0 : caret_ - 1, allSelected_ ? length_ : caret_);
  } else if (event.key() == Qt::Key_Delete) {
    remove(allSelected_ ? 0 : caret_, whole || allSelected_ ? length_ : caret_ + 1);
  } else {
    return false;
  }
  return true;
}

bool SecretField::moveCaret(const QKeyEvent& event) {
  int to = caret_;
  switch (event.key()) {
    case Qt::Key_Left:
      to = caret_ - 1;
      break;
    case Qt::Key_Right:
      to = caret_ + 1;
      break;
    case Qt::Key_Home:
      to = 0;
      break;
    case Qt::Key_End:
      to = length_;
      break;
    default:
      return false;
  }
  caret_ = std::clamp(to, 0, length_);
  allSelected_ = false;
  place();
  return true;
}

void SecretField::insert(const QString& text) {
  auto points = text.toUcs4();
  points.removeIf([](uint point) { return QChar::category(point) == QChar::Other_Control; });
  const int kept = allSelected_ ? 0 : length_;
  const auto count = static_cast<int>(points.size());
  if (count > 0 && kept + count <= kMost) {
    if (allSelected_) remove(0, length_);
    const auto at = characters_.begin() + caret_;
    std::copy_backward(at, characters_.begin() + length_, characters_.begin() + length_ + count);
    std::copy(points.cbegin(), points.cend(), at);
    length_ += count;
    caret_ += count;
    changed();
  }
  points.fill(0);
}

void SecretField::remove(int from, int to) {
  from = std::max(from, 0);
  to = std::min(to, length_);
  if (from >= to) return;
  const auto end = characters_.begin() + length_;
  const auto rest = std::copy(characters_.begin() + to, end, characters_.begin() + from);
  std::fill(rest, end, U'\0');
  length_ -= to - from;
  caret_ = from;
  allSelected_ = false;
  changed();
}

void SecretField::selectAll() {
  allSelected_ = length_ > 0;
  caret_ = length_;
  place();
}

void SecretField::changed() {
  place();
  emit edited();
}

// Keeps the caret in sight.
void SecretField::place() {
  const double room = width() - kCaretWidth;
  const double caret = xOf(caret_);
  scrolled_ = std::clamp(scrolled_, caret - std::max(room, 0.0), caret);
  scrolled_ = std::clamp(scrolled_, 0.0, std::max(0.0, lineWidth() - room));
  if (hasActiveFocus()) {
    caretVisible_ = true;
    updateInputMethod(Qt::ImQueryInput);
  }
  update();
}

double SecretField::lineWidth() const {
  return xOf(length_);
}

double SecretField::xOf(int position) const {
  if (!revealed_) return position * kDotStep * pixelSize_;
  const auto before = characters_.begin() + position;
  const auto pairs = std::count_if(characters_.begin(), before, QChar::requiresSurrogates);
  const QString all = text();
  const double x = withLine(all, pixelSize_, [&](QTextLayout&, QTextLine& line) {
    return line.cursorToX(position + static_cast<int>(pairs));
  });
  overwrite(all);
  return x;
}

int SecretField::positionAt(double x) const {
  if (!revealed_) {
    return std::clamp(static_cast<int>(std::lround(x / kDotStep / pixelSize_)), 0, length_);
  }
  const QString all = text();
  const int unit =
      withLine(all, pixelSize_, [&](QTextLayout&, QTextLine& line) { return line.xToCursor(x); });
  const auto pairs =
      std::count_if(all.cbegin(), all.cbegin() + unit, [](QChar c) { return c.isLowSurrogate(); });
  overwrite(all);
  return unit - static_cast<int>(pairs);
}

double SecretField::start() const {
  const double room = width() - kCaretWidth;
  const double line = lineWidth();
  return mirrored_ && line < room ? room - line : -scrolled_;
}

void SecretField::paint(QPainter* painter) {
  painter->setRenderHint(QPainter::Antialiasing);
  const double left = start();
  const double middle = height() / 2;
  if (allSelected_) {
    painter->fillRect(QRectF(left, middle - 0.7 * pixelSize_, lineWidth(), 1.4 * pixelSize_),
                      selectionColor_);
  }
  painter->setPen(color_);
  if (revealed_) {
    const QString all = text();
    withLine(all, pixelSize_, [&](QTextLayout& layout, QTextLine& line) {
      layout.draw(painter, {left, middle - line.height() / 2});
    });
    overwrite(all);
  } else {
    painter->setPen(Qt::NoPen);
    painter->setBrush(color_);
    for (int i = 0; i < length_; ++i) {
      const double radius = kDotRadius * pixelSize_;
      painter->drawEllipse(QPointF(left + (i + 0.5) * kDotStep * pixelSize_, middle), radius,
                           radius);
    }
  }
  if (!hasActiveFocus() || !caretVisible_) return;
  painter->fillRect(
      QRectF(left + xOf(caret_), middle - 0.6 * pixelSize_, kCaretWidth, 1.2 * pixelSize_), color_);
}

QVariant SecretField::inputMethodQuery(Qt::InputMethodQuery query) const {
  switch (query) {
    case Qt::ImEnabled:
      return true;
    case Qt::ImHints:
      return static_cast<int>(Qt::ImhHiddenText | Qt::ImhSensitiveData | Qt::ImhNoPredictiveText |
                              Qt::ImhNoAutoUppercase |
                              (digits_ ? Qt::ImhPreferNumbers : Qt::ImhNone));
    case Qt::ImCursorRectangle:
      return QRectF(start() + xOf(caret_), 0, kCaretWidth, height());
    case Qt::ImSurroundingText:
    case Qt::ImTextBeforeCursor:
    case Qt::ImTextAfterCursor:
    case Qt::ImCurrentSelection:
      return QString();
    default:
      return QQuickPaintedItem::inputMethodQuery(query);
  }
}

void SecretField::inputMethodEvent(QInputMethodEvent* event) {
  insert(event->commitString());
}

void SecretField::mousePressEvent(QMouseEvent* event) {
  forceActiveFocus(Qt::MouseFocusReason);
  QGuiApplication::inputMethod()->show();
  caret_ = positionAt(event->position().x() - start());
  allSelected_ = false;
  place();
}

void SecretField::mouseDoubleClickEvent(QMouseEvent* /*event*/) {
  selectAll();
}

void SecretField::focusInEvent(QFocusEvent* event) {
  QQuickPaintedItem::focusInEvent(event);
  const int flash = QGuiApplication::styleHints()->cursorFlashTime();
  if (flash > 0) blinking_.start(flash / 2, this);
  place();
}

void SecretField::focusOutEvent(QFocusEvent* event) {
  QQuickPaintedItem::focusOutEvent(event);
  blinking_.stop();
  update();
}

void SecretField::timerEvent(QTimerEvent* event) {
  if (event->timerId() != blinking_.timerId()) return QQuickPaintedItem::timerEvent(event);
  caretVisible_ = !caretVisible_;
  update();
}

void SecretField::geometryChange(const QRectF& now, const QRectF& before) {
  QQuickPaintedItem::geometryChange(now, before);
  place();
}

}  // namespace veltrane::qtquick
