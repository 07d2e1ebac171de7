#include "tests/qtquick/front_end.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTest>

namespace veltrane::qtquick::test {
namespace {

constexpr int kPatience = 10'000;

}  // namespace

std::vector<QQuickItem*> visibleItems(QQuickItem* root) {
  if (!root || !root->isVisible()) return {};
  std::vector<QQuickItem*> found = {root};
  for (QQuickItem* child : root->childItems()) {
    const auto below = visibleItems(child);
    found.insert(found.end(), below.begin(), below.end());
  }
  return found;
}

QRectF place(const QQuickItem* item) {
  return item->mapRectToScene({0, 0, item->width(), item->height()});
}

FrontEnd::FrontEnd() {
  window_.resize(390, 844);
  window_.show();
  window_.requestActivate();
  stage().setStill(true);
  waitFor([this] { return window_.isActive(); });
}

FrontEnd::~FrontEnd() {
  if (const auto flow = presenter_.hostViewController()->presentedViewController()) {
    flow->dismiss(false);
  }
  settle();
}

void FrontEnd::waitFor(const std::function<bool()>& condition) {
  QElapsedTimer time;
  time.start();
  while (!condition() && time.elapsed() < kPatience) {
    platform_.mainQueue->run();
    QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
  }
  ASSERT_TRUE(condition()) << "waited in vain";
}

void FrontEnd::settle() {
  platform_.mainQueue->run();
  // Posted events first, then what they queued; a frame lays the rows out.
  for (int round = 0; round < 3; ++round) {
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    platform_.mainQueue->run();
    window_.grabWindow();
  }
  waitFor([this] { return stage().isSettled(); });
}

void FrontEnd::open(const std::string& flowDocument, const std::optional<VTTheme>& theme) {
  flow_ = VTFlow::make({.vtApiKey = "key",
                        .rpId = "rp",
                        .origin = "origin",
                        .companyId = "co",
                        .responseTimeOut = 60,
                        .theme = theme,
                        .isSandbox = false});
  flow_->delegate = delegate_;
  flow_->runFlow(
      VTFlow::ByFlowId{.flowId = "fl", .fromViewController = presenter_.hostViewController()});
  settle();
  platform_.transport->answer(200, flowDocument);
  settle();
}

void FrontEnd::openForm(const std::vector<std::string>& components, const std::string& more) {
  std::string list;
  for (const auto& each : components) list += (list.empty() ? "" : ",") + each;
  const auto properties = R"("screenComponentList":{"value":[)" + list + "]}," + kButton + "," +
                          kPostEvent + (more.empty() ? "" : "," + more);
  open(document(config("form", properties), {view("ScreenTemplate1", "form")}));
}

void FrontEnd::click(QQuickItem* item) {
  ASSERT_NE(item, nullptr);
  QTest::mouseClick(&window_, Qt::LeftButton, {}, place(item).center().toPoint());
  settle();
}

void FrontEnd::press(Qt::Key key, Qt::KeyboardModifiers modifiers) {
  QTest::keyClick(&window_, key, modifiers);
  settle();
}

void FrontEnd::type(const QString& text) {
  for (const QChar letter : text) QTest::keyClick(&window_, letter.toLatin1());
  settle();
}

TemplateScreenItem* FrontEnd::screen() {
  return qobject_cast<TemplateScreenItem*>(stage().activeView());
}

ListScreenItem* FrontEnd::listScreen() {
  return qobject_cast<ListScreenItem*>(stage().activeView());
}

void FrontEnd::settlePictures() {
  platform_.pictureQueue->run();
  settle();
}

ScreenTemplate1VC& FrontEnd::controller() {
  std::shared_ptr<ViewController> found;
  for (int row = 0; row < stage().rowCount(); ++row) {
    const auto data = stage().data(stage().index(row), FlowStage::ViewRole);
    const auto* view = qobject_cast<TemplateScreenItem*>(data.value<QObject*>());
    if (view) found = view->controller();
  }
  return dynamic_cast<ScreenTemplate1VC&>(*found);
}

std::vector<QQuickItem*> FrontEnd::items(const char* name) {
  std::vector<QQuickItem*> found;
  for (QQuickItem* each : visibleItems(stage().activeView()->content())) {
    if (each->objectName() == QLatin1String(name)) found.push_back(each);
  }
  return found;
}

QQuickItem* FrontEnd::item(const char* name) {
  const auto found = items(name);
  return found.empty() ? nullptr : found.front();
}

QQuickItem* FrontEnd::controlAt(int row) {
  QVariant result;
  QMetaObject::invokeMethod(form(), "controlAt", Q_RETURN_ARG(QVariant, result),
                            Q_ARG(QVariant, QVariant(row)));
  settle();
  return qobject_cast<QQuickItem*>(result.value<QObject*>());
}

QQuickItem* FrontEnd::control(const std::string& key) {
  return controlAt(screen()->rows()->rowOfKey(key));
}

std::string FrontEnd::entered(const std::string& key) {
  return controller().textFieldsKeyValues[key].textValue();
}

}  // namespace veltrane::qtquick::test
