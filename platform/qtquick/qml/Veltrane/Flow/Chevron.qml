import QtQuick
import Veltrane.Flow

// A thin arrow head, pointing down.
Item {
    id: chevron

    property color color: "black"
    property real size: 10

    clip: true
    height: chevron.size / 2 + 2
    width: chevron.size + 4

    Rectangle {
        anchors.horizontalCenter: parent.horizontalCenter
        antialiasing: true
        border.color: chevron.color
        border.width: 1.6
        color: "transparent"
        height: chevron.size * 0.72
        rotation: 45
        width: height
        y: -height / 2 - 1
    }
}
