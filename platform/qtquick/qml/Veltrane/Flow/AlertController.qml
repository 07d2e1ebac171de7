import QtQuick
import Veltrane.Flow

// A message or a sheet of actions over the screen, which is dimmed.
FocusScope {
    id: alert

    required property AlertItem view

    focus: true

    Component.onCompleted: loader.setSource(alert.view.sheet ? "ActionSheet.qml" : "AlertBox.qml", {
            "view": alert.view
        })
    Keys.onBackPressed: alert.view.cancel()
    Keys.onEscapePressed: alert.view.cancel()

    Rectangle {
        anchors.fill: parent
        color: "black"
        opacity: 0.47
    }
    MouseArea {
        anchors.fill: parent
        enabled: alert.view.sheet

        onClicked: alert.view.cancel()
    }
    Loader {
        id: loader
        anchors.fill: parent
        focus: true
    }
}
