import QtQuick
import Veltrane.Flow

// A line under a field for a secret: what is asked of it, or what is wrong with it.
Text {
    id: note

    required property PasskeyItem item
    property bool wrong: false

    Accessible.ignored: note.text === ""
    Accessible.name: note.text
    Accessible.role: note.wrong ? Accessible.AlertMessage : Accessible.StaticText
    color: note.wrong ? note.item.problemColor : note.item.palette.muted
    font.pixelSize: Math.round(14 * note.item.stage.textScale)
    textFormat: Text.PlainText
    topPadding: 6
    wrapMode: Text.Wrap
}
