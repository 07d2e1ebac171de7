import QtQuick
import Veltrane.Flow

// A thin arrow head, pointing down: two strokes that meet in its tip.
Item {
    id: chevron

    property color color: "black"
    property real size: 10
    property real stroke: 1.6

    height: chevron.size / 2 + chevron.stroke
    width: chevron.size + chevron.stroke

    Rectangle {
        anchors.horizontalCenterOffset: -chevron.size / 4
        anchors.centerIn: parent
        antialiasing: true
        color: chevron.color
        height: chevron.stroke
        radius: height / 2
        rotation: 45
        width: chevron.size * Math.SQRT1_2 + chevron.stroke
    }
    Rectangle {
        anchors.horizontalCenterOffset: chevron.size / 4
        anchors.centerIn: parent
        antialiasing: true
        color: chevron.color
        height: chevron.stroke
        radius: height / 2
        rotation: -45
        width: chevron.size * Math.SQRT1_2 + chevron.stroke
    }
}
