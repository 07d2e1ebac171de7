#include <gtest/gtest.h>

#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>
#include <QTest>

#include "tests/qtquick/passkey_fixture.h"

namespace veltrane::qtquick::test {
namespace {

using Kind = PasskeyAnswer::Kind;
using Kinds = std::vector<Kind>;
using Passkeys = PasskeyFrontEnd;

TEST_F(Passkeys, TheKeyboardConfirmsAndComesBackToWhereItWas) {
  openForm({field("user"), field("city")});
  press(Qt::Key_Tab);
  QQuickItem* const city = focused();
  ask(question(PasskeyStep::consent));
  EXPECT_EQ(focused(), part("passkeyConfirm"));
  EXPECT_EQ(textOf("passkeyConfirm"), "Go on");
  type("x");
  press(Qt::Key_Return);
  EXPECT_EQ(answers_, Kinds{Kind::confirmed});
  ASSERT_NE(panel(), nullptr) << "the next question may come at once";

  sheet_->close();
  settle();
  EXPECT_EQ(panel(), nullptr);
  EXPECT_EQ(focused(), city);
  EXPECT_EQ(entered("city"), "");
}

TEST_F(Passkeys, TheKeyboardStaysInThePanel) {
  openForm({field("user")});
  type(" ");
  auto asked = question(PasskeyStep::enterPIN);
  asked.alternativeTitle = "Use a security key";
  ask(asked);
  QStringList stops;
  for (int i = 0; i < 6; ++i) {
    ASSERT_TRUE(panel()->isAncestorOf(focused()));
    stops << focused()->objectName();
    press(Qt::Key_Tab);
  }
  EXPECT_EQ(stops, QStringList({"passkeyField", "passkeyShow", "passkeyConfirm",
                                "passkeyAlternative", "passkeyCancel", "passkeyField"}));
  press(Qt::Key_Backtab, Qt::ShiftModifier);
  press(Qt::Key_Backtab, Qt::ShiftModifier);
  EXPECT_EQ(focused(), part("passkeyCancel"));

  // A screen that comes below does not take it.
  controller().buttonPressed();
  settle();
  ASSERT_TRUE(stage().activeView()->isAlert());
  EXPECT_TRUE(panel()->isAncestorOf(focused()));
  press(Qt::Key_Escape);
  EXPECT_EQ(answers_, Kinds{Kind::cancelled});
}

TEST_F(Passkeys, EscapeCancelsAndAHeldKeyConfirmsNothing) {
  ask(question(PasskeyStep::consent));
  QKeyEvent held(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, "\r", true);
  QCoreApplication::sendEvent(&window_, &held);
  settle();
  EXPECT_EQ(answers_, Kinds{});
  press(Qt::Key_Escape);
  EXPECT_EQ(answers_, Kinds{Kind::cancelled});
  // Nobody hears another one before there is a new question.
  EXPECT_LT(part("passkeyCancel")->opacity(), 0.5);
  press(Qt::Key_Escape);
  EXPECT_EQ(answers_.size(), 1U);
}

TEST_F(Passkeys, APINIsTypedAndSentWithReturn) {
  ask(question(PasskeyStep::enterPIN));
  press(Qt::Key_Return);
  EXPECT_EQ(answers_, Kinds{});
  type("1x34");
  press(Qt::Key_Left);
  press(Qt::Key_Left);
  press(Qt::Key_Backspace);
  type("2");
  press(Qt::Key_End);
  type("5");
  EXPECT_EQ(typed(), 5);
  press(Qt::Key_Return);
  EXPECT_EQ(answers_, Kinds{Kind::confirmed});
  EXPECT_EQ(secret_.bytes(), "12345");
  EXPECT_EQ(typed(), 0);

  auto again = question(PasskeyStep::enterPIN);
  again.problem = "Wrong PIN. 3 tries left.";
  ask(again);
  EXPECT_EQ(textOf("passkeyProblem"), "Wrong PIN. 3 tries left.");
  EXPECT_EQ(focused(), part("passkeyField"));
}

TEST_F(Passkeys, ANewSecretIsTypedTwiceAndComposed) {
  auto asked = question(PasskeyStep::newPassphrase);
  asked.minimumLength = 4;
  ask(asked);
  EXPECT_EQ(textOf("passkeyRule"), "At least 4 characters");
  EXPECT_LT(place(part("passkeyRule")).top(), place(parts("passkeyField")[1]).top());
  type("abc");
  press(Qt::Key_Return);
  type("abc");
  press(Qt::Key_Return);
  EXPECT_EQ(textOf("passkeyRule"), "Use at least 4 characters.");
  EXPECT_EQ(typed(0), 3) << "it can be made longer";

  click(parts("passkeyField")[0]);
  press(Qt::Key_End);
  QGuiApplication::clipboard()->setText(QString::fromUtf8("e\u0301\n"));
  press(Qt::Key_V, Qt::ControlModifier);
  press(Qt::Key_Return);
  EXPECT_EQ(textOf("passkeyProblem"), "The two do not match.");
  EXPECT_EQ(focused(), parts("passkeyField")[1]);
  type("abc");
  press(Qt::Key_V, Qt::ControlModifier);
  EXPECT_NE(textOf("passkeyProblem"), "The two do not match.");
  press(Qt::Key_Return);
  EXPECT_EQ(secret_.bytes(), "abc\u00e9");
}

TEST_F(Passkeys, ASecretBeyondASCIIArrivesAsItIs) {
  for (const char* const secret : {"\u00e4\u00f6\u00fc1", "\U0001f511 \u043a\u043b\u044e\u0447"}) {
    ask(question(PasskeyStep::passphrase));
    QGuiApplication::clipboard()->setText(QString::fromUtf8(secret));
    press(Qt::Key_V, Qt::ControlModifier);
    press(Qt::Key_Return);
    EXPECT_EQ(secret_.bytes(), secret);
  }
}

TEST_F(Passkeys, AnAccountIsPickedWithArrows) {
  auto asked = question(PasskeyStep::account);
  for (int i = 0; i < 500; ++i) asked.choices.push_back("user" + std::to_string(i));
  ask(asked);
  EXPECT_LT(parts("passkeyChoice").size(), 60U);
  press(Qt::Key_Down);
  press(Qt::Key_Up);
  press(Qt::Key_Up);
  for (int i = 0; i < 30; ++i) press(Qt::Key_Down);
  EXPECT_EQ(focused()->property("modelData").toString(), "user30");
  EXPECT_TRUE(place(part("passkeyBody")).contains(place(focused())));
  press(Qt::Key_Return);
  EXPECT_EQ(choice_, 30U);

  asked.choices = {"one", "two"};
  ask(asked);
  EXPECT_EQ(focused()->property("modelData").toString(), "one");
  click(parts("passkeyChoice").at(1));
  EXPECT_EQ(choice_, 1U);
}

TEST_F(Passkeys, WhatIsShownIsHiddenAgainWithTheQuestion) {
  ask(question(PasskeyStep::enterPIN));
  type("1234");
  click(part("passkeyShow"));
  EXPECT_EQ(textOf("passkeyShow"), "Hide");
  EXPECT_EQ(focused(), part("passkeyField"));
  press(Qt::Key_Return);
  EXPECT_EQ(textOf("passkeyShow"), "Show");
  ask(question(PasskeyStep::passphrase));
  type("1234");
  click(part("passkeyShow"));
  press(Qt::Key_Tab);
  press(Qt::Key_Tab);
  EXPECT_EQ(textOf("passkeyShow"), "Show");
  ask(question(PasskeyStep::enterPIN));
  EXPECT_EQ(typed(), 0);
}

TEST_F(Passkeys, AssistiveProgramsHearEverythingButTheSecret) {
  auto asked = question(PasskeyStep::enterPIN);
  asked.problem = "Wrong PIN.";
  asked.alternativeTitle = "Another way";
  ask(asked);
  type("8642");
  click(part("passkeyShow"));
  const auto check = [](QQuickItem* part, QAccessible::Role role, const QString& name) {
    const auto* told = QAccessible::queryAccessibleInterface(part);
    ASSERT_NE(told, nullptr) << name.toStdString();
    EXPECT_EQ(told->role(), role) << name.toStdString();
    EXPECT_EQ(told->text(QAccessible::Name), name);
  };
  check(panel(), QAccessible::Dialog, "Title");
  check(part("passkeyTitle"), QAccessible::Heading, "Title");
  check(part("passkeyRelyingParty"), QAccessible::StaticText, "acme.example");
  check(part("passkeyProblem"), QAccessible::AlertMessage, "Wrong PIN.");
  for (const char* name : {"passkeyShow", "passkeyConfirm", "passkeyAlternative", "passkeyCancel"})
    check(part(name), QAccessible::Button, textOf(name));
  const auto* told = QAccessible::queryAccessibleInterface(part("passkeyField"));
  EXPECT_TRUE(told->state().passwordEdit);
  EXPECT_EQ(told->role(), QAccessible::EditableText);
  EXPECT_EQ(told->text(QAccessible::Description), "PIN");
  for (QQuickItem* each : visibleItems(panel())) {
    auto* heard = QAccessible::queryAccessibleInterface(each);
    if (!heard) continue;
    for (const auto kind : {QAccessible::Name, QAccessible::Description, QAccessible::Value})
      EXPECT_FALSE(heard->text(kind).contains("8642"));
    if (auto* text = heard->textInterface()) {
      EXPECT_FALSE(text->text(0, text->characterCount()).contains("8642"));
    }
  }
  const auto hints = part("passkeyField")->inputMethodQuery(Qt::ImHints).toInt();
  EXPECT_EQ(hints & (Qt::ImhHiddenText | Qt::ImhNoPredictiveText | Qt::ImhSensitiveData),
            Qt::ImhHiddenText | Qt::ImhNoPredictiveText | Qt::ImhSensitiveData);
  EXPECT_EQ(part("passkeyField")->inputMethodQuery(Qt::ImSurroundingText).toString(), "");

  asked.choices = {"alice"};
  ask(asked);
  check(part("passkeyChoice"), QAccessible::ListItem, "alice");
}

TEST_F(Passkeys, AQuestionNobodySeesAnyMoreIsCancelled) {
  auto window = std::make_unique<QQuickWindow>();
  {
    FlowPresenter other(window.get());
    window->show();
    window->requestActivate();
    waitFor([&] { return window->isActive(); });
    port_.present(sheet_);
    sheet_->ask(question(PasskeyStep::touchKey),
                [this](const PasskeyAnswer& answer) { answers_.push_back(answer.kind); });
    settle();
    ASSERT_NE(other.passkey(), nullptr) << "over the active window when no flow is on display";
    window.reset();
    settle();
    EXPECT_EQ(answers_, Kinds{Kind::cancelled});
  }
  sheet_ = std::make_shared<PasskeySheet>();
  ask(question(PasskeyStep::touchKey));
  ASSERT_NE(panel(), nullptr);
  sheet_.reset();
  settle();
  EXPECT_EQ(panel(), nullptr) << "dropped by who asked";
}

TEST_F(Passkeys, BetweenTwoQuestionsThePanelStaysAsItIs) {
  ask(question(PasskeyStep::consent));
  const QRectF title = place(part("passkeyTitle"));
  press(Qt::Key_Return);
  EXPECT_EQ(textOf("passkeyTitle"), "Title");
  EXPECT_NE(part("passkeyAccount"), nullptr);
  EXPECT_EQ(part("passkeySpinner"), nullptr);
  waitFor([this] { return part("passkeySpinner") != nullptr; });
  ask(question(PasskeyStep::enterPIN));
  EXPECT_EQ(part("passkeySpinner"), nullptr);
  EXPECT_EQ(place(part("passkeyTitle")), title);
  auto saving = question(PasskeyStep::working);
  saving.title = "Saving";
  ask(saving);
  EXPECT_EQ(textOf("passkeyTitle"), "Title");
  waitFor([this] { return part("passkeySpinner") != nullptr; });
  EXPECT_EQ(textOf("passkeyTitle"), "Saving");
  EXPECT_EQ(part("passkeyField"), nullptr);
  EXPECT_EQ(part("passkeyCancel")->opacity(), 1);
  click(part("passkeyCancel"));
  EXPECT_EQ(answers_.back(), Kind::cancelled);
}

}  // namespace
}  // namespace veltrane::qtquick::test
