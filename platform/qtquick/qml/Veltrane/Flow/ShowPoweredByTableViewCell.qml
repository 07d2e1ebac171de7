import QtQuick
import Veltrane.Flow

FlowRow {
    id: row

    required property Cell cell

    Text {
        id: label
        Accessible.name: label.text
        Accessible.role: Accessible.StaticText
        color: row.screen.palette.muted
        font.pixelSize: row.points(12)
        horizontalAlignment: Text.AlignHCenter
        text: qsTranslate("Veltrane.Flow", "Powered by Veltrane")
        topPadding: 4
        width: parent.width
        wrapMode: Text.Wrap
    }
}
