import QtQuick
import Veltrane.Flow

Window {
    width: 390
    height: 844
    visible: true

    VeltraneFlow {
        apiKey: "demo-key"
        rpId: "localhost"
        origin: "https://localhost"
        companyId: "acme"
        flowId: "two-step-sign-in"
        onResponse: response => {
            console.log("Signed in.");
            Qt.quit();
        }
        onError: error => {
            console.log(error.description);
            Qt.exit(1);
        }
        Component.onCompleted: Qt.callLater(runFlow)
    }
}
