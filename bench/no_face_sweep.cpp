// Ten thousand frames without a face, through all that is done with a frame: how many of them would
// have been taken for the picture of one.

#include <algorithm>
#include <cstdio>

#include "platform/opencv/face_vision.h"
#include "tests/vision/face_clip.h"
#include "veltrane/face/face_tracking.h"

int main() {
  using namespace veltrane;
  constexpr unsigned kFrames = 10000;
  FaceTracking tracking(opencv::makeFaceVision());
  unsigned frames = 0;
  int found = 0;
  int followed = 0;
  int taken = 0;
  // Other seeds than the tests have.
  for (unsigned seed = 1000; frames < kFrames; ++seed) {
    for (const auto& canvas : testing::heldScene(seed)) {
      ++frames;
      const auto seen = tracking.captureOutput(testing::frameOf(canvas));
      if (!seen || seen->faces.empty()) continue;
      ++(seen->areTracked ? followed : found);
      const bool isTaken =
          seen->areTracked &&
          std::any_of(seen->faces.begin(), seen->faces.end(),
                      [](const auto& face) { return testing::liesInOval(face.boundingBox); });
      taken += isTaken ? 1 : 0;
    }
  }
  std::printf(
      "FACES of %u frames without one: found in %d, followed in %d, taken in %d (wanted: 0)\n",
      frames, found, followed, taken);
  return taken == 0 ? 0 : 1;
}
