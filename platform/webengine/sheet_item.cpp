#include "platform/webengine/sheet_item.h"

#include <QCoreApplication>
#include <QPointer>
#include <QQmlEngine>
#include <QTimer>
#include <chrono>
#include <utility>

#include "platform/webengine/browser_module.h"
#include "platform/webengine/vendor_page.h"
#include "veltrane/base/console.h"

namespace veltrane::webengine {
namespace {

/// Of the library's own words (platform/qtquick/words.h).
constexpr const char* kContext = "Veltrane.Flow";

// What a page says of its size is bounded; no vendor's message comes near.
constexpr qsizetype kLongestMessage = 65536;

QString toQString(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace

SheetItem::SheetItem(std::shared_ptr<WebSheet> sheet, QString modules)
    : sheet_(std::move(sheet)), modules_(std::move(modules)) {
  QQmlEngine::setObjectOwnership(this, QQmlEngine::CppOwnership);
  subscription_ = sheet_->changed.subscribe([this] { follow(); });
  follow();
}

std::unique_ptr<SheetItem> SheetItem::make(ViewController& controller, const QString& modules) {
  const auto* const screen = dynamic_cast<const SheetScreen*>(&controller);
  return screen ? std::make_unique<SheetItem>(screen->sheet(), modules) : nullptr;
}

void SheetItem::follow() {
  if (const auto& page = sheet_->page(); page && page != last_.lock()) {
    last_ = page;
    ++number_;
  }
  emit changed();
}

QString SheetItem::message() const {
  const auto trouble = sheet_->trouble();
  if (!trouble) return {};
  return QCoreApplication::translate(kContext, std::string(words(*trouble)).c_str());
}

QString SheetItem::hostPageText() const {
  return toQString(webengine::hostPageText());
}

QUrl SheetItem::hostPage() const {
  return sheet_->page() ? QUrl(toQString(sheet_->page()->hostPage)) : QUrl();
}

QStringList SheetItem::origins() const {
  QStringList all;
  if (!sheet_->page()) return all;
  for (const auto& each : sheet_->page()->origins) all.append(toQString(each));
  return all;
}

QString SheetItem::script() const {
  return sheet_->page() ? toQString(sheet_->page()->script) : QString();
}

QString SheetItem::tearDown() const {
  return sheet_->page() ? toQString(sheet_->page()->tearDown) : QString();
}

bool SheetItem::prepareBrowser(QObject* item) {
  QQmlEngine* const engine = qmlEngine(item);
  if (!engine || modules_.isEmpty()) return false;
  if (!canLockBrowserIn()) {
    console::print("There is no browser: the system does not let it lock itself in.");
    return false;
  }
  if (!engine->importPathList().contains(modules_)) engine->addImportPath(modules_);
  return true;
}

void SheetItem::close() {
  if (isClosing_ || tearDown().isEmpty()) return sheet_->close();
  isClosing_ = true;
  sheet_->prepareToClose();
  emit closing();
  QTimer::singleShot(sheet_->page()->farewell, this, [this] { sheet_->close(); });
}

void SheetItem::received(const QString& origin, const QString& text) {
  if (text.size() > kLongestMessage) return;
  if (isClosing_ && text == QLatin1String("veltrane ended")) return sheet_->close();
  if (text == QLatin1String("veltrane begun")) return sheet_->documentCame();
  sheet_->received(origin.toStdString(), text.toStdString());
}

void SheetItem::askForCamera(const QUrl& origin) {
  sheet_->askForCamera(origin.toString().toStdString(),
                       [self = QPointer(this), origin](bool allowed) {
                         if (self) emit self->cameraAnswered(origin, allowed);
                       });
}

}  // namespace veltrane::webengine
