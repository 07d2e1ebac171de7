import Veltrane.Web

// Apart, so that the module is looked for only when there is a page.
WebBrowser {
}
