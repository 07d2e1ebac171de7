// In every frame: tells our page when the one that it has made has another document.
(function () {
  if (window !== window.top && window.parent === window.top)
    window.top.postMessage('veltrane begun', '*');
})();
