import QtQuick

// A message or a sheet of actions over the screen, which is dimmed.
FocusScope {
    id: alert

    required property AlertItem view

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
        anchors.fill: parent
        focus: true
        sourceComponent: alert.view.sheet ? sheet : box
    }
    Component {
        id: box

        AlertBox {
            view: alert.view
        }
    }
    Component {
        id: sheet

        ActionSheet {
            view: alert.view
        }
    }
}
