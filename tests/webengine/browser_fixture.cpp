#include "tests/webengine/browser_fixture.h"

#include <algorithm>
#include <utility>

#include "platform/webengine/web_clients.h"

namespace veltrane::webengine::test {
namespace {

/// Longer than anything here takes on a busy machine; only a fault waits it out.
constexpr int kPatience = 30'000;

QQuickItem* find(QQuickItem* root, const QString& name) {
  if (!root || !root->isVisible()) return nullptr;
  if (root->objectName() == name) return root;
  // What is in the browser has no run-time types, which the sanitizers ask for.
  if (root->objectName() == QLatin1String("webView")) return nullptr;
  for (QQuickItem* child : root->childItems()) {
    if (QQuickItem* found = find(child, name)) return found;
  }
  return nullptr;
}

}  // namespace

BrowserTest::BrowserTest() {
  install();
  window_.resize(480, 800);
  presenter_ = std::make_unique<qtquick::FlowPresenter>(&window_);
  presenter_->stage().setStill(true);
  receiver_->host = presenter_->hostViewController();
  window_.show();
  window_.requestActivate();
  waitFor([this] { return window_.isActive() && window_.isExposed(); }, "the window");
}

BrowserTest::~BrowserTest() {
  if (const auto shown = receiver_->host->presentedViewController()) shown->dismiss(false);
  waitUntilGone();
  receiver_->host.reset();
  presenter_.reset();
}

void BrowserTest::install(const std::function<void(VendorAddresses&)>& change) {
  qtquick::Options options;
  options.settingsFile = folder_.path() / "settings.db";
  options.passkeysFile = folder_.path() / "passkeys.db";
  options.identityVendors.jumio = vendor_.address();
  options.identityVendors.onfidoScript = vendor_.server.url("/onfido.js");
  if (change) change(options.identityVendors);
  qtquick::registerTypes();
  auto platform = qtquick::makePlatform(options);
  platform.console = console_;
  platform_.reset();
  platform_ = std::make_unique<PlatformScope>(std::move(platform));
}

std::shared_ptr<NetverifyViewController> BrowserTest::scan() {
  auto controller = Platform::current().netverify->makeNetverifyViewController(
      {.apiToken = "api-token",
       .apiSecret = "api-secret",
       .callbackUrl = "https://server.example/hook",
       .customerInternalReference = "customer-1",
       .delegate = receiver_});
  receiver_->host->present(controller, true);
  return controller;
}

std::shared_ptr<AuthenticationController> BrowserTest::check() {
  return Platform::current().jumioAuthentication->makeAuthenticationController(
      {.apiToken = "api-token",
       .apiSecret = "api-secret",
       .callbackUrl = "https://server.example/hook",
       .enrollmentTransactionReference = "enrollment-1",
       .delegate = receiver_});
}

std::shared_ptr<OnfidoFlow> BrowserTest::onfido(const std::string& token) {
  auto configuration = OnfidoConfig::builder()
                           .withSDKToken(token)
                           .withWelcomeStep()
                           .withDocumentStep()
                           .withFaceStep(OnfidoFaceVariant::photo)
                           .build();
  auto flow = Platform::current().onfido->makeFlow(*configuration);
  flow->with([this](OnfidoResponse response) { responses_.push_back(std::move(response)); }, true);
  receiver_->host->present(flow->run(), true);
  return flow;
}

void BrowserTest::waitFor(const std::function<bool()>& condition, const char* what) {
  QElapsedTimer time;
  time.start();
  while (!condition() && time.elapsed() < kPatience) {
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 20);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }
  ASSERT_TRUE(condition()) << "waited in vain for " << what;
}

void BrowserTest::waitForState(WebSheet::State state) {
  waitFor([&] { return sheet() && sheet()->state() == state; }, "the sheet's state");
}

void BrowserTest::waitForHeard(std::size_t count) {
  waitFor([&] { return receiver_->heard.size() >= count; }, "what the delegate hears");
}

void BrowserTest::waitUntilGone() {
  waitFor(
      [this] {
        return !presenter_->stage().isShowing() && !window_.findChild<QQuickItem*>("webView");
      },
      "the sheet to go");
}

std::string BrowserTest::question() const {
  const auto* const view = presenter_->stage().activeView();
  const auto* const alert =
      view ? dynamic_cast<const AlertController*>(view->controller().get()) : nullptr;
  return alert ? alert->message().value_or("") : "";
}

bool BrowserTest::wasAsked(const char* path) const {
  const auto all = vendor_.server.requests();
  return std::any_of(all.begin(), all.end(),
                     [&](const auto& request) { return request.target == path; });
}

void BrowserTest::press(const char* name) {
  waitFor([&] { return item(name) != nullptr; }, name);
  QQuickItem* const found = item(name);
  ASSERT_NE(found, nullptr);
  const auto middle = found->mapToScene({found->width() / 2, found->height() / 2});
  QTest::mouseClick(&window_, Qt::LeftButton, {}, middle.toPoint());
}

// A page takes clicks from its first drawing on, which nothing tells of: a user would press again.
void BrowserTest::clickPage(const std::function<bool()>& seen) {
  QElapsedTimer sinceClick;
  waitFor(
      [&] {
        if (seen()) return true;
        if (!sinceClick.isValid() || sinceClick.elapsed() > 250) {
          press("webView");
          sinceClick.start();
        }
        return false;
      },
      "the page to take a click");
}

QQuickItem* BrowserTest::item(const char* name) const {
  const auto* const view = presenter_->stage().activeView();
  return view ? find(view->content(), QString::fromLatin1(name)) : nullptr;
}

std::shared_ptr<WebSheet> BrowserTest::sheet() const {
  const auto* const shown =
      dynamic_cast<const SheetScreen*>(receiver_->host->presentedViewController().get());
  return shown ? shown->sheet() : nullptr;
}

}  // namespace veltrane::webengine::test
