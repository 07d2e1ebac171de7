#pragma once

#include <memory>

#include "veltrane/face/face_vision.h"

namespace veltrane::opencv {

/// Finds and follows faces by OpenCV and small neural networks, on one thread: the caller's.
/// Main thread; quick: OpenCV and the models load on a thread of their own, which the first
/// question waits for, and so does whoever destroys it before that. Never null: where they cannot
/// be had, questions are answered with an error that says why.
///
/// A box goes from the brows to the chin and from ear to ear and is about square; a tracked one has
/// the same measure. A face is followed by looking for its features around where it was last; the
/// confidence is how sure the network is that a face is there. Landmarks are eyes, brows, nose,
/// lips, and the face's own outline.
///
/// Built without the models, faces are found by OpenCV's cascade of local binary patterns, which
/// the console is told once: less sure, upright frontal faces alone, no landmarks.
std::shared_ptr<FaceVision> makeFaceVision();

}  // namespace veltrane::opencv
