#include <gtest/gtest.h>

#include <QAccessible>
#include <QGuiApplication>
#include <QPalette>
#include <QTest>
#include <algorithm>

#include "tests/qtquick/front_end.h"

namespace veltrane::qtquick::test {
namespace {

using Look = FrontEnd;

const std::vector<std::string>& everything() {
  static const std::vector<std::string> rows = {
      label("A heading that is long enough to need more than a single line of the screen",
            R"({"variant":"title"})"),
      field("user"), secret("pin"), toggle("keep"), dropdown("region")};
  return rows;
}

TEST_F(Look, EveryControlTellsItsNameAndRole) {
  openForm(everything());
  const auto check = [&](QQuickItem* control, QAccessible::Role role, const QString& name) {
    const auto* told = QAccessible::queryAccessibleInterface(control);
    ASSERT_NE(told, nullptr) << name.toStdString();
    EXPECT_EQ(told->role(), role) << name.toStdString();
    EXPECT_EQ(told->text(QAccessible::Name), name);
  };
  check(control("user")->parentItem(), QAccessible::EditableText, "Caption of user");
  QQuickItem* const pin = control("pin")->parentItem();
  check(pin, QAccessible::EditableText, "");
  const auto* hidden = QAccessible::queryAccessibleInterface(pin);
  EXPECT_EQ(hidden->text(QAccessible::Description), "Caption of pin");
  check(item("showControl"), QAccessible::Button, "Show");
  check(control("keep"), QAccessible::CheckBox, "Caption of keep");
  check(control("region"), QAccessible::ButtonDropDown, "Region");
  check(item("button"), QAccessible::Button, "Next");
  check(item("cancelButton"), QAccessible::Button, "Cancel");
  EXPECT_TRUE(hidden->state().passwordEdit);
  click(control("pin"));
  EXPECT_TRUE(hidden->state().focused);
  click(item("showControl"));
  check(pin, QAccessible::EditableText, "Caption of pin");
  EXPECT_FALSE(hidden->state().passwordEdit);

  click(control("region"));
  for (QQuickItem* action : items("sheetAction")) {
    check(action, QAccessible::Button, action->property("text").toString());
  }
  press(Qt::Key_Escape);
  click(control("user"));
  type(" ");
  click(item("button"));
  for (QQuickItem* each : visibleItems(stage().activeView()->content())) {
    const auto* told = QAccessible::queryAccessibleInterface(each);
    if (!told || told->role() != QAccessible::AlertMessage) continue;
    EXPECT_EQ(told->text(QAccessible::Name), "Veltrane Flow");
    EXPECT_EQ(told->text(QAccessible::Description), "Please input user");
    return;
  }
  FAIL() << "the alert does not say that it is one";
}

/// Everything that assistive programs are told of texts, from the window down and as it happens.
class Eavesdropper {
 public:
  explicit Eavesdropper(QQuickWindow& window) : window_(window) {
    heard().clear();
    former_ = QAccessible::installUpdateHandler(&listen);
  }
  ~Eavesdropper() { QAccessible::installUpdateHandler(former_); }

  bool learns(const QString& text) {
    ask(QAccessible::queryAccessibleInterface(&window_));
    for (QQuickItem* each : visibleItems(window_.contentItem())) {
      ask(QAccessible::queryAccessibleInterface(each));
    }
    return heard().join('\n').contains(text);
  }

 private:
  static QStringList& heard() {
    static QStringList texts;
    return texts;
  }
  static void listen(QAccessibleEvent* event) {
    if (event->type() == QAccessible::ValueChanged) {
      heard() << static_cast<QAccessibleValueChangeEvent*>(event)->value().toString();
    } else if (event->type() == QAccessible::TextInserted) {
      heard() << static_cast<QAccessibleTextInsertEvent*>(event)->textInserted();
    }
    ask(event->accessibleInterface());
  }
  static void ask(QAccessibleInterface* told) {
    if (!told || !told->isValid()) return;
    for (const auto kind : {QAccessible::Name, QAccessible::Description, QAccessible::Value}) {
      heard() << told->text(kind);
    }
    if (auto* text = told->textInterface()) heard() << text->text(0, text->characterCount());
    if (auto* value = told->valueInterface()) heard() << value->currentValue().toString();
    for (int i = 0; i < told->childCount(); ++i) ask(told->child(i));
  }

  QQuickWindow& window_;
  QAccessible::UpdateHandler former_ = nullptr;
};

TEST_F(Look, AHiddenSecretIsHiddenFromAssistivePrograms) {
  openForm({secret("pin"), field("user")});
  Eavesdropper eavesdropper(window_);
  press(Qt::Key_Tab);
  press(Qt::Key_Backtab, Qt::ShiftModifier);
  type("s3cret");
  press(Qt::Key_A, Qt::ControlModifier);
  press(Qt::Key_Home);
  EXPECT_FALSE(eavesdropper.learns("s3cret"));
  EXPECT_TRUE(eavesdropper.learns(QString("•").repeated(6)));

  click(item("showControl"));
  EXPECT_TRUE(eavesdropper.learns("s3cret"));
}

TEST_F(Look, RightToLeftMirrors) {
  openForm(everything());
  const auto mirroredPlace = [&](const QRectF& rect) {
    return QRectF(390 - rect.right(), rect.top(), rect.width(), rect.height());
  };
  control("user");
  const QRectF show = place(item("showControl"));
  const QRectF cancel = place(item("cancelButton"));
  stage().setMirrored(true);
  settle();
  EXPECT_EQ(place(item("showControl")), mirroredPlace(show));
  EXPECT_EQ(place(item("cancelButton")), mirroredPlace(cancel));
  EXPECT_EQ(control("user")->property("effectiveHorizontalAlignment").toInt(), Qt::AlignRight);
}

/// Text that does not fit in the room it was given.
std::vector<std::string> clippedTexts(QQuickItem* root) {
  std::vector<std::string> clipped;
  for (QQuickItem* each : visibleItems(root)) {
    const int painted = each->metaObject()->indexOfProperty("paintedWidth");
    if (painted < 0) continue;
    const double width = each->property("paintedWidth").toDouble();
    const double height = each->property("paintedHeight").toDouble();
    if (width > each->width() + 1 || height > each->height() + 1) {
      clipped.push_back(each->property("text").toString().toStdString());
    }
  }
  return clipped;
}

TEST_F(Look, LargeTextGrowsRowsWithoutCuttingWords) {
  auto components = everything();
  components.insert(components.begin(), field("mail", R"("placeholder":"you@company.example")"));
  openForm(components, R"("navTitle":{"value":"Confirm your identity"})");
  const double before = form()->property("contentHeight").toDouble();
  stage().setTextScale(2);
  settle();
  EXPECT_GT(form()->property("contentHeight").toDouble(), before * 1.3);
  EXPECT_EQ(clippedTexts(stage().activeView()->content()), std::vector<std::string>());
  EXPECT_FALSE(item("placeholder")->property("truncated").toBool());
  std::vector<QRectF> rows;
  for (int row = 0; row < screen()->rows()->rowCount(); ++row) {
    QQuickItem* item = nullptr;
    QMetaObject::invokeMethod(form(), "itemAtIndex", Q_RETURN_ARG(QQuickItem*, item),
                              Q_ARG(int, row));
    if (item) rows.push_back(place(item));
  }
  ASSERT_GT(rows.size(), 3U);
  for (std::size_t i = 1; i < rows.size(); ++i) EXPECT_GE(rows[i].top(), rows[i - 1].bottom());
}

TEST_F(Look, AFieldKeepsClearOfItsEdgeAndOfItsShowControl) {
  openForm({secret("pin")});
  type(QString("x").repeated(80));
  for (const bool mirrored : {false, true}) {
    stage().setMirrored(mirrored);
    settle();
    const QRectF box = place(control("pin")->parentItem());
    const QRectF text = place(control("pin"));
    EXPECT_TRUE(control("pin")->clip());
    EXPECT_FALSE(text.intersects(place(item("showControl")))) << mirrored;
    EXPECT_EQ(mirrored ? box.right() - text.right() : text.left() - box.left(), 14);
    // Beside the text the field is hit as well.
    press(Qt::Key_Tab);
    QTest::mouseClick(&window_, Qt::LeftButton, {},
                      QPoint(mirrored ? box.right() - 5 : box.left() + 5, box.center().y()));
    settle();
    EXPECT_EQ(focused(), control("pin"));
  }
}

class LookBothWays : public Look, public ::testing::WithParamInterface<bool> {};
INSTANTIATE_TEST_SUITE_P(Mirrored, LookBothWays, ::testing::Bool());

TEST_P(LookBothWays, NothingLiesOnTheWordsOfARow) {
  const bool mirrored = GetParam();
  stage().setMirrored(mirrored);
  openForm({field("user", R"("placeholder":"Name")"), toggle("keep")});
  const auto within = control("user")->property("cursorRectangle").toRectF();
  const QRectF caret = control("user")->mapRectToScene(within);
  const QRectF hint = place(item("placeholder"));
  EXPECT_GE(mirrored ? caret.left() - hint.right() : hint.left() - caret.right(), 1);

  press(Qt::Key_Tab);
  const QRectF ring = place(item("ring"));
  const QRectF row = place(focused());
  EXPECT_GE(row.left() - ring.left(), 8);
  EXPECT_GE(ring.right() - row.right(), 8);
  EXPECT_GE(ring.left(), 0);
}

TEST_F(Look, WideWindowsKeepTheColumnNarrowAndCentred) {
  window_.resize(1200, 800);
  openForm({field("user")});
  const QRectF field = place(control("user")->parentItem());
  EXPECT_DOUBLE_EQ(field.width(), 480);
  EXPECT_DOUBLE_EQ(field.center().x(), 600);
  EXPECT_GE(field.height(), 48);
  EXPECT_GE(place(item("button")).height(), 50);
}

TEST_F(Look, ThemeAndDocumentColoursAreDrawnAsTheyAre) {
  const auto properties = std::string(R"("screenComponentList":{"value":[)") +
                          label("Red", R"({"color":"#aa0000"})") + "," + label("Plain") + "]}," +
                          kButton + "," + kPostEvent;
  open(document(config("form", properties), {view("ScreenTemplate1", "form")}),
       VTTheme{"#102030", "#f0e0d0", "#001122", "#88ccff"});
  const auto& palette = screen()->palette();
  EXPECT_EQ(palette.background, QColor("#102030"));
  EXPECT_EQ(palette.accent, QColor("#88ccff"));
  EXPECT_EQ(item("button")->property("fill").value<QColor>(), QColor("#88ccff"));
  EXPECT_EQ(item("button")->property("ink").value<QColor>(), QColor("#001122"));
  std::vector<QColor> colours;
  for (QQuickItem* each : visibleItems(form())) {
    const auto text = each->property("text").toString();
    if (text == "Red" || text == "Plain")
      colours.push_back(each->property("color").value<QColor>());
  }
  EXPECT_EQ(colours, (std::vector<QColor>{"#aa0000", "#f0e0d0"}));
}

TEST_F(Look, ASwitchShowsWhereItsKnobIs) {
  openForm({toggle("keep")});
  for (const bool dark : {false, true}) {
    stage().setDark(dark);
    for (int turn = 0; turn < 2; ++turn) {
      click(control("keep"));
      const QQuickItem* knob = item("knob");
      const auto colour = [](const QQuickItem* of) {
        return of->property("color").value<QColor>();
      };
      const auto track = colour(knob->parentItem());
      EXPECT_GE(contrast(colour(knob), track), 3) << dark;
      EXPECT_GE(contrast(track, screen()->palette().background), 3) << dark;
    }
  }
}

TEST_F(Look, TheFocusIsSeenWithAKeyboardAndNotAfterAClick) {
  openForm({toggle("keep"), toggle("more")});
  const auto ringSeen = [&](QQuickItem* control) {
    const auto all = visibleItems(control);
    return std::any_of(all.begin(), all.end(),
                       [](const QQuickItem* each) { return each->objectName() == "ring"; });
  };
  press(Qt::Key_Tab);
  EXPECT_TRUE(ringSeen(focused()));
  click(control("keep"));
  EXPECT_FALSE(ringSeen(control("keep")));
}

TEST_F(Look, FollowsTheSystemUntilTheHostDecides) {
  openForm({field("user")});
  const auto before = QGuiApplication::palette();
  const QPalette dark(QColor("#202020"));
  QGuiApplication::setPalette(dark);
  settle();
  EXPECT_EQ(screen()->palette().background, QColor("#111418"));
  EXPECT_EQ(control("user")->property("color").value<QColor>(), QColor("#ECEFF3"));
  stage().setDark(false);
  QGuiApplication::setPalette(before);
  QGuiApplication::setPalette(dark);
  settle();
  EXPECT_EQ(screen()->palette().background, QColor("#FFFFFF"));
  QGuiApplication::setPalette(before);
  settle();
}

}  // namespace
}  // namespace veltrane::qtquick::test
