#include <QFile>
#include <variant>

#include "tests/webengine/browser_fixture.h"

namespace veltrane::webengine::test {
namespace {

using State = WebSheet::State;

/// A script with the contract of the vendor's: `act` runs a while after `init`, with its options.
std::string clientThat(const std::string& act) {
  return "window.Onfido = {init: options => {"
         "const place = document.getElementById(options.containerId);"
         "const text = document.createElement('p');"
         "text.textContent = options.steps.join(' ') + ' ' + options.token;"
         "place.append(text);"
         "setTimeout(() => {" +
         act +
         "});"
         "return {tearDown: () => {}};}};";
}

struct OnfidoBrowserTest : BrowserTest {
  void serve(const std::string& act) { vendor_.script("/onfido.js", clientThat(act)); }
  /// The sandbox's stand-in, which plays what its token says.
  void serveStandIn() {
    QFile file(QStringLiteral(VENDORS_FOLDER "/onfido.js"));
    ASSERT_TRUE(file.open(QFile::ReadOnly));
    vendor_.script("/onfido.js", file.readAll().toStdString());
  }
  /// The one response to a run.
  OnfidoResponse response(const std::string& token = "sdk-token") {
    responses_.clear();
    const auto flow = onfido(token);
    waitFor([this] { return !responses_.empty(); }, "the response");
    waitUntilGone();
    EXPECT_EQ(responses_.size(), 1u);
    return responses_.front();
  }
};

TEST_F(OnfidoBrowserTest, BringsTheResultsBack) {
  serve(
      "if (place.textContent === 'welcome document face sdk-token') options.onComplete({"
      "document: {type: 'passport', sides: {front: {id: 'f-1'}, back: {id: 'b-1'}}},"
      "face: {type: 'face', id: 'p-1'}});");
  const auto flow = onfido();
  waitFor([this] { return !responses_.empty(); }, "the response");
  const auto& results = std::get<onfido_response::Success>(responses_.front()).results;
  ASSERT_EQ(results.size(), 3u);
  const auto& front = std::get<DocumentResult>(results[0]);
  EXPECT_EQ(front.id, "f-1");
  EXPECT_EQ(front.type, "passport");
  EXPECT_EQ(front.side, "front");
  EXPECT_EQ(std::get<DocumentResult>(results[1]).side, "back");
  EXPECT_EQ(std::get<FaceResult>(results[2]).id, "p-1");
  EXPECT_FALSE(front.href || front.createdAt);
  waitUntilGone();
}

TEST_F(OnfidoBrowserTest, ReportsErrorsAndTheUsersExit) {
  serve("options.onError({type: 'expired_token', message: 'too late'});");
  auto flow = onfido();
  waitFor([this] { return responses_.size() == 1; }, "the error");
  EXPECT_EQ(std::get<onfido_response::Error>(responses_[0]).error.type, "expired_token");
  waitUntilGone();
  serve("options.onUserExit('user_consent_denied'); options.onUserExit('user_exit');");
  flow = onfido();
  waitFor([this] { return responses_.size() == 2; }, "the exit");
  EXPECT_EQ(std::get<onfido_response::Cancel>(responses_[1]).reason, OnfidoCancelReason::other);
  waitUntilGone();
  serve("");
  flow = onfido();
  waitForState(State::shown);
  press("cancelButton");
  waitFor([this] { return responses_.size() == 3; }, "the close");
  EXPECT_EQ(std::get<onfido_response::Cancel>(responses_[2]).reason, OnfidoCancelReason::userExit);
}

TEST_F(OnfidoBrowserTest, TakesNoNonsenseForTheEnd) {
  serve(
      "for (const each of [undefined, null, 5, 'done', [], {}, {document: 7, face: 'me'},"
      "{document: {sides: 5}}, {face: {id: 7}}]) {"
      "options.onComplete(each); options.onError(each);"
      "if (typeof each !== 'string') options.onUserExit(each); }"
      "options.onComplete({face: {id: 'p-1'}});");
  const auto ended = response();
  ASSERT_TRUE(std::holds_alternative<onfido_response::Success>(ended));
  EXPECT_EQ(std::get<onfido_response::Success>(ended).results.size(), 1u);
  // Among its garbage is a text, and a reason to leave may be any.
  serveStandIn();
  const auto left = response("onfido-garbage");
  ASSERT_TRUE(std::holds_alternative<onfido_response::Cancel>(left));
  EXPECT_EQ(std::get<onfido_response::Cancel>(left).reason, OnfidoCancelReason::other);
}

TEST_F(OnfidoBrowserTest, EndsWithAnErrorWhenTheResultsCannotBeRead) {
  for (const char* results :
       {"{document: {type: 'passport', sides: {front: {}}}}", "{face: {id: 'p-1', size: 1n}}",
        "(() => { const all = {face: {id: 'p-1'}}; all.again = all; return all; })()",
        "{face: {id: 'p-1', picture: 'x'.repeat(70000)}}"}) {
    serve(std::string("options.onComplete(") + results + ");");
    const auto ended = response();
    ASSERT_TRUE(std::holds_alternative<onfido_response::Error>(ended)) << results;
    EXPECT_EQ(std::get<onfido_response::Error>(ended).error.type, "exception") << results;
  }
}

TEST_F(OnfidoBrowserTest, IsLateWhenTheClientShowsNothing) {
  install([](VendorAddresses& addresses) { addresses.patience = std::chrono::seconds(2); });
  serveStandIn();
  const auto flow = onfido("onfido-silent");
  waitForState(State::trouble);
  EXPECT_EQ(sheet()->trouble(), WebTrouble::late);
  press("webClose");
  waitFor([this] { return !responses_.empty(); }, "the response");
  EXPECT_EQ(std::get<onfido_response::Error>(responses_[0]).error.message,
            "The page of the identity service does not load.");
}

TEST_F(OnfidoBrowserTest, HearsNothingOfAClientThatIsTornDown) {
  serveStandIn();
  const auto flow = onfido("onfido-late");
  waitForState(State::shown);
  press("cancelButton");
  waitUntilGone();
  ASSERT_EQ(responses_.size(), 1u);
  EXPECT_EQ(std::get<onfido_response::Cancel>(responses_[0]).reason, OnfidoCancelReason::userExit);
}

TEST_F(OnfidoBrowserTest, TheUsersCancelWinsOverWhatItBreaks) {
  vendor_.script("/onfido.js",
                 "window.Onfido = {init: options => {"
                 "document.getElementById(options.containerId).append(document.createElement('p'));"
                 "let isGone = false;"
                 "return {tearDown: () => { if (isGone) return; isGone = true;"
                 "options.onError({type: 'exception', message: 'torn down'});"
                 "options.onComplete({face: {id: 'p-1'}}); }};}};");
  const auto flow = onfido();
  waitForState(State::shown);
  press("cancelButton");
  waitFor([this] { return !responses_.empty(); }, "the response");
  ASSERT_TRUE(std::holds_alternative<onfido_response::Cancel>(responses_[0]));
  EXPECT_EQ(std::get<onfido_response::Cancel>(responses_[0]).reason, OnfidoCancelReason::userExit);
}

TEST_F(OnfidoBrowserTest, TellsWhenTheScriptDoesNotComeOrIsNone) {
  vendor_.server.answer("/onfido.js", 404, "");
  auto flow = onfido();
  waitForState(State::trouble);
  EXPECT_EQ(sheet()->trouble(), WebTrouble::unreachable);
  vendor_.script("/onfido.js", "window.Onfido = {};");
  press("webTryAgain");
  waitForState(State::loading);
  waitForState(State::trouble);
  press("webClose");
  waitFor([this] { return !responses_.empty(); }, "the response");
  EXPECT_EQ(std::get<onfido_response::Error>(responses_[0]).error.message,
            "The identity service cannot be reached.");
}

// Before it has shown anything, too.
TEST_F(OnfidoBrowserTest, TearsTheClientDownAndLetsTheCameraGo) {
  const std::string host = vendor_.server.url("");
  vendor_.script("/onfido.js",
                 "window.Onfido = {init: options => {"
                 "navigator.mediaDevices.getUserMedia({video: true}).then(() => fetch('" +
                     host +
                     "/camera', {mode: 'no-cors'}));"
                     // A beacon may go with the page before anybody has sent it.
                     "return {tearDown: () => { const gone = new XMLHttpRequest();"
                     "gone.open('POST', '" +
                     host + "/gone', false); gone.send(); }};}};");
  install([](VendorAddresses& addresses) { addresses.farewell = std::chrono::seconds(20); });
  auto flow = onfido();
  waitFor([this] { return !question().empty(); }, "the question");
  EXPECT_EQ(question(), "This step needs the camera. Allow 127.0.0.1 to use it?");
  press("alertAction");
  waitFor([this] { return wasAsked("/camera"); }, "the camera");
  press("cancelButton");
  waitFor([this] { return wasAsked("/gone"); }, "the client to be torn down");
  waitUntilGone();
}

}  // namespace
}  // namespace veltrane::webengine::test
