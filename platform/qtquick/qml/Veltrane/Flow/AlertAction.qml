import QtQuick
import QtQuick.Controls.Basic
import Veltrane.Flow

// One action of an alert or a sheet.
AbstractButton {
    id: action

    required property bool closes
    // A hairline parts it from what is above.
    property bool lined: action.number > 0
    required property int number
    required property string title

    // From the alert's model of actions.
    required property AlertItem view

    Accessible.name: action.title
    Accessible.role: Accessible.Button
    activeFocusOnTab: false
    focusPolicy: Qt.NoFocus
    implicitHeight: Math.max(action.view.sheet ? 54 : 46, word.implicitHeight + 20)
    objectName: action.view.sheet ? (action.closes ? "sheetDismiss" : "sheetAction") : "alertAction"
    text: action.title
    width: parent ? parent.width : 0

    background: Rectangle {
        color: action.down ? action.view.palette.line : "transparent"
        radius: 12

        Rectangle {
            color: action.view.palette.line
            height: 1
            visible: action.lined
            width: parent.width
        }
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
        font.pixelSize: Math.round(17 * action.view.stage.textScale)
        font.weight: action.closes || !action.view.sheet ? Font.DemiBold : Font.Normal
        horizontalAlignment: Text.AlignHCenter
        leftPadding: 12
        rightPadding: 12
        text: action.title
        textFormat: Text.PlainText
        verticalAlignment: Text.AlignVCenter
        wrapMode: Text.Wrap
    }

    Keys.onEnterPressed: action.clicked()
    Keys.onReturnPressed: action.clicked()
    onClicked: action.closes ? action.view.cancel() : action.view.choose(action.number)
}
