// Puts a reloaded page back where the reader left it. The position it set is marked, so that the
// scroll observer doesn't report this move as the reader's own scroll. Called with page
// coordinates: the program appends "(x, y);".
((x, y) => {
  window.scrollTo(x, y);
  window.__quilloryRestoredScroll = [window.scrollX, window.scrollY];
})
