import QtQuick
import Veltrane.Flow

FlowRow {
    id: row

    required property ToggleSwitchCell cell

    stops: [toggle]

    // The whole row takes the tap.
    Tappable {
        id: toggle
        Accessible.checkable: true
        Accessible.checked: row.cell.on
        Accessible.name: row.cell.caption !== "" ? row.cell.caption : qsTranslate("Veltrane.Flow", "Switch")
        Accessible.role: Accessible.CheckBox
        focus: true
        height: Math.max(48, caption.implicitHeight + 8)
        objectName: "toggle"
        width: parent.width

        onTapped: row.cell.toggle()

        FocusRing {
            // Clear of the caption, and within the window.
            readonly property real room: Math.min(9, row.screen.marginLeft, row.screen.marginRight)

            anchors.bottomMargin: 0
            anchors.leftMargin: -room
            anchors.rightMargin: -room
            anchors.topMargin: 0
            border.color: row.screen.palette.focus
            objectName: "ring"
            radius: 10
            visible: toggle.activeFocus && row.ringVisible
        }
        Text {
            id: caption
            anchors.left: parent.left
            anchors.right: track.left
            anchors.rightMargin: 12
            anchors.verticalCenter: parent.verticalCenter
            color: row.cell.captionColor
            font.pixelSize: row.points(14)
            horizontalAlignment: Text.AlignLeft
            text: row.cell.caption
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
        }
        Rectangle {
            id: track

            // From the leading edge to the trailing one, whichever side that is.
            property real travel: row.cell.on !== row.screen.stage.mirrored ? 1 : 0

            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            antialiasing: true
            color: row.cell.track
            height: 30
            radius: 15
            width: 50

            Behavior on travel  {
                enabled: !row.screen.stage.still && !row.screen.stage.reducedMotion

                NumberAnimation {
                    duration: 120
                    easing.type: Easing.OutCubic
                }
            }

            Rectangle {
                antialiasing: true
                border.color: "#33000000"
                border.width: 1
                color: row.cell.knob
                objectName: "knob"
                height: 26
                radius: 13
                width: 26
                x: 2 + track.travel * 20
                y: 2
            }
        }
    }
}
