#include "veltrane/ui/main_storyboard.h"

#include "veltrane/face/face_image_capture_vc.h"
#include "veltrane/toolkit/storyboard.h"
#include "veltrane/ui/mfa_screen1_vc.h"
#include "veltrane/ui/screen_template1_vc.h"
#include "veltrane/ui/start_flow_vc.h"

namespace veltrane {

std::shared_ptr<Storyboard> makeMainStoryboard() {
  auto storyboard = std::make_shared<Storyboard>();
  storyboard->add("StartFlowVC", [] { return std::make_shared<StartFlowVC>(); });
  storyboard->add("ScreenTemplate1VC", [] { return std::make_shared<ScreenTemplate1VC>(); });
  storyboard->add("MfaScreen1VC", [] { return std::make_shared<MfaScreen1VC>(); });
  storyboard->add("FaceImageCaptureVC", [] { return std::make_shared<FaceImageCaptureVC>(); });
  return storyboard;
}

}  // namespace veltrane
