import QtQuick
import QtQuick.Templates
import Veltrane.Flow

// A filled button that takes its whole width.
AbstractButton {
    id: button

    required property color fill
    required property color ink
    property real radius: 8
    required property color ringColor
    required property bool ringVisible
    required property real textScale
    // Looks as if it could not be pressed, without losing the keyboard.
    property bool waiting: false

    Accessible.name: button.text
    Accessible.role: Accessible.Button
    activeFocusOnTab: false
    focusPolicy: Qt.ClickFocus
    implicitHeight: Math.max(50, word.implicitHeight + 24)
    opacity: button.waiting ? 0.45 : 1

    background: Rectangle {
        antialiasing: true
        color: button.down && !button.waiting ? Qt.darker(button.fill, 1.08) : button.fill
        radius: button.radius

        FocusRing {
            border.color: button.ringColor
            radius: button.radius + 4
            visible: button.ringVisible
        }
    }
    contentItem: Text {
        id: word
        color: button.ink
        font.pixelSize: Math.round(17 * button.textScale)
        font.weight: Font.DemiBold
        horizontalAlignment: Text.AlignHCenter
        leftPadding: 12
        rightPadding: 12
        text: button.text
        textFormat: Text.PlainText
        verticalAlignment: Text.AlignVCenter
        wrapMode: Text.Wrap
    }
}
