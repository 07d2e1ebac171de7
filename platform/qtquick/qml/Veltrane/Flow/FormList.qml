import QtQuick
import QtQuick.Controls.Basic
import Qt.labs.qmlmodels
import Veltrane.Flow

// The rows of a screen and the keyboard's way through them.
ListView {
    id: form

    required property TemplateScreenItem screen

    // Return: on to the next field that waits, or the button's press.
    function advance() {
        const next = form.screen.rows.nextOpenField(form.currentIndex);
        if (next >= 0)
            form.focusRow(next, 1);
        else
            form.screen.rows.pressButton(form.currentIndex);
    }
    // The control of a row, brought into view: for programs that act as a user.
    function controlAt(index) {
        form.positionViewAtIndex(index, ListView.Contain);
        const row = form.itemAtIndex(index) as FlowRow;
        return row !== null && row.stops.length > 0 ? row.stops[0] : null;
    }

    // Brings the keyboard to the first row, or the last one; false when no row takes it.
    function enter(by) {
        return form.focusRow(form.screen.rows.nextFocusRow(by > 0 ? -1 : form.count, by), by);
    }
    // On opening: the first field, if it can be seen without scrolling.
    function focusFirst() {
        if (form.currentIndex >= 0 || !form.screen.active)
            return;
        let first = form.screen.rows.nextOpenField(-1);
        // Elsewhere the keyboard would not be seen until it is in use.
        if (first < 0 && form.screen.stage.keyboardInUse)
            first = form.screen.rows.nextFocusRow(-1, 1);
        const row = form.itemAtIndex(first);
        if (row !== null && row.y + row.height <= form.contentY + form.height)
            form.focusRow(first, 1);
    }
    function focusRow(index, by) {
        if (index < 0)
            return false;
        form.positionViewAtIndex(index, ListView.Contain);
        const row = form.itemAtIndex(index) as FlowRow;
        return row !== null && row.takeFocus(by);
    }
    // Scrolls just so far that the row with the keyboard can be seen, with some room around it.
    function reveal() {
        const row = form.currentItem;
        if (row === null)
            return;
        const least = form.originY - form.topMargin;
        const most = Math.max(least, form.originY + form.contentHeight + form.bottomMargin - form.height);
        const below = row.y + row.height + 16 - form.height;
        const above = row.y - 12;
        if (form.contentY < below)
            form.contentY = Math.min(below, most);
        if (form.contentY > above)
            form.contentY = Math.max(above, least);
    }
    function step(by) {
        const row = form.currentItem as FlowRow;
        if (row !== null && row.activeFocus && row.step(by))
            return true;
        return form.focusRow(form.screen.rows.nextFocusRow(form.currentIndex, by), by);
    }

    bottomMargin: form.screen.marginBottom
    boundsBehavior: Flickable.StopAtBounds
    currentIndex: -1
    highlightFollowsCurrentItem: false
    keyNavigationEnabled: false
    model: form.screen.rows
    reuseItems: true
    spacing: 12
    topMargin: form.screen.marginTop + 10

    ScrollBar.vertical: ScrollBar {
    }
    delegate: DelegateChooser {
        role: "cellClass"

        DelegateChoice {
            roleValue: "LabelTableViewCell"

            LabelTableViewCell {
            }
        }
        DelegateChoice {
            roleValue: "ImageTableViewCell"

            ImageTableViewCell {
            }
        }
        DelegateChoice {
            roleValue: "ButtonTableViewCell"

            ButtonTableViewCell {
            }
        }
        DelegateChoice {
            roleValue: "TextFieldTableViewCell"

            TextFieldTableViewCell {
            }
        }
        DelegateChoice {
            roleValue: "ToggleSwitchTableViewCell"

            ToggleSwitchTableViewCell {
            }
        }
        DelegateChoice {
            roleValue: "DropdownTableViewCell"

            DropdownTableViewCell {
            }
        }
        DelegateChoice {
            roleValue: "ShowPoweredByTableViewCell"

            ShowPoweredByTableViewCell {
            }
        }
        DelegateChoice {
            TableViewCell {
            }
        }
    }

    Keys.onEnterPressed: form.advance()
    Keys.onReturnPressed: form.advance()
    onCountChanged: opening.restart()
    // A keyboard on the screen takes its part of the height: the field stays in view above it.
    onCurrentItemChanged: form.reveal()
    onHeightChanged: form.reveal()

    // Once the rows have been laid out.
    Timer {
        id: opening
        interval: 0

        onTriggered: form.focusFirst()
    }
    Connections {
        function onPhaseChanged() {
            opening.restart();
        }

        target: form.screen
    }
}
