#include <gtest/gtest.h>

#include <QAccessible>

#include "platform/qtquick/picture_view.h"
#include "tests/qtquick/front_end.h"

namespace veltrane::qtquick::test {
namespace {

// "picture 4x3", as the test's codec reads it.
constexpr const char* kBase64 = "\"cGljdHVyZSA0eDM=\"";

std::string image(const std::string& value, const std::string& attributes) {
  return component("image", "", value, "{" + attributes + "}");
}

class PictureRows : public FrontEnd {
 protected:
  QQuickItem* row(int index) {
    QQuickItem* found = nullptr;
    QMetaObject::invokeMethod(form(), "itemAtIndex", Q_RETURN_ARG(QQuickItem*, found),
                              Q_ARG(int, index));
    return found;
  }
  /// Rows whose cell holds a picture.
  std::vector<int> holders() {
    std::vector<int> rows;
    TableView& table = controller().mainTableView;
    for (std::size_t i = 0; i < table.numberOfRows(); ++i) {
      const auto cell = std::dynamic_pointer_cast<ImageTableViewCell>(table.cell(i));
      if (cell && cell->icon.image) rows.push_back(static_cast<int>(i));
    }
    return rows;
  }
};

TEST_F(PictureRows, HaveTheirRoomBeforeThePictureArrivesAndKeepIt) {
  const std::string base64 = R"("imageType":"pngBase64Image")";
  openForm({image(kBase64, base64), image(kBase64, base64 + R"(,"height":60)"),
            image(kBase64, R"("height":60)"), image("\"no picture\"", base64)});
  const auto heights = [&] {
    std::vector<double> all;
    for (int i = 0; i < 4; ++i) all.push_back(row(i)->height());
    return all;
  };
  const std::vector<double> wanted = {200, 60, 0, 200};
  EXPECT_EQ(heights(), wanted);
  EXPECT_TRUE(listScreen()->rows()->isLoading());
  settlePictures();
  EXPECT_EQ(heights(), wanted);
  EXPECT_FALSE(listScreen()->rows()->isLoading());

  const auto pictures = items("picture");
  ASSERT_EQ(pictures.size(), 3U);
  const auto* told = QAccessible::queryAccessibleInterface(pictures.front());
  ASSERT_NE(told, nullptr);
  EXPECT_EQ(told->role(), QAccessible::Graphic);
  EXPECT_EQ(told->text(QAccessible::Name), "Picture");
  EXPECT_EQ(pictures.front()->opacity(), 1);
  EXPECT_EQ(pictures.back()->opacity(), 0) << "a broken picture";
}

TEST_F(PictureRows, OfAThousandsOnlyThoseInSightHoldTheirPicture) {
  constexpr int kRows = 5'000;
  openForm(std::vector<std::string>(
      kRows, image(kBase64, R"("imageType":"pngBase64Image","height":100)")));
  for (int page = 0; page < 10; ++page) {
    form()->setProperty("contentY", page * 700);
    settlePictures();
  }
  EXPECT_GE(platform_.codec->decoded, 60);
  EXPECT_LE(platform_.codec->decoded, 200);
  QMetaObject::invokeMethod(form(), "controlAt", Q_ARG(QVariant, QVariant(kRows - 1)));
  settlePictures();
  const auto held = holders();
  EXPECT_GE(held.size(), 6U);
  EXPECT_LE(held.size(), 20U);
  EXPECT_GT(held.front(), kRows - 30);
}

TEST_F(PictureRows, LateIconsStayWithTheirOwnRow) {
  std::string methods;
  for (int i = 0; i < 60; ++i) {
    methods += (i ? "," : "") + method("M" + std::to_string(i), "",
                                       "https://i.example/" + std::to_string(i + 1) + ".png");
  }
  open(methodList(methods));
  // Answers everything that is still wanted, the latest request first; the width tells the row.
  const auto answerAll = [&] {
    std::size_t answered = 1;
    while (answered < platform_.transport->exchanges.size()) {
      const std::size_t known = platform_.transport->exchanges.size();
      for (std::size_t i = known; i-- > answered;) {
        auto& exchange = *platform_.transport->exchanges[i];
        const auto name = exchange.request.url.substr(exchange.request.url.rfind('/') + 1);
        exchange.finish(HTTPResponse{200, "picture " + std::to_string(std::stoi(name)) + "x1"});
      }
      answered = known;
      settlePictures();
    }
  };
  const auto check = [&](const char* when) {
    int seen = 0;
    for (QQuickItem* icon : items("icon")) {
      QQuickItem* row = icon;
      while (row && !row->property("index").isValid()) row = row->parentItem();
      ASSERT_NE(row, nullptr);
      const auto& image = qobject_cast<PictureView*>(icon)->picture().view.image;
      if (!image) continue;
      ++seen;
      EXPECT_EQ(image->size.width, row->property("index").toInt() + 1) << when;
    }
    EXPECT_GE(seen, 8) << when;
  };
  for (const int to : {30, 59, 0}) {
    controlAt(to);
    if (to == 59) answerAll();
  }
  answerAll();
  check("back at the top");
  controlAt(59);
  answerAll();
  check("at the end");
}

}  // namespace
}  // namespace veltrane::qtquick::test
