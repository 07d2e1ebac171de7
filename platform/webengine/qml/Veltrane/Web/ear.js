// Hands on what is said to our page, with the browser's word on who has said it.
(function () {
  const channel = new Promise(
    resolve => new QWebChannel(qt.webChannelTransport, open => resolve(open.objects.ear)));
  const textOf = data => {
    try {
      return typeof data === 'string' ? data : JSON.stringify(data);
    } catch (error) {
      return undefined;
    }
  };
  window.addEventListener('message', event => {
    const text = textOf(event.data);
    if (typeof text === 'string' && text.length <= 65536)
      channel.then(ear => ear.hear(event.origin, text));
  });
})();
