import QtQuick
import Veltrane.Flow

// A caption, and below it a field for a secret with its "Show".
Item {
    id: entry

    readonly property alias box: scope
    required property string caption
    readonly property alias field: secret
    required property PasskeyItem item
    property bool revealed: false
    readonly property alias show: word

    // The user may want to see either field; both are hidden with the question.
    signal typed

    height: scope.y + scope.height

    Connections {
        function onAsked() {
            entry.revealed = false;
            secret.wipe();
        }
        function onChanged() {
            if (entry.item.busy)
                entry.revealed = false;
        }

        target: entry.item
    }
    Text {
        id: label
        Accessible.ignored: true
        color: entry.item.palette.input
        font.pixelSize: Math.round(14 * entry.item.stage.textScale)
        horizontalAlignment: Text.AlignLeft
        text: entry.caption
        textFormat: Text.PlainText
        width: parent.width
        wrapMode: Text.Wrap
    }
    FocusScope {
        id: scope
        height: Math.max(48, Math.round(40 * entry.item.stage.textScale))
        width: parent.width
        y: label.height + 6

        // The user has gone on: who looks at the screen now need not see it.
        onActiveFocusChanged: if (!scope.activeFocus)
            entry.revealed = false

        Rectangle {
            anchors.fill: parent
            antialiasing: true
            border.color: secret.activeFocus ? entry.item.palette.focus : entry.item.palette.outline
            border.width: secret.activeFocus ? 2 : 1
            color: entry.item.palette.background
            radius: 10
        }
        SecretField {
            id: secret

            // A password's name is kept back from assistive programs, its description is not.
            Accessible.description: entry.caption
            Accessible.editable: true
            Accessible.focusable: true
            Accessible.name: entry.caption
            Accessible.passwordEdit: true
            Accessible.role: Accessible.EditableText
            anchors.fill: parent
            anchors.leftMargin: 14
            anchors.rightMargin: word.width
            color: entry.item.palette.input
            digits: entry.item.step === PasskeyItem.EnterPIN || entry.item.step === PasskeyItem.NewPIN
            focus: true
            mirrored: entry.item.stage.mirrored
            objectName: "passkeyField"
            pixelSize: Math.round(16 * entry.item.stage.textScale)
            revealed: entry.revealed
            selectionColor: Qt.alpha(entry.item.palette.accent, 0.3)

            onEdited: entry.typed()
        }
        WordButton {
            id: word
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            height: parent.height
            ink: entry.item.palette.muted
            objectName: "passkeyShow"
            pixels: 14
            ringColor: entry.item.palette.focus
            ringVisible: entry.item.stage.keyboardInUse
            text: entry.revealed ? qsTranslate("Veltrane.Flow", "Hide") : qsTranslate("Veltrane.Flow", "Show")
            textScale: entry.item.stage.textScale
            width: word.implicitWidth + 12

            onActed: {
                if (!scope.activeFocus)
                    secret.forceActiveFocus(Qt.MouseFocusReason);
                entry.revealed = !entry.revealed;
            }
        }
    }
}
