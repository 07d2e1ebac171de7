import QtQuick
import Veltrane.Flow

// What a passkey's panel is about: a drawing, the title, who asks and for whom.
Item {
    id: head

    readonly property bool consent: head.item.step === PasskeyItem.Consent
    required property PasskeyItem item
    readonly property bool moves: head.item.open && !head.item.stage.still && !head.item.stage.reducedMotion
    // Room is short.
    required property bool narrow
    readonly property real textScale: head.item.stage.textScale
    readonly property real titleTop: title.y

    // Names are rather broken after a dot than anywhere.
    function breakable(name) {
        return name.replace(/[.@]/g, "$&\u200b");
    }
    function points(size) {
        return Math.round(size * head.textScale);
    }

    height: column.height

    Column {
        id: column
        anchors.horizontalCenter: parent.horizontalCenter
        bottomPadding: 4
        spacing: 12
        topPadding: head.narrow ? 16 : 36
        width: Math.max(0, Math.min(480, head.width - 40))

        Item {
            height: tile.height + 8
            visible: !head.narrow || !(head.consent || head.item.takesSecret || head.item.choices.length > 0)
            width: parent.width

            Rectangle {
                id: tile
                Accessible.ignored: true
                anchors.horizontalCenter: parent.horizontalCenter
                antialiasing: true
                color: Qt.alpha(head.item.palette.line, 0.28)
                height: 88
                radius: 18
                width: 88

                PasskeyPicture {
                    id: picture

                    readonly property bool alive: head.moves && picture.visible && (picture.kind === PasskeyPicture.Insert || picture.kind === PasskeyPicture.Touch || picture.kind === PasskeyPicture.Select)
                    property real moment: 0

                    anchors.centerIn: parent
                    height: 80
                    ink: head.item.step === PasskeyItem.Notice ? head.item.problemColor : head.item.palette.link
                    kind: {
                        switch (head.item.step) {
                        case PasskeyItem.InsertKey:
                            return PasskeyPicture.Insert;
                        case PasskeyItem.TouchKey:
                            return PasskeyPicture.Touch;
                        case PasskeyItem.SelectKey:
                            return PasskeyPicture.Select;
                        case PasskeyItem.Notice:
                            return PasskeyPicture.Notice;
                        default:
                            return head.item.takesSecret ? PasskeyPicture.Lock : PasskeyPicture.Key;
                        }
                    }
                    objectName: "passkeyPicture"
                    progress: {
                        if (picture.alive)
                            return picture.moment;
                        return picture.kind === PasskeyPicture.Insert ? 1 : 0.55;
                    }
                    visible: !spinner.visible
                    width: 80

                    SequentialAnimation {
                        loops: Animation.Infinite
                        running: picture.alive

                        NumberAnimation {
                            duration: 1400
                            easing.type: Easing.InOutSine
                            from: 0
                            property: "moment"
                            target: picture
                            to: 1
                        }
                        PauseAnimation {
                            duration: 700
                        }
                    }
                }
                Spinner {
                    id: spinner
                    Accessible.name: qsTranslate("Veltrane.Flow", "Please wait")
                    Accessible.role: Accessible.Indicator
                    anchors.centerIn: parent
                    color: head.item.palette.link
                    objectName: "passkeySpinner"
                    running: head.moves
                    visible: head.item.late
                }
            }
        }
        Text {
            id: title
            Accessible.name: title.text
            Accessible.role: Accessible.Heading
            color: head.item.palette.input
            font.bold: true
            font.pixelSize: head.points(20)
            horizontalAlignment: Text.AlignHCenter
            objectName: "passkeyTitle"
            text: head.item.title !== "" || !head.item.late ? head.item.title : qsTranslate("Veltrane.Flow", "Please wait")
            textFormat: Text.PlainText
            visible: title.text !== ""
            width: parent.width
            wrapMode: Text.Wrap
        }
        Rectangle {
            antialiasing: true
            color: Qt.alpha(head.item.palette.line, 0.28)
            height: parties.height
            radius: 12
            visible: head.item.relyingParty !== "" || head.item.account !== ""
            width: parent.width

            Column {
                id: parties
                bottomPadding: 14
                leftPadding: 14
                rightPadding: 14
                spacing: 4
                topPadding: 14
                width: parent.width

                TextMetrics {
                    id: full
                    font.bold: true
                    font.pixelSize: head.points(24)
                    text: head.item.relyingParty
                }
                Text {
                    id: party
                    Accessible.name: head.item.relyingParty
                    Accessible.role: Accessible.StaticText
                    color: head.item.palette.input
                    font.bold: true
                    font.pixelSize: head.consent ? Math.max(head.points(21), Math.min(full.font.pixelSize, Math.floor(full.font.pixelSize * (party.width - 2) / full.advanceWidth))) : head.points(17)
                    horizontalAlignment: Text.AlignHCenter
                    objectName: "passkeyRelyingParty"
                    // Never cut, and the largest text of a consent.
                    text: head.breakable(head.item.relyingParty)
                    textFormat: Text.PlainText
                    visible: party.text !== ""
                    width: parent.width - 28
                    wrapMode: Text.Wrap
                }
                Text {
                    id: account
                    Accessible.name: head.item.account
                    Accessible.role: Accessible.StaticText
                    color: head.item.palette.input
                    font.pixelSize: head.points(17)
                    horizontalAlignment: Text.AlignHCenter
                    objectName: "passkeyAccount"
                    text: head.breakable(head.item.account)
                    textFormat: Text.PlainText
                    visible: account.text !== ""
                    width: parent.width - 28
                    wrapMode: Text.Wrap
                }
            }
        }
        Text {
            id: message
            Accessible.name: message.text
            Accessible.role: Accessible.StaticText
            color: head.item.palette.input
            font.pixelSize: head.points(17)
            horizontalAlignment: Text.AlignHCenter
            objectName: "passkeyMessage"
            text: head.item.message
            textFormat: Text.PlainText
            visible: message.text !== ""
            width: parent.width
            wrapMode: Text.Wrap
        }
    }
}
