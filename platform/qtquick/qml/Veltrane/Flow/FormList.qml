import QtQuick
import Qt.labs.qmlmodels
import Veltrane.Flow

// The rows of the generic screen.
RowList {
    id: form

    // Return: on to the next field that waits, or the button's press.
    function advance() {
        const next = form.screen.rows.nextOpenField(form.currentIndex);
        if (next >= 0)
            form.focusRow(next, 1);
        else
            form.screen.rows.pressButton(form.currentIndex);
    }
    function waitingRow() {
        return form.screen.rows.nextOpenField(-1);
    }

    spacing: 12
    topMargin: form.screen.marginTop + 10

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
}
