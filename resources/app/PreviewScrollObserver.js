// Reports scrolling of the preview to the application once it has paused for 80 ms. Installed after
// every finished navigation; the page's own flag keeps a second install in one document from
// adding a second listener.
(() => {
  if (window.__quilloryScrollObserverInstalled) {
    return;
  }
  window.__quilloryScrollObserverInstalled = true;
  let pending = null;
  window.addEventListener("scroll", () => {
    if (pending) {
      clearTimeout(pending);
    }
    pending = setTimeout(() => {
      pending = null;
      // A position the program restored after a reload is not the reader's scroll.
      const restored = window.__quilloryRestoredScroll;
      window.__quilloryRestoredScroll = null;
      if (restored && restored[0] === window.scrollX && restored[1] === window.scrollY) {
        return;
      }
      window.webkit?.messageHandlers?.quilloryPreviewScrolled?.postMessage("scroll");
    }, 80);
  }, { passive: true });
})();
