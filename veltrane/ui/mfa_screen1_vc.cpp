#include "veltrane/ui/mfa_screen1_vc.h"

#include <utility>

#include "veltrane/base/fatal.h"
#include "veltrane/toolkit/navigation_controller.h"
#include "veltrane/ui/alert.h"
#include "veltrane/ui/cells/mfa_table_view_cell.h"
#include "veltrane/ui/open.h"

namespace veltrane {
namespace {

constexpr std::string_view kCell = "MFATableViewCell";
/// The methods are those of the flow's first user view.
constexpr std::size_t kActiveScreen = 0;

}  // namespace

void MfaScreen1VC::viewDidLoad() {
  FlowScreen::viewDidLoad();
  observeFlowNotification();
  if (!flow) fatal("The method screen was opened without a flow.");
  records =
      MfaScreen1ViewModel::getAuthenticationMethods({.flow = *flow, .activeScreen = kActiveScreen});
  if (records.empty()) emptyLabel.text = "There is no way to sign in here at the moment.";
  navigationItem.title = (*flow)["screen"]["properties"]["navTitle"]["value"].text();
  authListTableView.setDataSource(this);
  setupTablewView();
  authListTableView.reloadData();
}

void MfaScreen1VC::setupTablewView() {
  authListTableView.registerCell(kCell, [] { return std::make_shared<MFATableViewCell>(); });
}

// Of the screens on one stack the one on display answers the end of the flow.
void MfaScreen1VC::viewWillAppear(bool animated) {
  FlowScreen::viewWillAppear(animated);
  setOpening(false);
  observeFlowNotification();
}

void MfaScreen1VC::viewWillDisappear(bool animated) {
  FlowScreen::viewWillDisappear(animated);
  removeObservers();
}

void MfaScreen1VC::setOpening(bool opening) {
  if (std::exchange(opening_, opening) != opening) changed();
}

std::shared_ptr<TableViewCell> MfaScreen1VC::cellForRow(IndexPath indexPath) {
  const auto cell =
      std::dynamic_pointer_cast<MFATableViewCell>(authListTableView.dequeueReusableCell(kCell));
  if (!cell) return std::make_shared<TableViewCell>();
  cell->configure(records.at(indexPath.row));
  return cell;
}

void MfaScreen1VC::openSelectedScreen(std::size_t index) {
  const auto navigation = navigationController();
  if (!navigation || opening_) return;
  if (index >= records.size()) fatal("The row is outside the list of methods.");
  if (!vtFlow || !flow) fatal("The method screen was opened without a flow.");
  const AuthMethod& method = records[index];
  if (method.userViewProps->empty()) {
    return Alert::showAlert(shared_from_this(), "This method is not available.", "Veltrane Flow");
  }
  setOpening(true);
  Open::screenTemplate1VC({.vtFlow = vtFlow,
                           .from = navigation,
                           .flow = *flow,
                           .userViewProps = *method.userViewProps,
                           .userViewIndex = 0,
                           .isModel = false,
                           .makeItRoot = false});
}

}  // namespace veltrane
