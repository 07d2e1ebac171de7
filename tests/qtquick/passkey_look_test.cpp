#include <gtest/gtest.h>

#include <QDir>
#include <algorithm>

#include "tests/qtquick/passkey_fixture.h"

namespace veltrane::qtquick::test {
namespace {

struct Named {
  const char* name;
  PasskeyQuestion question;
};

std::vector<Named> everyQuestion() {
  const std::string party = "acme.example";
  const std::string alice = "alice@acme.example";
  const std::string far = "login.accounts.a-rather-long-department.of-a-long-company-name.example";
  return {
      {"consent",
       {.step = PasskeyStep::consent,
        .title = "Create a passkey?",
        .message = "It is kept on this device.",
        .relyingParty = party,
        .account = alice,
        .confirmTitle = "Create",
        .alternativeTitle = "Use a security key"}},
      {"consent-long",
       {.step = PasskeyStep::consent,
        .title = "Sign in with a passkey?",
        .relyingParty = far,
        .account = "maximiliana.featherstonehaugh-cholmondeley@departments.of-a-company.example",
        .confirmTitle = "Sign in"}},
      {"account",
       {.step = PasskeyStep::account,
        .title = "Which account?",
        .relyingParty = party,
        .choices = {alice, "bob@acme.example",
                    "maximiliana.featherstonehaugh-cholmondeley@departments.of-a-company.example"},
        .alternativeTitle = "Use a security key"}},
      {"method",
       {.step = PasskeyStep::method,
        .title = "Where is your passkey?",
        .relyingParty = party,
        .choices = {"This device", "Security key"}}},
      {"insert",
       {.step = PasskeyStep::insertKey,
        .title = "Insert your security key",
        .message = "Plug it in, or hold it to the reader.",
        .alternativeTitle = "Use this device"}},
      {"touch",
       {.step = PasskeyStep::touchKey,
        .title = "Touch your security key",
        .message = "Its light is blinking.",
        .relyingParty = party}},
      {"select",
       {.step = PasskeyStep::selectKey,
        .title = "Touch the key you want to use",
        .message = "Several security keys are connected."}},
      {"pin",
       {.step = PasskeyStep::enterPIN,
        .title = "Enter your PIN",
        .relyingParty = party,
        .account = alice,
        .confirmTitle = "Continue",
        .problem = "Wrong PIN. 3 tries left."}},
      {"new-pin",
       {.step = PasskeyStep::newPIN,
        .title = "Choose a PIN",
        .message = "One PIN for all passkeys of this device: it is asked for before one is used. "
                   "Eight wrong ones in a row lock them until a reset, which deletes them.",
        .relyingParty = party,
        .account = alice,
        .confirmTitle = "Continue",
        .alternativeTitle = "Use a security key",
        .minimumLength = 4}},
      {"passphrase",
       {.step = PasskeyStep::passphrase,
        .title = "Enter your passphrase",
        .message = "Unlike the PIN, it decrypts the keys of this device's passkeys. If you have "
                   "forgotten it they are lost: cancel, and sign in another way.",
        .relyingParty = party,
        .account = alice,
        .confirmTitle = "Continue"}},
      {"new-passphrase",
       {.step = PasskeyStep::newPassphrase,
        .title = "Choose a passphrase",
        .message = "Unlike the PIN, it encrypts the keys of this device's passkeys. Nobody can "
                   "reset it: whoever forgets it has lost them.",
        .relyingParty = party,
        .account = alice,
        .confirmTitle = "Continue",
        .minimumLength = 8}},
      {"notice",
       {.step = PasskeyStep::notice,
        .title = "This key is locked",
        .message = "Too many wrong PINs. Unplug it and plug it in again.",
        .confirmTitle = "Try again"}},
      {"working", {.step = PasskeyStep::working, .title = "Saving your passkey"}},
  };
}

/// Texts that do not fit in the room they were given, or that leave the window sideways.
std::vector<std::string> clippedTexts(QQuickItem* root) {
  std::vector<std::string> clipped;
  for (QQuickItem* each : visibleItems(root)) {
    if (each->metaObject()->indexOfProperty("paintedWidth") < 0) continue;
    const QRectF seen = place(each);
    if (each->property("paintedWidth").toDouble() > each->width() + 1 ||
        each->property("paintedHeight").toDouble() > each->height() + 1 || seen.left() < 0 ||
        seen.right() > root->width()) {
      clipped.push_back(each->property("text").toString().toStdString());
    }
  }
  return clipped;
}

class PasskeyLook : public PasskeyFrontEnd {
 protected:
  /// For a person to look at: a folder named in the environment gets a picture of everything.
  void keepPicture(const std::string& look, const char* name) {
    const QString folder = qEnvironmentVariable("VELTRANE_PASSKEY_PICTURES");
    if (folder.isEmpty()) return;
    ASSERT_TRUE(QDir().mkpath(folder));
    // The drawing in memory repairs only what has changed; this makes it draw everything afresh.
    panel()->setOpacity(0.999);
    window_.grabWindow();
    panel()->setOpacity(1);
    const auto file = QString::fromStdString(look + "-" + name + ".png");
    ASSERT_TRUE(window_.grabWindow().save(QDir(folder).filePath(file)));
  }
  void walkThrough(const std::string& look) {
    for (const auto& [name, question] : everyQuestion()) {
      SCOPED_TRACE(look + " " + name);
      ask(question);
      if (!parts("passkeyField").empty()) type("1234");
      const bool works = question.step == PasskeyStep::working;
      if (works) waitFor([this] { return part("passkeySpinner") != nullptr; });
      EXPECT_EQ(clippedTexts(panel()), std::vector<std::string>());
      QQuickItem* const start = parts("passkeyField").empty() ? part("passkeyTitle") : focused();
      EXPECT_TRUE(place(part("passkeyBody")).contains(place(start)));
      const bool showsTitle = place(part("passkeyBody")).contains(place(part("passkeyTitle")));
      EXPECT_TRUE(showsTitle || part("passkeyHeading")) << "what is asked stays in sight";
      for (const char* control : {"passkeyConfirm", "passkeyAlternative", "passkeyCancel",
                                  "passkeyShow", "passkeyChoice"}) {
        for (QQuickItem* each : parts(control)) {
          EXPECT_GE(each->height(), 44) << control;
          EXPECT_GE(each->width(), 44) << control;
        }
      }
      keepPicture(look, name);
    }
  }
};

TEST_F(PasskeyLook, FitsInEveryLook) {
  openForm({field("user")});
  walkThrough("light");
  stage().setDark(true);
  walkThrough("dark");
  stage().setDark(false);
  stage().setTextScale(2);
  walkThrough("large");
  stage().setTextScale(1);
  stage().setMirrored(true);
  walkThrough("mirrored");
  stage().setMirrored(false);
  window_.resize(1100, 420);
  walkThrough("low");
}

TEST_F(PasskeyLook, WearsTheThemesColours) {
  open(document(config("form", std::string(kPostEvent) + "," + kButton),
                {view("ScreenTemplate1", "form")}),
       VTTheme{"#102030", "#f0e0d0", "#001122", "#88ccff"});
  walkThrough("theme");
  EXPECT_EQ(presenter_.passkey()->palette().background, QColor("#102030"));
  EXPECT_GE(contrast(presenter_.passkey()->problemColor(), QColor("#102030")), 4.5);
}

TEST_F(PasskeyLook, TheRelyingPartyIsTheMostProminentTextOfAConsent) {
  ask(everyQuestion()[0].question);
  const auto sizeOf = [](QQuickItem* text) {
    return text->property("font").value<QFont>().pixelSize();
  };
  QQuickItem* const party = part("passkeyRelyingParty");
  for (QQuickItem* each : visibleItems(panel())) {
    if (each != party && each->property("font").isValid()) {
      EXPECT_LT(sizeOf(each), sizeOf(party));
    }
  }
  EXPECT_TRUE(party->property("font").value<QFont>().bold());
}

TEST_F(PasskeyLook, ANameWithoutEndLeavesItsTwoEnds) {
  auto asked = everyQuestion()[0].question;
  asked.account = "first" + std::string(5000, 'x') + "last";
  ask(asked);
  EXPECT_TRUE(textOf("passkeyAccount").startsWith("first"));
  EXPECT_TRUE(textOf("passkeyAccount").endsWith("last"));
  EXPECT_LT(place(part("passkeyConfirm")).bottom(), window_.height());
}

TEST_F(PasskeyLook, NothingMovesWhereMovementIsSwitchedOff) {
  ask(everyQuestion()[5].question);
  const auto progress = [this] { return part("passkeyPicture")->property("progress").toDouble(); };
  const double still = progress();
  stage().setStill(false);
  waitFor([&] { return progress() != still; });
  stage().setReducedMotion(true);
  settle();
  EXPECT_EQ(progress(), 0.55);
}

}  // namespace
}  // namespace veltrane::qtquick::test
