import QtQuick
import Veltrane.Flow

// A thin arrow head, pointing down.
Item {
    id: chevron

    property color color: "black"
    property real size: 10
    property real stroke: 1.6

    clip: true
    height: chevron.size / 2 + 2
    width: chevron.size + 4

    Rectangle {
        anchors.horizontalCenter: parent.horizontalCenter
        antialiasing: true
        border.color: chevron.color
        border.width: chevron.stroke
        color: "transparent"
        height: chevron.size * 0.72
        rotation: 45
        width: height
        y: -height / 2 - 1
    }
}
