#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "veltrane/connectors/identity_connector.h"
#include "veltrane/engine/screens_view_model.h"
#include "veltrane/face/face_image_capture.h"
#include "veltrane/network/poll_for_challenge_status.h"
#include "veltrane/toolkit/controls.h"
#include "veltrane/toolkit/table_view.h"
#include "veltrane/ui/cells/button_table_view_cell.h"
#include "veltrane/ui/cells/dropdown_table_view_cell.h"
#include "veltrane/ui/cells/text_field_table_view_cell.h"
#include "veltrane/ui/cells/toggle_switch_table_view_cell.h"
#include "veltrane/ui/flow_screen.h"

namespace veltrane {

/// The screen that shows every supported user view as a list of rows, gathers what the user enters,
/// sends it, and goes where the answer leads. Main thread only.
class ScreenTemplate1VC final : public FlowScreen,
                                public ScreensViewModelDelegate,
                                public TextFieldTableViewCellDelegate,
                                public ButtonTableViewCellDelegate,
                                public ToggleSwitchTableViewCellDelegate,
                                public DropdownTableViewCellDelegate,
                                public FaceImageCaptureVCDelegate,
                                public ConnectorHost,
                                private TableViewDataSource {
 public:
  ScreenTemplate1VC();
  std::string_view className() const override { return "ScreenTemplate1VC"; }

  // What a front end draws.
  TableView mainTableView;
  /// Paddings of the table inside the screen, in points.
  EdgeInsets margins;
  ActivityPanel loading;
  /// Null until the screen has loaded.
  std::shared_ptr<ScreensViewModel> viewModel;
  /// A request of this screen runs, or its answer opens the next screen; the button sends nothing
  /// meanwhile.
  bool isBusy() const;

  /// This screen asks the server for an approval from time to time.
  bool isPolling() const { return poll_ && poll_->isRunning(); }

  /// What the user has entered, by row key; sent with the next event.
  Dictionary textFieldsKeyValues;

  // Life cycle.
  void viewDidLoad() override;
  void viewWillAppear(bool animated) override;
  void viewWillDisappear(bool animated) override;
  void didLeaveStack() override;
  /// An on-screen keyboard of this height, in points, covers the bottom of the screen.
  void keyboardWillShow(std::optional<double> height);
  void keyboardWillHide();

  // What the user does.
  void buttonPressed() override;
  void textChange(const std::string& text, IndexPath indexPath) override;
  void switchValueChanged(bool val, IndexPath indexPath) override;
  void optionSelected(const std::string& text, IndexPath indexPath) override;

  // What became of the screen's events.
  void nextEventProcessComplete(const std::optional<JSON>& response,
                                const std::optional<VeltraneFlowError>& error,
                                std::optional<std::size_t> userViewIndex) override;
  void postProcessNextEventComplete(const std::optional<JSON>& response,
                                    const std::optional<VeltraneFlowError>& error,
                                    std::optional<std::size_t> userViewIndex) override;
  void handleNextScreenTransition(std::size_t userViewIndex, const UserViewProps& userViewProps);
  void faceImageCaptureResult(const std::optional<std::string>& base64Png,
                              const std::optional<VeltraneFlowError>& error) override;

  void showActivityIndicator();
  void hideActivityIndicator();

  // ConnectorHost
  void beginStep(const Dictionary& userView, std::size_t userViewIndex) override;
  void sendNextEvent(const Dictionary& additionalParameter) override;
  void presentOver(std::shared_ptr<ViewController> controller) override;
  void showAlert(const std::string& message) override;
  void notify(UserInfo userInfo) override;

 private:
  // TableViewDataSource
  std::size_t numberOfRows() const override;
  std::shared_ptr<TableViewCell> cellForRow(IndexPath indexPath) override;

  void adopt(std::shared_ptr<ScreensViewModel> model);
  void registerCells();
  void setupUISize();
  void reloadRows();
  void currentCell(BaseCell& cell, IndexPath indexPath);
  void configure(ButtonTableViewCell& cell, const JSON& value);
  void configure(TextFieldTableViewCell& cell, IndexPath indexPath, const JSON& value,
                 const std::optional<JSON>& props);
  void configure(ToggleSwitchTableViewCell& cell, IndexPath indexPath, const JSON& value,
                 const std::optional<JSON>& props);
  void configure(DropdownTableViewCell& cell, IndexPath indexPath, const JSON& value,
                 const std::optional<JSON>& props);
  void sendFrom(const std::shared_ptr<ScreensViewModel>& model,
                const ScreensViewModel::NextEvent& event);
  void fireOnLoadEvent();
  void startPolling();
  void pollingEnded(const std::optional<std::string>& status,
                    const std::optional<std::string>& error);
  void scheduleFaceCapture();
  void openFaceCapture();
  std::optional<std::string> firstEmptyKey() const;
  void enter(JSON value, IndexPath indexPath);
  void renderNewFlow(const JSON& flowDocument);
  void lastStepDone(const std::optional<JSON>& response);
  void stepDone(const std::optional<JSON>& response, std::size_t index);
  void moveToNextScreen(std::string_view templateName, std::size_t index,
                        const UserViewProps& props);
  void stayOnScreen(std::string_view templateName, std::size_t index, const UserViewProps& props);
  void startJumio(const UserViewProps& viewProps, std::size_t index);
  void startOnFido(const UserViewProps& viewProps, std::size_t index);
  void handOverTo(std::shared_ptr<IdentityConnector> connector);
  void setLoadingHidden(bool hidden);
  void setMoving(bool moving);
  std::shared_ptr<ScreenTemplate1VC> self();
  /// Runs work with this screen on a later turn of the main queue, if it still exists then.
  void onMain(std::function<void(ScreenTemplate1VC&)> work);

  /// What the user had entered when the rows were last replaced; shown again under the same keys.
  Dictionary enteredBeforeReload_;
  /// What rows tell by themselves while they are replaced. A server may send very many of them.
  std::optional<std::vector<Dictionary::Entry>> toldByRows_;
  /// The last hand-over; it has ended, or its vendor's screen is over this one.
  std::shared_ptr<IdentityConnector> connector_;
  std::shared_ptr<ScreensViewModel> handOverModel_;
  /// The one whose answer is awaited: its own step follows, not that of the screen below.
  std::weak_ptr<ScreensViewModel> lastSender_;
  std::shared_ptr<PollForChallengeStatus::Run> poll_;
  Subscription busySubscription_;
  bool moving_ = false;
  Subscription handOverBusySubscription_;
};

}  // namespace veltrane
