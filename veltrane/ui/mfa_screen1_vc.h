#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

#include "veltrane/toolkit/controls.h"
#include "veltrane/toolkit/table_view.h"
#include "veltrane/ui/flow_screen.h"
#include "veltrane/ui/mfa_screen1_view_model.h"

namespace veltrane {

/// The screen on which the user picks one of the authentication methods that a flow offers. Main
/// thread only.
class MfaScreen1VC final : public FlowScreen, private TableViewDataSource {
 public:
  std::string_view className() const override { return "MfaScreen1VC"; }

  // What a front end draws.
  TableView authListTableView;
  /// What stands in place of the list when no method is offered; no text while there are some.
  Label emptyLabel;

  std::shared_ptr<MfaScreen1ViewModel> viewModel;
  /// The rows, in their order; empty until the screen has loaded.
  std::vector<AuthMethod> records;

  // Life cycle. `flow` is set before the screen loads.
  void viewDidLoad() override;
  void viewWillAppear(bool animated) override;
  void viewWillDisappear(bool animated) override;

  /// A chosen method's first screen is about to open; another choice does nothing meanwhile.
  bool isOpening() const { return opening_; }

  // What the user does.
  void didSelectRow(IndexPath indexPath) { openSelectedScreen(indexPath.row); }
  /// Opens the first screen of the method at `index`, which lies within `records`. A method without
  /// screens is told in an alert; without a navigation controller nothing happens.
  void openSelectedScreen(std::size_t index);

  void setupTablewView();

 private:
  // TableViewDataSource
  std::size_t numberOfRows() const override { return records.size(); }
  std::shared_ptr<TableViewCell> cellForRow(IndexPath indexPath) override;
  void setOpening(bool opening);

  bool opening_ = false;
};

}  // namespace veltrane
