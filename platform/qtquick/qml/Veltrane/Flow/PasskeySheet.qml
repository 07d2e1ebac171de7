import QtQuick
import QtQuick.Controls.Basic
import Veltrane.Flow

// The panel that a person sees while a passkey is made or used, above everything of the flow's. The
// keyboard stays within it.
FocusScope {
    id: sheet

    required property PasskeyItem item
    // Share of the height below its place.
    property real lift: 1
    // Nobody presses what has not been seen yet.
    readonly property bool arrived: sheet.lift < 0.05
    readonly property bool moves: !sheet.stage.still
    readonly property FlowStage stage: sheet.item.stage

    // A choice, brought into view: for programs that act as a user.
    function choiceAt(index) {
        choices.positionViewAtIndex(index, ListView.Contain);
        const found = choices.itemAtIndex(index);
        if (found !== null)
            sheet.reveal(found);
        return found;
    }
    function come() {
        moving.stop();
        sheet.opacity = sheet.stage.reducedMotion && sheet.moves ? 0 : 1;
        if (sheet.stage.reducedMotion || !sheet.moves)
            sheet.lift = 0;
        sheet.travel(0, 1);
        sheet.start();
    }
    function leave() {
        sheet.travel(sheet.stage.reducedMotion ? 0 : 1, sheet.stage.reducedMotion ? 0 : 1);
    }
    function focusChoice(index) {
        choices.forceLayout();
        choices.currentIndex = index;
        choices.positionViewAtIndex(index, ListView.Contain);
        if (choices.currentItem === null)
            return;
        choices.currentItem.forceActiveFocus(Qt.TabFocusReason);
        if (index > 0)
            sheet.reveal(choices.currentItem);
    }
    // Puts the keyboard where the question starts.
    function start() {
        sheet.toTop();
        const first = foot.start();
        if (sheet.item.choices.length > 0) {
            sheet.focusChoice(0);
        } else if (first) {
            first.forceActiveFocus(Qt.TabFocusReason);
        } else {
            cancel.forceActiveFocus(Qt.TabFocusReason);
        }
    }
    function step(by) {
        const stops = foot.stops();
        if (choices.visible)
            stops.unshift(choices);
        stops.push(cancel);
        let at = stops.findIndex(stop => stop.activeFocus);
        if (at < 0)
            at = by > 0 ? -1 : 0;
        const next = stops[(at + by + stops.length) % stops.length];
        if (next === choices)
            return sheet.focusChoice(choices.currentIndex);
        next.forceActiveFocus(by > 0 ? Qt.TabFocusReason : Qt.BacktabFocusReason);
        sheet.reveal(next);
    }
    function stepChoice(by) {
        const next = choices.currentIndex + by;
        if (sheet.item.choices.length === 0 || next < 0 || next >= choices.count)
            return;
        sheet.focusChoice(next);
    }
    // A question is read from its start; but who types sees the field.
    function toTop() {
        body.contentY = 0;
        if (sheet.activeFocus && sheet.item.takesSecret)
            sheet.reveal(sheet.Window.activeFocusItem);
    }
    // Scrolls until the item is in sight.
    function reveal(item) {
        if (item === cancel)
            return;
        const top = item.mapToItem(body, 0, 0).y - 12;
        const foot = item.mapToItem(body, 0, item.height).y + 12;
        if (foot > body.height)
            body.contentY += foot - body.height;
        else if (top < 0)
            body.contentY += top;
    }
    function travel(lift, opacity) {
        moving.stop();
        lifting.to = lift;
        fading.to = opacity;
        if (sheet.moves) {
            moving.start();
        } else {
            sheet.lift = lift;
            sheet.opacity = opacity;
            sheet.item.settled();
        }
    }

    Accessible.description: {
        let told = [];
        for (const text of [sheet.item.relyingParty, sheet.item.account, sheet.item.message, sheet.item.problem]) {
            if (text !== "")
                told.push(text);
        }
        return told.join(". ");
    }
    Accessible.name: sheet.item.title
    Accessible.role: Accessible.Dialog
    LayoutMirroring.childrenInherit: true
    LayoutMirroring.enabled: sheet.stage.mirrored
    anchors.fill: parent
    clip: true
    focus: true
    objectName: "passkeySheet"
    z: 1001

    Component.onCompleted: sheet.come()
    Keys.onBackPressed: sheet.item.cancel()
    Keys.onBacktabPressed: sheet.step(-1)
    Keys.onDownPressed: sheet.stepChoice(1)
    Keys.onEscapePressed: sheet.item.cancel()
    Keys.onEnterPressed: event => sheet.goOn(event)
    Keys.onReturnPressed: event => sheet.goOn(event)
    Keys.onTabPressed: sheet.step(1)
    Keys.onUpPressed: sheet.stepChoice(-1)
    onActiveFocusChanged: if (!sheet.activeFocus)
        back.start()

    function goOn(event) {
        if (!event.isAutoRepeat && sheet.arrived && sheet.item.choices.length === 0)
            foot.goOn();
    }

    Connections {
        function onAsked() {
            if (sheet.item.open && moving.to === 0)
                sheet.start();
        }
        function onClosed() {
            sheet.leave();
        }

        target: sheet.item
    }
    // What lies below hears neither clicks nor the wheel.
    MouseArea {
        acceptedButtons: Qt.AllButtons
        anchors.fill: parent
        hoverEnabled: true

        onWheel: wheel => wheel.accepted = true
    }
    Rectangle {
        id: panel
        color: sheet.item.palette.background
        height: parent.height
        width: parent.width
        y: Math.round(sheet.lift * sheet.height)

        Rectangle {
            id: bar
            color: sheet.item.palette.barBackground
            height: Math.max(52, cancel.implicitHeight + 8)
            width: parent.width
            z: 1

            // A heading follows: where the bar is too narrow for both words, one is enough.
            Text {
                id: word
                Accessible.name: word.text
                Accessible.role: Accessible.StaticText
                anchors.centerIn: parent
                color: sheet.item.palette.barTitle
                font.pixelSize: Math.round(17 * sheet.stage.textScale)
                font.weight: Font.DemiBold
                text: qsTranslate("Veltrane.Flow", "Passkey")
                visible: !heading.visible && word.implicitWidth < bar.width - 2 * cancel.width - 24
            }
            // What is asked stays in sight when its heading has been scrolled away.
            Text {
                id: heading
                Accessible.ignored: true
                anchors.left: parent.left
                anchors.leftMargin: 20
                anchors.right: cancel.left
                anchors.rightMargin: 12
                anchors.verticalCenter: parent.verticalCenter
                color: sheet.item.palette.barTitle
                elide: Text.ElideRight
                font.pixelSize: Math.round(17 * sheet.stage.textScale)
                font.weight: Font.DemiBold
                fontSizeMode: Text.Fit
                height: parent.height - 8
                horizontalAlignment: Text.AlignLeft
                maximumLineCount: 2
                minimumPixelSize: 14
                objectName: "passkeyHeading"
                text: sheet.item.title
                textFormat: Text.PlainText
                verticalAlignment: Text.AlignVCenter
                visible: heading.text !== "" && body.contentY > head.titleTop
                wrapMode: Text.Wrap
            }
            WordButton {
                id: cancel
                anchors.right: parent.right
                anchors.rightMargin: 8
                anchors.verticalCenter: parent.verticalCenter
                ink: sheet.item.palette.barControl
                objectName: "passkeyCancel"
                opacity: !sheet.item.cancellable || cancel.down ? 0.45 : 1
                ringColor: sheet.item.palette.barControl
                ringVisible: sheet.stage.keyboardInUse
                text: qsTranslate("Veltrane.Flow", "Cancel")
                textScale: sheet.stage.textScale

                onActed: sheet.item.cancel()
            }
            Rectangle {
                anchors.bottom: parent.bottom
                color: sheet.item.palette.barLine
                height: 1
                width: parent.width
            }
        }
        Flickable {
            id: body

            // Of its foot, by an on-screen keyboard.
            readonly property real covered: {
                const top = sheet.stage.keyboardTop;
                const foot = sheet.mapToItem(null, 0, sheet.height).y;
                return top < 0 ? 0 : Math.max(0, foot - top);
            }

            anchors.bottom: parent.bottom
            anchors.bottomMargin: body.covered
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.top: bar.bottom
            boundsBehavior: Flickable.StopAtBounds
            clip: true
            contentHeight: foot.y + foot.height
            objectName: "passkeyBody"

            ScrollBar.vertical: ScrollBar {
            }

            onHeightChanged: sheet.toTop()

            PasskeyHead {
                id: head
                item: sheet.item
                narrow: sheet.height < 480 * Math.max(1, sheet.stage.textScale)
                width: body.width

                onHeightChanged: sheet.toTop()
            }
            // As high as its rows; one of many takes the room that is left and scrolls by itself.
            ListView {
                id: choices

                readonly property real room: choices.count > 8 ? Math.max(body.height - head.height - foot.height, 168 * sheet.stage.textScale) : choices.contentHeight

                Accessible.ignored: !choices.visible
                Accessible.name: qsTranslate("Veltrane.Flow", "Choices")
                Accessible.role: Accessible.List
                boundsBehavior: Flickable.StopAtBounds
                clip: true
                height: Math.min(choices.contentHeight, choices.room)
                highlightMoveDuration: 0
                interactive: choices.contentHeight > choices.height
                keyNavigationEnabled: false
                model: sheet.item.choices
                objectName: "passkeyChoices"
                reuseItems: true
                visible: choices.count > 0
                width: body.width
                y: head.height

                ScrollBar.vertical: ScrollBar {
                }

                // qmllint disable unqualified
                delegate: PasskeyChoice {
                    item: sheet.item
                }
                // qmllint enable unqualified
            }
            PasskeyFoot {
                id: foot
                item: sheet.item
                width: body.width
                y: head.height + (choices.visible ? choices.height : 0)

                onHeightChanged: sheet.toTop()
            }
        }
    }
    MouseArea {
        anchors.fill: parent
        enabled: !sheet.arrived
        visible: !sheet.arrived
    }
    // A screen that comes below must not take the keyboard.
    Timer {
        id: back
        interval: 0

        onTriggered: if (!sheet.activeFocus && sheet.item.open && sheet.Window.active)
            sheet.forceActiveFocus()
    }
    ParallelAnimation {
        id: moving

        readonly property int duration: sheet.stage.reducedMotion ? 120 : 320
        readonly property real to: lifting.to

        onFinished: sheet.item.settled()

        NumberAnimation {
            id: lifting
            duration: moving.duration
            easing.type: Easing.OutCubic
            property: "lift"
            target: sheet
        }
        NumberAnimation {
            id: fading
            duration: moving.duration
            easing.type: Easing.OutCubic
            property: "opacity"
            target: sheet
        }
    }
}
