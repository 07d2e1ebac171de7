import QtQuick
import Veltrane.Flow

// A thin arrow head, pointing down: two strokes that meet in its tip. Placed without anchors, which
// would change sides where the layout is mirrored and turn it upside down.
Item {
    id: chevron

    property color color: "black"
    property real size: 10
    property real stroke: 1.6

    height: chevron.size / 2 + chevron.stroke
    width: chevron.size + chevron.stroke

    Rectangle {
        antialiasing: true
        color: chevron.color
        height: chevron.stroke
        radius: height / 2
        rotation: 45
        width: chevron.size * Math.SQRT1_2 + chevron.stroke
        x: (chevron.width - chevron.size / 2 - width) / 2
        y: (chevron.height - height) / 2
    }
    Rectangle {
        antialiasing: true
        color: chevron.color
        height: chevron.stroke
        radius: height / 2
        rotation: -45
        width: chevron.size * Math.SQRT1_2 + chevron.stroke
        x: (chevron.width + chevron.size / 2 - width) / 2
        y: (chevron.height - height) / 2
    }
}
