import QtQuick
import QtQuick.Controls.Basic

// One action of an alert or a sheet.
AbstractButton {
    id: action

    required property AlertItem view
    property bool strong: false
    property real least: 44
    property real fontSize: 17

    Accessible.name: action.text
    Accessible.role: Accessible.Button
    activeFocusOnTab: false
    focusPolicy: Qt.NoFocus
    implicitHeight: Math.max(action.least, word.implicitHeight + 16)

    background: Rectangle {
        color: action.down ? action.view.palette.line : "transparent"
        radius: 12

        FocusRing {
            anchors.margins: 3
            border.color: action.view.palette.focus
            radius: 10
            visible: action.activeFocus && action.view.stage.keyboardInUse
        }
    }
    contentItem: Text {
        id: word

        color: action.view.palette.link
        font.pixelSize: Math.round(action.fontSize * action.view.stage.textScale)
        font.weight: action.strong ? Font.DemiBold : Font.Normal
        horizontalAlignment: Text.AlignHCenter
        leftPadding: 12
        rightPadding: 12
        text: action.text
        textFormat: Text.PlainText
        verticalAlignment: Text.AlignVCenter
        wrapMode: Text.Wrap
    }

    Keys.onEnterPressed: action.click()
    Keys.onReturnPressed: action.click()
}
