#pragma once

#include <gtest/gtest.h>

#include <QQuickItem>
#include <QQuickWindow>
#include <QString>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/qtquick/flow_presenter.h"
#include "platform/qtquick/flow_stage.h"
#include "platform/qtquick/screen_items.h"
#include "tests/core/host.h"
#include "veltrane/flow/vt_flow.h"

namespace veltrane::qtquick::test {

using namespace veltrane::testing;

/// A flow in a window of its own, used as a person uses it: by mouse, keyboard and by looking. The
/// network is the test's.
class FrontEnd : public ::testing::Test {
 protected:
  FrontEnd();
  ~FrontEnd() override;

  /// Starts a flow and answers with the document; its first screen is on display afterwards.
  void open(const std::string& flowDocument, const std::optional<VTTheme>& theme = std::nullopt);
  /// One screen of these components and a button "Next" that posts.
  void openForm(const std::vector<std::string>& components, const std::string& more = "");
  /// Lets everything happen that is due, until nothing moves any more.
  void settle();
  /// Waits for what the event loop will bring about.
  void waitFor(const std::function<bool()>& condition);

  void click(QQuickItem* item);
  void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
  void type(const QString& text);

  FlowStage& stage() { return presenter_.stage(); }
  TemplateScreenItem* screen();
  ListScreenItem* listScreen();
  /// The topmost generic screen, under an alert or not.
  ScreenTemplate1VC& controller();
  QQuickItem* form() { return item("rows"); }
  /// What the user sees under that name on the topmost view; null when it is not there.
  QQuickItem* item(const char* name);
  std::vector<QQuickItem*> items(const char* name);
  /// The control of the row of that key, scrolled into view.
  QQuickItem* control(const std::string& key);
  QQuickItem* controlAt(int row);
  /// Lets pictures be decoded and shown as well.
  void settlePictures();
  QQuickItem* focused() { return window_.activeFocusItem(); }
  std::string entered(const std::string& key);

  FakePlatform platform_;
  QQuickWindow window_;
  FlowPresenter presenter_{&window_};
  std::shared_ptr<RecordingDelegate> delegate_ = std::make_shared<RecordingDelegate>();
  std::shared_ptr<VTFlow> flow_;
};

/// A connector of a method list; `members` follow its identifier, "iconUrlPng" is `icon`.
inline std::string method(const std::string& title, const std::string& subTitle,
                          const std::string& icon = "", const std::string& members = "") {
  return R"({"properties":{"title":{"value":")" + title + R"("},"authDescription":{"value":")" +
         subTitle + R"("},"iconUrlPng":{"value":")" + icon + R"("}},"connectorId":"c")" + members +
         "}";
}
/// The members of a method whose one screen is the form "own".
inline constexpr const char* kOwnScreen =
    R"(,"userViews":[{"screenTemplateName":"ScreenTemplate1","screenConfigName":"own"}])";
/// A flow that opens with these methods, separated by commas.
inline std::string methodList(const std::string& methods) {
  return document(
      R"("navTitle":{"value":"Verify"},"mfaList":{"constructType":"vtConnectorList","value":[)" +
          methods + "]}," + config("own", std::string(kPostEvent) + "," + kButton),
      {R"({"screenTemplateName":"MfaScreen1","items":[{"propertyName":"mfaList"}]})"});
}

inline std::string field(const std::string& key, const std::string& attributes = "") {
  return component("textField", key, R"("")",
                   R"({"displayName":"Caption of )" + key + '"' +
                       (attributes.empty() ? "" : "," + attributes) + "}");
}
inline std::string secret(const std::string& key) {
  return field(key, R"("hashedVisibility":true)");
}
inline std::string toggle(const std::string& key) {
  return component("toggleSwitch", key, "false", R"({"displayName":"Caption of )" + key + R"("})");
}
inline std::string dropdown(const std::string& key) {
  return component("dropdown", key, R"("")",
                   R"({"displayName":"Region","options":["Europe","Americas","Asia"]})");
}
inline std::string label(const std::string& text, const std::string& attributes = "{}") {
  return component("label", "", '"' + text + '"', attributes);
}

/// All items below `root` that can be seen, root included.
std::vector<QQuickItem*> visibleItems(QQuickItem* root);
QRectF place(const QQuickItem* item);

}  // namespace veltrane::qtquick::test
