import QtQuick
import QtWebChannel
import QtWebEngine
import Veltrane.HandOver
import Veltrane.Web

// The vendor's page, for one step: it knows nothing of an earlier one and leaves nothing behind.
FocusScope {
    id: browser

    // Nothing but our own page is ever loaded into the window itself.
    property bool begun: false
    property bool filled: false
    required property SheetItem sheet
    property real textScale: 1

    function isolated(name, source, inFrames) {
        return {
            "injectionPoint": WebEngineScript.DocumentCreation, // qmllint disable unqualified
            "name": name,
            "runOnSubframes": inFrames,
            "sourceUrl": source,
            "worldId": WebEngineScript.ApplicationWorld // qmllint disable unqualified
        };
    }

    Component.onCompleted: {
        guard.origins = browser.sheet.origins;
        guard.watch(profile);
        // Out of reach of all scripts of pages.
        const own = "qrc:/qt-project.org/imports/Veltrane/Web/";
        view.userScripts.collection = [browser.isolated("channel", "qrc:///qtwebchannel/qwebchannel.js", false), browser.isolated("ear", own + "ear.js", false), browser.isolated("begun", own + "begun.js", true)];
        view.loadHtml(browser.sheet.hostPageText, browser.sheet.hostPage);
    }

    RequestGuard {
        id: guard
    }
    WebEngineProfile {
        id: profile
        httpAcceptLanguage: Qt.locale().name.replace("_", "-")
        offTheRecord: true

        onDownloadRequested: download => download.cancel()
    }
    QtObject {
        id: ear

        WebChannel.id: "ear" // qmllint disable type

        function hear(origin, text) {
            browser.sheet.received(origin, text);
        }
    }
    WebChannel {
        id: channel
        registeredObjects: [ear]
    }
    Connections {
        function onCameraAnswered(origin, allowed) {
            view.grantFeaturePermission(origin, WebEngineView.MediaVideoCapture, allowed);
        }

        function onClosing() {
            view.runJavaScript(browser.sheet.tearDown, WebEngineScript.MainWorld); // qmllint disable unqualified
        }

        target: browser.sheet
    }
    WebEngineView {
        id: view
        anchors.fill: parent
        focus: true
        objectName: "webView"
        profile: profile
        settings.allowWindowActivationFromJavaScript: false
        settings.errorPageEnabled: false
        settings.fullScreenSupportEnabled: true
        settings.javascriptCanAccessClipboard: false
        settings.javascriptCanOpenWindows: false
        settings.javascriptCanPaste: false
        settings.localContentCanAccessFileUrls: false
        settings.localContentCanAccessRemoteUrls: false
        settings.pdfViewerEnabled: false
        settings.pluginsEnabled: false
        settings.screenCaptureEnabled: false
        webChannel: channel
        webChannelWorld: WebEngineScript.ApplicationWorld // qmllint disable unqualified type property
        // The vendors' pages need 480 x 535 points: smaller sheets show them smaller, down to half,
        // and scroll what is left.
        zoomFactor: Math.max(0.5, Math.min(browser.textScale, browser.width / 480, browser.height / 535))

        onAuthenticationDialogRequested: request => {
            request.accepted = true;
            request.dialogReject();
        }
        onCertificateError: error => error.rejectCertificate()
        onColorDialogRequested: request => {
            request.accepted = true;
            request.dialogReject();
        }
        onContextMenuRequested: request => request.accepted = true
        onFeaturePermissionRequested: (origin, feature) => {
            if (feature === WebEngineView.MediaVideoCapture)
                browser.sheet.askForCamera(origin);
            else
                view.grantFeaturePermission(origin, feature, false);
        }
        onFileDialogRequested: request => {
            request.accepted = true;
            request.dialogReject();
        }
        // The page fills its own place, where our bar stays over it.
        onFullScreenRequested: request => request.accept()
        // What pages tell developers may hold what is nobody's business.
        onJavaScriptConsoleMessage: {}
        onJavaScriptDialogRequested: request => {
            request.accepted = true;
            request.dialogReject();
        }
        onLoadingChanged: loading => {
            if (loading.status === WebEngineView.LoadFailedStatus) {
                browser.sheet.browserStopped();
            } else if (loading.status === WebEngineView.LoadSucceededStatus && !browser.filled) {
                browser.filled = true;
                browser.begun = true;
                view.runJavaScript(browser.sheet.script, WebEngineScript.MainWorld); // qmllint disable unqualified
            }
        }
        onNavigationRequested: request => {
            if (request.isMainFrame && !browser.begun && String(request.url).startsWith("data:")) {
                browser.begun = true;
            } else if (request.isMainFrame) {
                request.reject();
            } else if (!guard.allowsFrame(request.url)) {
                request.reject();
            } else {
                browser.sheet.documentMayLeave();
            }
        }
        onNewWindowRequested: {}
        onQuotaRequested: request => request.reject()
        onRegisterProtocolHandlerRequested: request => request.reject()
        onRenderProcessTerminated: browser.sheet.browserStopped()
        onSelectClientCertificate: selection => selection.selectNone()
    }
}
