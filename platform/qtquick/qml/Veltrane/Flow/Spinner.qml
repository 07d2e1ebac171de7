import QtQuick
import Veltrane.Flow

// Dots on a circle that turn.
Item {
    id: spinner

    property color color: "white"
    property bool running: true

    implicitHeight: 36
    implicitWidth: 36

    Item {
        id: wheel

        anchors.fill: parent

        NumberAnimation on rotation  {
            duration: 1000
            from: 0
            loops: Animation.Infinite
            running: spinner.running && spinner.visible
            to: 360
        }

        Repeater {
            model: 10

            delegate: Rectangle {
                id: dot

                required property int index
                readonly property real angle: dot.index * Math.PI / 5

                antialiasing: true
                color: spinner.color
                height: 5
                opacity: 0.15 + 0.85 * dot.index / 9
                radius: 2.5
                width: 5
                x: wheel.width / 2 + Math.cos(dot.angle) * (wheel.width / 2 - 3) - 2.5
                y: wheel.height / 2 + Math.sin(dot.angle) * (wheel.height / 2 - 3) - 2.5
            }
        }
    }
}
