import QtQuick
import Veltrane.Flow

// A row of a class that this front end has no view for: nothing to see.
FlowRow {
    required property Cell cell
}
