import QtQuick
import QtQuick.Window
import Veltrane.Flow

// The live picture with the oval, what to do, and the way out. Dark in every theme: what counts is
// the picture.
FocusScope {
    id: screen

    // The oval's sides leave room for words beside it, and there is none above and below.
    readonly property bool beside: screen.side >= 150 && screen.oval.y < screen.points(76)
    readonly property FaceCaptureItem capture: screen.view as FaceCaptureItem
    // Without room for both, the title stands where hints do, so that the face stays free.
    readonly property bool folded: !screen.beside && title.y + title.height - 8 > screen.oval.y
    readonly property string hintText: {
        switch (screen.capture.hint) {
        case FaceCaptureItem.NoFace:
            return qsTranslate("Veltrane.Flow", "No face in sight");
        case FaceCaptureItem.SeveralFaces:
            return qsTranslate("Veltrane.Flow", "Only one face, please");
        case FaceCaptureItem.ComeCloser:
            return qsTranslate("Veltrane.Flow", "Come closer");
        case FaceCaptureItem.MoveBack:
            return qsTranslate("Veltrane.Flow", "Move back a little");
        case FaceCaptureItem.MoveLeft:
            return qsTranslate("Veltrane.Flow", "Move to the left");
        case FaceCaptureItem.MoveRight:
            return qsTranslate("Veltrane.Flow", "Move to the right");
        case FaceCaptureItem.MoveUp:
            return qsTranslate("Veltrane.Flow", "Move up a little");
        case FaceCaptureItem.MoveDown:
            return qsTranslate("Veltrane.Flow", "Move down a little");
        case FaceCaptureItem.TooDark:
            return qsTranslate("Veltrane.Flow", "More light, please");
        case FaceCaptureItem.Blurred:
            return qsTranslate("Veltrane.Flow", "The picture is blurred");
        }
        return "";
    }
    readonly property bool moves: !screen.view.stage.still && !screen.view.stage.reducedMotion
    readonly property rect oval: screen.capture.oval
    // Width of what is beside the oval.
    readonly property real side: screen.oval.x
    // Asks for what decides by itself, so that it is never what was to be said a moment ago.
    readonly property string spokenText: {
        if (screen.capture.accepted)
            return screen.takenText;
        return screen.hintText !== "" ? screen.hintText : screen.titleText;
    }
    readonly property string takenText: qsTranslate("Veltrane.Flow", "Picture taken")
    readonly property real textScale: screen.view.stage.textScale
    readonly property string titleText: {
        if (screen.capture.accepted)
            return screen.takenText;
        if (screen.capture.capturing || screen.view.phase === ViewItem.Leaving)
            return qsTranslate("Veltrane.Flow", "Place your face in the oval");
        return qsTranslate("Veltrane.Flow", "No picture can be taken");
    }
    readonly property bool unseen: Window.visibility === Window.Hidden || Window.visibility === Window.Minimized || screen.capture.inBackground
    required property ScreenItem view
    // Hosts that draw into a texture have windows that are never shown; they are not minimised.
    property bool wasSeen: false

    function followSight() {
        if (!screen.unseen || Window.visibility === Window.Minimized || screen.capture.inBackground)
            screen.wasSeen = true;
        if (screen.wasSeen && screen.capture !== null)
            screen.capture.setSeen(!screen.unseen);
    }
    function layOut() {
        if (screen.capture !== null && screen.width > 0 && screen.height > 0)
            screen.capture.layOut(screen.width, screen.height);
    }
    function points(size) {
        return Math.round(size * screen.textScale);
    }

    Accessible.name: screen.titleText
    Accessible.role: Accessible.Pane
    focus: true

    Component.onCompleted: {
        screen.layOut();
        screen.followSight();
    }
    Keys.onBackPressed: screen.view.cancel()
    Keys.onBacktabPressed: cancel.forceActiveFocus(Qt.BacktabFocusReason)
    Keys.onEscapePressed: screen.view.cancel()
    Keys.onTabPressed: cancel.forceActiveFocus(Qt.TabFocusReason)
    onHeightChanged: screen.layOut()
    onUnseenChanged: screen.followSight()
    onWidthChanged: screen.layOut()

    SpokenText {
        speaker: hint
        text: screen.spokenText
        urgent: screen.capture.accepted
    }
    Rectangle {
        anchors.fill: parent
        color: "#6f7f92"
    }
    LivePicture {
        anchors.fill: parent
        capture: screen.capture
        objectName: "livePicture"
        opacity: screen.capture.picturing ? 1 : 0

        Behavior on opacity  {
            enabled: screen.moves

            NumberAnimation {
                duration: 200
            }
        }
    }
    FaceOval {
        anchors.fill: parent
        capture: screen.capture
        objectName: "oval"
        stroke: screen.capture.ovalColor

        Behavior on stroke  {
            enabled: screen.moves

            ColorAnimation {
                duration: 160
            }
        }
    }
    FaceOutlines {
        capture: screen.capture
        objectName: "outlines"
    }
    Spinner {
        anchors.centerIn: parent
        objectName: "cameraSpinner"
        running: visible && screen.moves
        visible: screen.capture.capturing && !screen.capture.picturing && !screen.capture.accepted
    }
    CaptureText {
        id: title
        Accessible.name: title.text
        Accessible.role: Accessible.Heading
        bold: true
        height: title.implicitHeight
        objectName: "captureTitle"
        pixels: screen.points(20)
        plated: false
        text: screen.titleText
        visible: !screen.folded
        width: screen.beside ? screen.side - 8 : Math.min(screen.width - 8, 480)
        x: screen.beside ? (screen.view.stage.mirrored ? screen.width - screen.side + 8 : 0) : (screen.width - title.width) / 2
        y: screen.beside ? (screen.height - title.height) / 2 - (hint.text !== "" ? hint.height / 2 : 0) : Math.min(24, Math.max(4, (screen.oval.y - title.height) / 2))
    }
    CaptureText {
        id: hint

        readonly property real below: screen.oval.y + screen.oval.height + 12
        readonly property bool fits: hint.below + hint.height <= cancel.y - 4

        Accessible.name: screen.spokenText
        Accessible.role: Accessible.Notification
        height: hint.implicitHeight
        objectName: "captureHint"
        pixels: screen.points(17)
        plated: !screen.beside && !hint.fits
        text: screen.hintText === "" && screen.folded ? screen.titleText : screen.hintText
        width: title.width
        x: title.x
        y: {
            if (screen.beside)
                return title.y + title.height;
            return hint.fits ? hint.below : cancel.y - hint.height - 4;
        }
    }
    Rectangle {
        anchors.centerIn: cancel
        antialiasing: true
        color: "#b3000000"
        height: cancel.height - 4
        radius: height / 2
        visible: !screen.beside && cancel.y < screen.oval.y + screen.oval.height
        width: cancel.width + 16
    }
    WordButton {
        id: cancel
        ink: "white"
        objectName: "cancelButton"
        pixels: 17
        ringColor: "white"
        ringVisible: screen.view.stage.keyboardInUse
        text: qsTranslate("Veltrane.Flow", "Cancel")
        textScale: screen.textScale
        width: Math.min(cancel.implicitWidth + 16, screen.width - 24)
        x: {
            if (!screen.beside)
                return (screen.width - cancel.width) / 2;
            const inset = Math.max(8, (screen.side - cancel.width) / 2);
            return screen.view.stage.mirrored ? inset : screen.width - inset - cancel.width;
        }
        y: screen.height - cancel.height - (screen.height > 500 ? 20 : 8)

        onActed: screen.view.cancel()
    }
}
