import QtQuick
import Veltrane.HandOver

// Where the browser is put, one for each page: what one has stored is gone with it.
FocusScope {
    id: slot

    readonly property Item item: loader.item as Item
    required property SheetItem sheet
    required property real textScale

    function follow() {
        if (slot.sheet.page === loader.page)
            return;
        loader.page = slot.sheet.page;
        loader.active = false;
        if (loader.page === 0)
            return;
        if (!slot.sheet.prepareBrowser(slot)) {
            slot.sheet.browserMissing();
            return;
        }
        // An active loader would make a browser of the last source before this one.
        loader.setSource("Browser.qml", {
                "sheet": slot.sheet
            });
        loader.active = true;
    }

    Component.onCompleted: slot.follow()

    Connections {
        function onChanged() {
            slot.follow();
        }

        target: slot.sheet
    }
    Loader {
        id: loader

        property int page: 0

        active: false
        anchors.fill: parent
        focus: true

        onStatusChanged: if (loader.status === Loader.Error)
            slot.sheet.browserMissing()
    }
    Binding {
        property: "textScale"
        target: loader.item
        value: slot.textScale
        when: loader.item !== null
    }
}
