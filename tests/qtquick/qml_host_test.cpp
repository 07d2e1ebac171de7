#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>

#include "platform/qtquick/install.h"
#include "tests/core/host.h"

namespace veltrane::qtquick {
namespace {

using namespace veltrane::testing;

constexpr const char* kHost = R"(
import QtQuick
import Veltrane.Flow

Window {
    property var outcome: null
    property string kind: ""
    property alias flow: flow
    property alias host: host

    width: 390
    height: 700
    visible: true

    TextInput { id: host; focus: true }
    VeltraneFlow {
        id: flow
        apiKey: "key"; rpId: "rp"; origin: "https://rp"; companyId: "co"; timeout: 30
        flowId: "fl"; accessToken: "token"
        props: ({ user: { id: 7 }, tags: ["a", true, null, 1.5] })
        theme: ({ backgroundColor: "#101010" })
        onResponse: response => { outcome = response; kind = "response" }
        onError: error => { outcome = error; kind = "error" }
    }
})";

class QmlHost : public ::testing::Test {
 protected:
  QmlHost() {
    registerTypes();
    engine.loadData(kHost);
    window = qobject_cast<QQuickWindow*>(engine.rootObjects().value(0));
    flow = window->property("flow").value<QObject*>();
  }
  void settle() {
    for (int round = 0; round < 5; ++round) {
      platform.mainQueue->run();
      QCoreApplication::processEvents();
    }
  }
  void run() {
    QMetaObject::invokeMethod(flow, "runFlow");
    settle();
  }
  void waitForFocus(const QQuickItem* item) {
    // The last view moves out first, which takes its time.
    const auto hasIt = [&] {
      platform.mainQueue->run();
      return window->activeFocusItem() == item;
    };
    EXPECT_TRUE(QTest::qWaitFor(hasIt, 10'000));
    EXPECT_EQ(window->activeFocusItem(), item);
  }
  QVariantMap outcome() { return window->property("outcome").toMap(); }
  QString kind() { return window->property("kind").toString(); }

  FakePlatform platform;
  QQmlApplicationEngine engine;
  QQuickWindow* window = nullptr;
  QObject* flow = nullptr;
};

TEST_F(QmlHost, ItsPropertiesReachTheServerAndTheAnswerComesBack) {
  run();
  const auto& request = platform.transport->last().request;
  const auto body = parsed(request.body.value_or(""));
  EXPECT_EQ(body["user"]["id"].integer(), 7);
  EXPECT_EQ(body["tags"].serialized(), R"(["a",true,null,1.5])");
  EXPECT_EQ(request.timeoutForRequest, 30);
  const auto theme = std::get<TextDictionary>(*platform.settings->value("uiTheme"));
  EXPECT_EQ(theme.at("backgroundColor"), "#101010");
  EXPECT_EQ(theme.at("labelTextColor"), "#000000");

  platform.transport->answer(200, R"({"success":true,"access_token":"t","n":{"deep":[1]}})");
  settle();
  EXPECT_EQ(kind(), "response");
  EXPECT_EQ(outcome()["access_token"], "t");
  EXPECT_EQ(outcome()["n"].toMap()["deep"].toList().value(0).toInt(), 1);
}

TEST_F(QmlHost, AnErrorTellsAllThatIsKnown) {
  run();
  platform.transport->answer(
      403, R"({"message":"No","code":"denied","httpResponseCode":403,"details":{"why":"x"}})");
  settle();
  EXPECT_EQ(kind(), "error");
  EXPECT_EQ(outcome()["reason"], "errorResponse");
  EXPECT_EQ(outcome()["message"], "No");
  EXPECT_EQ(outcome()["code"], "denied");
  EXPECT_FALSE(outcome()["description"].toString().isEmpty());
}

TEST_F(QmlHost, WithoutAnyIdentifierTheRunnerComplains) {
  flow->setProperty("flowId", "");
  run();
  EXPECT_EQ(kind(), "error");
  EXPECT_EQ(outcome()["reason"], "veltraneError");
  EXPECT_TRUE(outcome()["details"].isNull());
}

TEST_F(QmlHost, TheHostGetsItsFocusBack) {
  window->requestActivate();
  auto* const field = window->property("host").value<QQuickItem*>();
  waitForFocus(field);
  run();
  EXPECT_NE(window->activeFocusItem(), field);
  QTest::keyClick(window, Qt::Key_Escape);
  waitForFocus(field);
  EXPECT_EQ(kind(), "error");
}

TEST_F(QmlHost, TheFlowMayOutliveTheElement) {
  run();
  engine.rootObjects().value(0)->deleteLater();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  platform.transport->answer(200, R"({"success":true,"access_token":"t"})");
  settle();
}

}  // namespace
}  // namespace veltrane::qtquick
