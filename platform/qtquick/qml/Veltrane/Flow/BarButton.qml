import QtQuick
import QtQuick.Templates
import Veltrane.Flow

// A word in the navigation bar that acts.
AbstractButton {
    id: button

    readonly property real textScale: button.view.stage.textScale

    // An arrow towards the leading edge before the word.
    property bool arrow: false
    required property ScreenItem view

    Accessible.name: button.text
    Accessible.role: Accessible.Button
    activeFocusOnTab: false
    focusPolicy: Qt.NoFocus
    font.pixelSize: Math.round(16 * button.textScale)
    implicitHeight: Math.max(44, word.implicitHeight + 12)
    implicitWidth: Math.max(44, line.implicitWidth + 16)
    opacity: button.down ? 0.6 : 1

    background: FocusRing {
        anchors.margins: 2
        border.color: button.view.palette.barControl
        radius: 8
        visible: button.activeFocus && button.view.stage.keyboardInUse
    }
    contentItem: Item {
        Row {
            id: line
            anchors.centerIn: parent
            spacing: 4

            Item {
                anchors.verticalCenter: parent.verticalCenter
                height: Math.round(16 * button.textScale)
                visible: button.arrow
                width: Math.round(11 * button.textScale)

                Chevron {
                    anchors.centerIn: parent
                    color: button.view.palette.barControl
                    direction: button.view.stage.mirrored ? Chevron.Right : Chevron.Left
                    size: Math.round(15 * button.textScale)
                    stroke: 1.6 * button.textScale
                }
            }
            Text {
                id: word
                anchors.verticalCenter: parent.verticalCenter
                color: button.view.palette.barControl
                font: button.font
                text: button.text
            }
        }
    }

    Keys.onEnterPressed: button.clicked()
    Keys.onReturnPressed: button.clicked()
}
