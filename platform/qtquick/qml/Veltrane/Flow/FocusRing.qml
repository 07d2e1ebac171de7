import QtQuick
import Veltrane.Flow

// Shows where the keyboard is.
Rectangle {
    anchors.fill: parent
    anchors.margins: -4
    antialiasing: true
    border.width: 2
    color: "transparent"
}
