import QtQuick
import Veltrane.Flow

// The generic screen: rows in a column, and the activity panel over them.
ScreenFrame {
    id: screen

    readonly property TemplateScreenItem template: screen.view as TemplateScreenItem
    readonly property rect keyboard: Qt.inputMethod.keyboardRectangle
    readonly property real coveredByKeyboard: {
        if (!Qt.inputMethod.visible || screen.keyboard.height <= 0)
            return 0;
        return Math.max(0, screen.mapToItem(null, 0, screen.height).y - screen.keyboard.y);
    }

    function stepInBody(by, entering) {
        return entering ? form.enter(by) : form.step(by);
    }

    onCoveredByKeyboardChanged: if (screen.template.active)
        screen.template.keyboardCovers(screen.coveredByKeyboard)

    FormList {
        id: form

        anchors.bottomMargin: Math.max(0, screen.template.keyboardInset)
        anchors.fill: parent
        focus: true
        objectName: "form"
        screen: screen.template
    }
    ActivityPanel {
        objectName: "activityPanel"
        visible: screen.template.loading
    }
}
