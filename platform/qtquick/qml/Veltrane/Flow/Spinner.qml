import QtQuick
import Veltrane.Flow

// Dots on a circle that turn.
Item {
    id: spinner

    property color color: "white"
    readonly property var dots: {
        const result = [];
        for (let i = 0; i < 10; ++i) {
            const angle = i * Math.PI / 5;
            result.push({
                    "color": spinner.color,
                    "opacity": 0.15 + 0.85 * i / 9,
                    "x": 15.5 + Math.cos(angle) * 15,
                    "y": 15.5 + Math.sin(angle) * 15
                });
        }
        return result;
    }
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
            model: spinner.dots

            delegate: Rectangle {
                required property var modelData

                antialiasing: true
                color: modelData.color
                height: 5
                opacity: modelData.opacity
                radius: 2.5
                width: 5
                x: modelData.x
                y: modelData.y
            }
        }
    }
}
