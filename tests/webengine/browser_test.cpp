#include <QQuickItem>
#include <QSignalSpy>
#include <algorithm>
#include <functional>
#include <future>
#include <iterator>
#include <utility>

#include "platform/webengine/web_sheet.h"
#include "tests/webengine/browser_fixture.h"
#include "veltrane/flow/user_defaults_manager.h"

namespace veltrane::webengine::test {
namespace {

using State = WebSheet::State;

std::string postOf(const std::string& text) {
  return "post('" + text + "');";
}

/// A page that says it is there, then does more when it is clicked.
std::string loadedThen(const std::string& onClick) {
  return postOf(message("loaded")) + "onclick = () => {" + onClick + "};";
}

const std::string kFinished = std::string("finished ") + kReference;
constexpr const char* kClosed = "cancelled the user closed the vendor's page";

TEST_F(BrowserTest, ShowsTheVendorsPageAndHearsOfItsSuccessOnce) {
  vendor_.page(loadedThen(postOf(message("success")) + postOf(message("success")) +
                          postOf(message("error", "9801"))));
  scan();
  EXPECT_NE(item("webLoading"), nullptr);
  waitForState(State::shown);
  EXPECT_EQ(item("webLoading"), nullptr);
  clickPage([this] { return !receiver_->heard.empty(); });
  waitUntilGone();
  EXPECT_THAT(receiver_->heard, ElementsAre(kFinished));
}

TEST_F(BrowserTest, ShowsTheFaceChecksPageAndHearsOfItsError) {
  vendor_.page(loadedThen(postOf(message("error", "9835"))));
  const auto controller = check();
  waitForState(State::shown);
  clickPage([this] { return receiver_->heard.size() == 2; });
  EXPECT_THAT(receiver_->heard,
              ElementsAre("ready", "failed 9835 three attempts gave nothing that can be accepted"));
}

TEST_F(BrowserTest, CountsNoMessageOfAForeignPageReferenceOrShape) {
  // A frame at another origin says the same: one that may be loaded, and one that may not.
  const std::string success = "<script>top.postMessage('" + message("success") + "', '*');" +
                              "parent.postMessage('said', '*');</script>";
  TlsTestServer foreign({.plain = true});
  TlsTestServer forbidden({.plain = true});
  for (auto* const each : {&foreign, &forbidden})
    each->answer("/", 200, success, {{"Content-Type", "text/html"}});
  install([&](VendorAddresses& addresses) { addresses.jumioOrigins = {foreign.url("")}; });
  vendor_.page(postOf(message("success", "", "another")) + postOf("garbage") + postOf("[1,2]") +
               postOf("") +
               "post({eventType: 510}); post(null); const loop = {}; loop.it = loop; post(loop);"
               "onmessage = () => {" +
               postOf(message("loaded")) + "}; for (const address of ['" + forbidden.url("/") +
               "', '" + foreign.url("/") +
               "']) { const frame = document.createElement('iframe'); frame.src = address;"
               "document.body.append(frame); }");
  scan();
  waitForState(State::shown);
  EXPECT_THAT(receiver_->heard, IsEmpty());
  EXPECT_EQ(foreign.requests().size(), 1u);
  EXPECT_THAT(forbidden.requests(), IsEmpty());
}

TEST_F(BrowserTest, LoadsNothingFromElsewhere) {
  TlsTestServer elsewhere({.plain = true});
  const std::string there = elsewhere.url("");
  vendor_.page("Promise.allSettled([fetch('" + there + "/a'), fetch('" + there +
               "/b', {mode: "
               "'no-cors'}), fetch('file:///etc/hostname'), new Promise((done, fail) => {"
               "const s = document.createElement('script'); s.onerror = done; s.src = '" +
               there + "/c.js'; document.head.append(s); })]).then(() => {" +
               postOf(message("loaded")) + "});" + "onclick = () => { window.open('" + there +
               "/d'); top.location = '" + there + "/e'; location = '" + there +
               "/f'; setTimeout(() => {" + postOf(message("success")) + "}); };");
  scan();
  waitForState(State::shown);
  clickPage([this] { return !receiver_->heard.empty(); });
  EXPECT_THAT(receiver_->heard, ElementsAre(kFinished));
  EXPECT_THAT(elsewhere.requests(), IsEmpty());
}

TEST_F(BrowserTest, TellsWhenThePageDoesNotCome) {
  install([](VendorAddresses& addresses) { addresses.patience = std::chrono::milliseconds(300); });
  vendor_.page("");
  scan();
  waitForState(State::trouble);
  EXPECT_EQ(sheet()->trouble(), WebTrouble::late);
  EXPECT_EQ(item("webTrouble")->property("text").toString(),
            "The page of the identity service does not load.");

  // A page that is not there at all.
  vendor_.server.answer(kScanPath, 200, Vendor::initiated(vendor_.server.url("/nowhere")));
  press("webTryAgain");
  waitForState(State::loading);
  waitForState(State::trouble);
  press("webClose");
  waitForHeard(1);
  EXPECT_THAT(receiver_->heard,
              ElementsAre("cancelled The page of the identity service does not load."));
}

TEST_F(BrowserTest, GoesOnAfterTroubleWhenTheUserTriesAgain) {
  vendor_.server.answer(kScanPath, 503, "");
  scan();
  waitForState(State::trouble);
  EXPECT_EQ(sheet()->trouble(), WebTrouble::unreachable);
  vendor_.server.answer(kScanPath, 200, Vendor::initiated(vendor_.server.url("/client")));
  vendor_.page(loadedThen(postOf(message("success"))));
  press("webTryAgain");
  waitForState(State::shown);
  clickPage([this] { return !receiver_->heard.empty(); });
  EXPECT_THAT(receiver_->heard, ElementsAre(kFinished));
}

TEST_F(BrowserTest, APageStaysWhenItsNextOneDoesNotCome) {
  vendor_.server.route("/gone", [](const TestRequest&, TestConnection& to) { to.closeAbruptly(); });
  vendor_.page("setInterval(() => fetch('/alive'), 50);" + loadedThen("location = '/gone';"));
  scan();
  waitForState(State::shown);
  clickPage([this] { return wasAsked("/gone"); });
  waitFor(
      [this] {
        const auto all = vendor_.server.requests();
        const auto isGone = [](const auto& request) { return request.target == "/gone"; };
        return std::find_if(all.rbegin(), all.rend(), isGone) - all.rbegin() > 20;
      },
      "the page to live on");
  EXPECT_EQ(sheet()->state(), State::shown);
}

TEST_F(BrowserTest, SaysWhatIsWrongWithTheVendorsAnswer) {
  TlsTestServer elsewhere;
  const std::string good = Vendor::initiated(vendor_.server.url("/client"));
  using Answer = std::function<void(TestConnection&)>;
  const std::pair<Answer, WebTrouble> cases[] = {
      {[](TestConnection& to) { to.respond(401, R"({"code":"unauthorized"})"); },
       WebTrouble::refused},
      {[](TestConnection& to) { to.closeAbruptly(); }, WebTrouble::unreachable},
      {[&](TestConnection& to) {
         to.send("HTTP/1.1 200 OK\r\nContent-Length: 5000\r\n\r\n" + good);
         to.closeAbruptly();
       },
       WebTrouble::unreachable},
      {[](TestConnection& to) { to.respond(200, std::string(70'000, ' ')); },
       WebTrouble::unreachable},
      {[&](TestConnection& to) {
         to.respond(307, "", {{"Location", elsewhere.url("/take")}});
       },
       WebTrouble::unreachable},
      {[](TestConnection& to) { to.waitForClose(); }, WebTrouble::unreachable},
  };
  UserDefaultsManager::saveTimeout(1);
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    vendor_.server.route(kScanPath, [&answer = cases[i].first](const TestRequest&,
                                                               TestConnection& to) { answer(to); });
    if (i == 0) {
      scan();
    } else {
      press("webTryAgain");
    }
    waitFor(
        [&] { return vendor_.server.requests().size() > i && sheet()->state() == State::trouble; },
        "the trouble");
    EXPECT_EQ(sheet()->trouble(), cases[i].second) << i;
  }
  EXPECT_THAT(elsewhere.requests(), IsEmpty());
}

TEST_F(BrowserTest, OffersNoTryThatCannotHelp) {
  vendor_.page(loadedThen(""));
  scan();
  waitForState(State::shown);
  sheet()->fail(WebTrouble::noBrowser);
  waitFor([this] { return item("webClose") && item("webClose")->hasActiveFocus(); }, "the focus");
  EXPECT_EQ(item("webTryAgain"), nullptr);
  QTest::keyClick(&window_, Qt::Key_Return);
  waitForHeard(1);
  EXPECT_THAT(receiver_->heard,
              ElementsAre("cancelled This device cannot show the page of the identity service."));
}

TEST_F(BrowserTest, IsClosedAtAnyMoment) {
  vendor_.page(loadedThen(""));
  scan();  // before the vendor has answered
  press("cancelButton");
  waitUntilGone();
  scan();  // while the browser is on its way
  waitFor([this] { return sheet() && sheet()->page(); }, "a page to load");
  press("cancelButton");
  waitUntilGone();
  scan();  // on the vendor's page
  waitForState(State::shown);
  QTest::keyClick(&window_, Qt::Key_Escape);
  waitUntilGone();
  EXPECT_THAT(receiver_->heard, ElementsAre(kClosed, kClosed, kClosed));
}

TEST_F(BrowserTest, AFlowThatEndsTakesTheBrowserAlong) {
  vendor_.page(loadedThen(""));
  const auto controller = scan();
  waitForState(State::shown);
  receiver_->host->presentedViewController()->dismiss(true);
  controller->destroy();
  waitUntilGone();
  EXPECT_THAT(receiver_->heard, IsEmpty());
}

TEST_F(BrowserTest, ASecondStartKnowsNothingOfTheFirst) {
  vendor_.page("localStorage.seen = 'yes'; document.cookie = 'seen=yes; SameSite=None; Secure';" +
               loadedThen(""));
  const auto first = scan();
  waitForState(State::shown);
  // The second takes the first one's place, as a connector does it.
  first->dismiss(true);
  first->destroy();
  vendor_.page("if (localStorage.seen || document.cookie) post('stale'); else " +
               postOf(message("loaded")));
  scan();
  waitForState(State::shown);
  for (const auto& request : vendor_.server.requests())
    EXPECT_EQ(request.header("Cookie"), nullptr) << request.target;
  EXPECT_THAT(receiver_->heard, IsEmpty());
}

TEST_F(BrowserTest, AsksForTheCameraAndRemembersTheAnswer) {
  const std::string use = "navigator.mediaDevices.getUserMedia({video: true})";
  vendor_.page(postOf(message("loaded")) + use + ".then(() => " + use + ").then(stream => {" +
               "if (stream.getVideoTracks().length === 1)" + postOf(message("success")) +
               "}, () => " + "{" + postOf(message("error", "9820")) + "});");
  scan();
  waitFor([this] { return !question().empty(); }, "the question");
  EXPECT_EQ(question(), "This step needs the camera. Allow 127.0.0.1 to use it?");
  press("alertAction");
  waitForHeard(1);
  EXPECT_THAT(receiver_->heard, ElementsAre(kFinished));
  waitUntilGone();

  // The next step asks anew.
  scan();
  waitFor([this] { return !question().empty(); }, "the question");
  QTest::keyClick(&window_, Qt::Key_Escape);
  waitForHeard(2);
  EXPECT_EQ(receiver_->heard.back(),
            "cancelled 9820 there is no camera, and no file to take instead");
}

TEST_F(BrowserTest, TheQuestionOfAPageGoesWithItAndNotWithAFrameInIt) {
  std::promise<void> mayFrame, mayLeave;
  const auto answerOnce = [this](const char* path, std::promise<void>& allowed) {
    vendor_.server.route(
        path, [gate = allowed.get_future().share()](const TestRequest&, TestConnection& to) {
          gate.wait();
          to.respond(200);
        });
  };
  answerOnce("/frame", mayFrame);
  answerOnce("/leave", mayLeave);
  vendor_.page(
      "if (!location.hash) {"
      "navigator.mediaDevices.getUserMedia({video: true});"
      "const frame = document.createElement('iframe'); frame.srcdoc = 'of its own';"
      "frame.onload = () => fetch('/framed');"
      "fetch('/frame').then(() => document.body.append(frame));"
      "fetch('/leave').then(() => { location.hash = 'again'; location.reload(); }); }");
  scan();
  waitFor([this] { return !question().empty(); }, "the question");
  mayFrame.set_value();
  waitFor([this] { return wasAsked("/framed"); }, "the frame in the page");
  EXPECT_NE(question(), "");
  mayLeave.set_value();
  waitFor([this] { return question().empty(); }, "the question to go");
  EXPECT_EQ(sheet()->state(), State::loading);
}

TEST_F(BrowserTest, GivesNothingButTheCamera) {
  vendor_.page(
      "Promise.allSettled([navigator.mediaDevices.getUserMedia({audio: true}),"
      "navigator.mediaDevices.getUserMedia({audio: true, video: true}),"
      "new Promise((done, fail) => navigator.geolocation.getCurrentPosition(done, fail)),"
      "Notification.requestPermission().then(p => { if (p !== 'granted') throw p; }),"
      "navigator.clipboard.readText()]).then(all => {"
      "if (all.every(one => one.status === 'rejected'))" +
      postOf(message("loaded")) + "});");
  scan();
  waitForState(State::shown);
  EXPECT_EQ(question(), "");
}

TEST_F(BrowserTest, TellsOfABrowserThatHasDied) {
  vendor_.page(loadedThen(""));
  scan();
  waitForState(State::shown);
  auto* const view = item("webView");
  const QQuickItem* loader = view;
  while (loader && !loader->inherits("QQuickLoader")) loader = loader->parentItem();
  ASSERT_NE(loader, nullptr);
  view->setProperty("url", QUrl("chrome://kill"));
  waitForState(State::trouble);
  EXPECT_EQ(sheet()->trouble(), WebTrouble::stopped);

  // The next try has one browser, as the first had.
  QSignalSpy loads(loader, SIGNAL(loaded()));
  press("webTryAgain");
  waitForState(State::shown);
  EXPECT_EQ(loads.count(), 1);
}

TEST_F(BrowserTest, KeepsSecretsToThePage) {
  vendor_.page(postOf(message("loaded")) + "console.log('page-token');");
  scan();
  waitForState(State::shown);
  auto* const view = item("webView");
  for (const char* name : {"url", "title"})
    EXPECT_FALSE(view->property(name).toString().contains("token")) << name;
  for (const auto& line : console_->lines())
    EXPECT_EQ(line.find("token"), std::string::npos) << line;
}

}  // namespace
}  // namespace veltrane::webengine::test
