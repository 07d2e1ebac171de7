import QtQuick
import Veltrane.Flow

// A picture that comes in gently when it arrives.
PictureView {
    id: view

    // Whether things move at all.
    required property bool moves

    opacity: view.picture.here ? 1 : 0

    Behavior on opacity  {
        enabled: view.moves && view.picture.here

        NumberAnimation {
            duration: 160
            easing.type: Easing.OutCubic
        }
    }
}
