import QtQuick
import Veltrane.Flow

// What the person answers with: the fields of a secret, the button that goes on, another way.
FocusScope {
    id: foot

    required property PasskeyItem item
    readonly property bool ready: !foot.item.takesSecret || (first.field.length > 0 && first.field.length >= foot.item.minimumLength && (!foot.item.takesTwo || again.field.length > 0))
    readonly property bool ringVisible: foot.item.stage.keyboardInUse
    readonly property real textScale: foot.item.stage.textScale

    function goOn() {
        if (foot.item.takesTwo && first.field.activeFocus && again.field.length === 0)
            again.field.forceActiveFocus(Qt.TabFocusReason);
        else if (foot.item.takesSecret)
            foot.item.enter(first.field, again.field);
        else
            foot.item.confirm();
    }
    // Where the keyboard is to be first; null when there is nothing for it here.
    function start() {
        if (foot.item.takesSecret)
            return first.field;
        return confirm.visible ? confirm : null;
    }
    // In the order of Tab.
    function stops() {
        let seen = [];
        for (const stop of [first.field, first.show, again.field, again.show, confirm, another]) {
            if (stop.visible)
                seen.push(stop);
        }
        return seen;
    }

    height: column.height

    Connections {
        function onChanged() {
            if (foot.item.mismatch)
                again.field.forceActiveFocus(Qt.OtherFocusReason);
        }

        target: foot.item
    }
    Column {
        id: column
        anchors.horizontalCenter: parent.horizontalCenter
        bottomPadding: 24
        topPadding: foot.item.takesSecret ? 14 : 4
        width: Math.max(0, Math.min(480, foot.width - 40))

        SecretEntry {
            id: first
            caption: {
                switch (foot.item.step) {
                case PasskeyItem.NewPIN:
                    return qsTranslate("Veltrane.Flow", "New PIN");
                case PasskeyItem.Passphrase:
                    return qsTranslate("Veltrane.Flow", "Passphrase");
                case PasskeyItem.NewPassphrase:
                    return qsTranslate("Veltrane.Flow", "New passphrase");
                default:
                    return qsTranslate("Veltrane.Flow", "PIN");
                }
            }
            item: foot.item
            visible: foot.item.takesSecret
            width: parent.width

            onTyped: foot.item.forgiveMismatch()
        }
        // A secret that is not taken is the first one; below the second stands only that they differ.
        SecretNote {
            id: rule
            item: foot.item
            objectName: "passkeyRule"
            text: {
                if (foot.item.problem !== "")
                    return foot.item.problem;
                return foot.item.minimumLength > 0 ? qsTranslate("Veltrane.Flow", "At least %1 characters").arg(foot.item.minimumLength) : "";
            }
            visible: foot.item.takesTwo && rule.text !== ""
            width: parent.width
            wrong: foot.item.problem !== ""
        }
        Item {
            height: 12
            visible: again.visible
            width: 1
        }
        SecretEntry {
            id: again
            caption: foot.item.step === PasskeyItem.NewPIN ? qsTranslate("Veltrane.Flow", "Repeat PIN") : qsTranslate("Veltrane.Flow", "Repeat passphrase")
            item: foot.item
            visible: foot.item.takesTwo
            width: parent.width

            onTyped: if (again.field.length > 0)
                foot.item.forgiveMismatch()
        }
        SecretNote {
            id: hint
            horizontalAlignment: foot.item.takesSecret ? Text.AlignLeft : Text.AlignHCenter
            item: foot.item
            objectName: "passkeyProblem"
            text: {
                if (foot.item.mismatch)
                    return qsTranslate("Veltrane.Flow", "The two do not match.");
                return foot.item.takesTwo ? "" : foot.item.problem;
            }
            // Its line is kept free under a field, so that nothing moves when it is needed.
            visible: foot.item.takesSecret || hint.text !== ""
            width: parent.width
            wrong: hint.text !== ""
        }
        Item {
            height: 20
            visible: confirm.visible
            width: 1
        }
        FlowButton {
            id: confirm
            fill: foot.item.palette.accent
            ink: foot.item.palette.onAccent
            objectName: "passkeyConfirm"
            ringColor: foot.item.palette.focus
            ringVisible: confirm.activeFocus && foot.ringVisible
            text: foot.item.confirmTitle !== "" ? foot.item.confirmTitle : qsTranslate("Veltrane.Flow", "Continue")
            textScale: foot.textScale
            visible: foot.item.takesSecret || (foot.item.confirmTitle !== "" && foot.item.choices.length === 0)
            waiting: foot.item.busy || !foot.ready
            width: parent.width

            onClicked: foot.goOn()
        }
        Item {
            height: 8
            visible: another.visible
            width: 1
        }
        WordButton {
            id: another
            anchors.horizontalCenter: parent.horizontalCenter
            ink: foot.item.palette.link
            objectName: "passkeyAlternative"
            opacity: foot.item.busy || another.down ? 0.45 : 1
            ringColor: foot.item.palette.focus
            ringVisible: foot.ringVisible
            text: foot.item.alternativeTitle
            textScale: foot.textScale
            visible: another.text !== ""
            width: Math.min(another.implicitWidth, column.width)

            onActed: foot.item.useAlternative()
        }
    }
}
