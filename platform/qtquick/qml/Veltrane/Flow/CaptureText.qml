import QtQuick

// A text over the live picture, on a dark plate where it would not stand on the dimmed part.
Item {
    id: label

    property bool bold: false
    // The text stands on the bright part.
    required property bool plated
    required property real pixels
    property alias text: words.text

    implicitHeight: words.implicitHeight + 16

    Rectangle {
        antialiasing: true
        color: "#b3000000"
        height: parent.height
        radius: Math.min(height / 2, 18)
        visible: label.plated && words.text !== ""
        width: Math.min(parent.width, words.contentWidth + 32)
        x: (parent.width - width) / 2
    }
    Text {
        id: words
        anchors.centerIn: parent
        color: "white"
        font.bold: label.bold
        font.pixelSize: label.pixels
        horizontalAlignment: Text.AlignHCenter
        textFormat: Text.PlainText
        width: parent.width - 32
        wrapMode: Text.Wrap
    }
}
