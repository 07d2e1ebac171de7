import QtQuick
import QtQuick.Controls.Basic
import Veltrane.Flow

FlowRow {
    id: row

    readonly property bool active: row.screen.active
    required property TextFieldCell cell
    // The user wants to see what is hidden.
    property bool revealed: false

    stops: row.cell.secure ? [field, show] : [field]

    ListView.onPooled: row.revealed = false
    onActiveChanged: row.revealed = false

    Text {
        id: caption
        Accessible.ignored: true
        color: row.cell.captionColor
        font.pixelSize: row.points(14)
        horizontalAlignment: Text.AlignLeft
        text: row.cell.caption
        textFormat: Text.PlainText
        visible: caption.text !== ""
        width: parent.width
        wrapMode: Text.Wrap
    }
    // Tells of the field in its stead: of a hidden secret nothing but dots.
    FocusScope {
        id: box

        property alias cursorPosition: field.cursorPosition
        readonly property alias selectionEnd: field.selectionEnd
        readonly property alias selectionStart: field.selectionStart
        readonly property alias text: field.displayText

        readonly property string title: row.cell.caption || row.cell.placeholder

        // A password's name is kept back from assistive programs, its description is not.
        Accessible.description: {
            if (field.echoMode === TextInput.Password)
                return box.title;
            return row.cell.caption !== "" ? row.cell.placeholder : "";
        }
        Accessible.editable: true
        Accessible.focusable: true
        Accessible.name: box.title
        Accessible.passwordEdit: field.echoMode === TextInput.Password
        Accessible.role: Accessible.EditableText
        focus: true
        height: Math.max(48, field.contentHeight + 24)
        objectName: "box"
        width: parent.width
        y: caption.visible ? caption.height + 6 : 0

        // The user has gone on: who looks at the screen now need not see it.
        onActiveFocusChanged: if (!box.activeFocus)
            row.revealed = false

        Rectangle {
            anchors.fill: parent
            antialiasing: true
            border.color: field.activeFocus ? row.screen.palette.focus : row.screen.palette.outline
            border.width: field.activeFocus ? 2 : 1
            color: row.screen.palette.background
            radius: 10
        }
        // A press beside the text is for the field as well.
        MouseArea {
            anchors.fill: parent
            cursorShape: Qt.IBeamCursor

            onPressed: field.forceActiveFocus(Qt.MouseFocusReason)
        }
        Text {
            Accessible.ignored: true
            anchors.fill: field
            // Room for the caret before the first letter.
            anchors.leftMargin: 3
            color: row.screen.palette.muted
            objectName: "placeholder"
            elide: Text.ElideRight
            font: field.font
            // Rather smaller than cut, though never below its usual size.
            fontSizeMode: Text.HorizontalFit
            horizontalAlignment: Text.AlignLeft
            minimumPixelSize: 16
            text: row.cell.placeholder
            textFormat: Text.PlainText
            verticalAlignment: Text.AlignVCenter
            visible: field.length === 0 && field.preeditText === ""
        }
        TextInput {
            id: field
            anchors.fill: parent
            // Margins rather than paddings: a long text is cut there.
            anchors.leftMargin: 14
            anchors.rightMargin: row.cell.secure ? show.width : 14
            clip: true
            color: row.screen.palette.input
            echoMode: row.cell.secure && !row.revealed ? TextInput.Password : TextInput.Normal
            focus: true
            font.pixelSize: row.points(16)
            horizontalAlignment: TextInput.AlignLeft
            inputMethodHints: row.cell.inputHints
            objectName: "field"
            passwordCharacter: "•"
            passwordMaskDelay: 0
            selectByMouse: true
            selectedTextColor: row.screen.palette.onAccent
            selectionColor: row.screen.palette.accent
            text: row.cell.text
            verticalAlignment: TextInput.AlignVCenter

            onTextEdited: row.cell.edit(field.text)

            HoverHandler {
                cursorShape: Qt.IBeamCursor
            }
        }
        AbstractButton {
            id: show
            Accessible.name: show.text
            Accessible.role: Accessible.Button
            activeFocusOnTab: false
            anchors.bottom: parent.bottom
            anchors.right: parent.right
            anchors.top: parent.top
            focusPolicy: Qt.NoFocus
            objectName: "showControl"
            text: row.revealed ? qsTranslate("Veltrane.Flow", "Hide") : qsTranslate("Veltrane.Flow", "Show")
            visible: row.cell.secure
            width: word.implicitWidth + 28

            background: FocusRing {
                anchors.margins: 6
                border.color: row.screen.palette.focus
                radius: 6
                visible: show.activeFocus && row.ringVisible
            }
            contentItem: Text {
                id: word
                color: row.screen.palette.muted
                font.pixelSize: row.points(14)
                horizontalAlignment: Text.AlignHCenter
                text: show.text
                verticalAlignment: Text.AlignVCenter
            }

            Keys.onEnterPressed: show.clicked()
            Keys.onReturnPressed: show.clicked()
            onClicked: {
                if (!box.activeFocus)
                    field.forceActiveFocus(Qt.MouseFocusReason);
                row.revealed = !row.revealed;
            }
        }
    }
}
