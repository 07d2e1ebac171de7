#include "platform/qtquick/words.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QTranslator>

#include "platform/qtquick/alert_item.h"
#include "tests/qtquick/front_end.h"

namespace veltrane::qtquick::test {
namespace {

/// Puts brackets around every word of the library, and writes down which it was asked for.
class Brackets : public QTranslator {
 public:
  QString translate(const char* context, const char* word, const char* /*comment*/,
                    int /*n*/) const override {
    if (qstrcmp(context, kTranslationContext) != 0) return {};
    asked.insert(word);
    return '[' + QString(word) + ']';
  }
  bool isEmpty() const override { return false; }

  mutable QSet<QString> asked;
};

QString read(const QString& path) {
  QFile file(path);
  EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
  return file.readAll();
}

/// The words in the files of the module.
QSet<QString> wordsOfTheScreens() {
  static const QRegularExpression call(R"x(qsTranslate\("Veltrane.Flow", "([^"]+)"\))x");
  const QDir folder(":/qt-project.org/imports/Veltrane/Flow");
  QSet<QString> words;
  for (const QString& name : folder.entryList({"*.qml"})) {
    const QString text = read(folder.filePath(name));
    EXPECT_FALSE(text.contains("qsTr(")) << name.toStdString();
    for (const auto& match : call.globalMatch(text)) words.insert(match.captured(1));
  }
  return words;
}

class Words : public FrontEnd {
 protected:
  Words() { QCoreApplication::installTranslator(&translator); }
  ~Words() override { QCoreApplication::removeTranslator(&translator); }
  QString textOf(const char* name) { return item(name)->property("text").toString(); }

  Brackets translator;
};

TEST_F(Words, OfTheLibraryAreTranslatedThoseOfTheServerAreNot) {
  openForm({secret("pin"), dropdown("region")}, R"("navTitle":{"value":"Back"})");
  EXPECT_EQ(textOf("cancelButton"), "[Cancel]");
  EXPECT_EQ(textOf("showControl"), "[Show]");
  EXPECT_EQ(textOf("button"), "Next");
  EXPECT_EQ(screen()->title(), "Back");

  click(control("region"));
  EXPECT_EQ(textOf("sheetAction"), "Europe");
  EXPECT_EQ(textOf("sheetDismiss"), "[Dismiss]");
  press(Qt::Key_Escape);
  click(control("pin"));
  type(" ");
  click(item("button"));
  EXPECT_EQ(textOf("alertMessage"), "[Please input pin]");
  EXPECT_EQ(textOf("alertAction"), "[OK]");
}

TEST_F(Words, AreAllInTheGuideForTranslators) {
  const QString guide = read(TRANSLATION_GUIDE);
  const QSet<QString> shown = wordsOfTheScreens();
  EXPECT_GT(shown.size(), 5);
  for (const std::string text :
       {"Dismiss", "Loading flow...", "No response found", "No response from server...", "OK",
        "The camera is not available.", "The camera gives no pictures that can be used.",
        "This program may not use the camera.", "The camera is used by another program.",
        "The camera was disconnected.", "Faces cannot be found on this device.",
        "Failed with error 5", "There is no way to sign in here at the moment.",
        "This method is not available.", "Unable to scan for document", "Veltrane Flow",
        "Your identity cannot be verified on this device.", "Please input x", "Select x"}) {
    EXPECT_TRUE(translated(text).startsWith('[')) << text;
  }
  for (const std::string text :
       {"Allow", "Do not allow", "This step needs the camera. Allow vendor.example to use it?"}) {
    EXPECT_TRUE(translated(text).startsWith('[')) << text;
  }
  EXPECT_FALSE(translated("This step needs the camera. Allow it?").startsWith('['));
  for (const QString& word : shown | translator.asked) {
    EXPECT_TRUE(guide.contains("| `" + word + "` |")) << word.toStdString();
  }
  EXPECT_EQ(translatedPhrase("Wrong PIN. 3 tries left."), "[Wrong PIN. 3 tries left.]");
  EXPECT_TRUE(translator.asked.contains("Wrong PIN. %1 tries left."));
  EXPECT_EQ(translated("Something of a server's"), "Something of a server's");
}

}  // namespace
}  // namespace veltrane::qtquick::test
