import QtQuick
import Veltrane.Flow

// Everything a flow shows, over what its host shows.
FocusScope {
    id: overlay

    required property FlowStage stage

    LayoutMirroring.childrenInherit: true
    LayoutMirroring.enabled: overlay.stage.mirrored
    anchors.fill: parent
    clip: true
    visible: overlay.stage.showing
    z: 1000

    // Screens fill the overlay once they have come to rest.
    Binding {
        property: "coveredByKeyboard"
        target: overlay.stage
        value: {
            const top = overlay.stage.keyboardTop;
            const foot = overlay.mapToItem(null, 0, overlay.height).y;
            return top < 0 ? 0 : Math.max(0, foot - top);
        }
    }
    // What lies below hears neither clicks nor the wheel.
    MouseArea {
        acceptedButtons: Qt.AllButtons
        anchors.fill: parent
        hoverEnabled: true

        onWheel: wheel => wheel.accepted = true
    }
    Repeater {
        model: overlay.stage

        delegate: FlowView {
        }
    }
}
