import QtQuick
import Veltrane.Flow

// Says that something is under way.
Rectangle {
    id: panel
    Accessible.ignored: !panel.visible
    Accessible.name: qsTranslate("Veltrane.Flow", "Please wait")
    Accessible.role: Accessible.Indicator
    anchors.centerIn: parent
    color: "#808080"
    height: 80
    opacity: 0.8
    radius: 8
    width: 80

    Spinner {
        anchors.centerIn: parent
        color: "white"
        running: panel.visible
    }
}
