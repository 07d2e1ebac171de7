import QtQuick
import Veltrane.Flow

FlowRow {
    id: row

    required property LabelCell cell

    Text {
        id: label
        Accessible.name: label.text
        Accessible.role: row.cell.bold ? Accessible.Heading : Accessible.StaticText
        // "left" and "right" are the document's own words; only the unset edge turns with the
        // direction of the layout.
        LayoutMirroring.enabled: row.screen.stage.mirrored && row.cell.alignment === ""
        color: row.cell.color
        font.bold: row.cell.bold
        font.pixelSize: row.points(row.cell.fontSize)
        horizontalAlignment: {
            if (row.cell.alignment === "center")
                return Text.AlignHCenter;
            return row.cell.alignment === "right" ? Text.AlignRight : Text.AlignLeft;
        }
        text: row.cell.text
        textFormat: Text.PlainText
        width: parent.width
        wrapMode: Text.Wrap
    }
}
