// Hides and highlights fence candidates in the rendered page without touching its source.
//
// This file is a complete script for the empty payload, so it reads, lints and runs on its own.
// The program keeps only the text after the empty payload on the `const payload =` line and puts
// the directive's own JSON in front of it. Everything above that line is not evaluated;
// everything after the payload is, and ends by calling the function.
//
// Each run first undoes the previous one, so running it again is harmless and the empty payload
// restores the page. Elements are found afresh from what each record remembers of them; the page
// keeps nothing across runs but the marker attribute and the saved style.
(() => {
  const payload = {"candidates":[]};

  const marker = "data-quillory-brightloop-preview-effect";
  const pseudoStyleID = "quillory-brightloop-pseudo-preview-effects";

  function restoreExistingEffects() {
    const pseudoStyle = document.getElementById(pseudoStyleID);
    if (pseudoStyle) {
      pseudoStyle.remove();
    }
    for (const element of document.querySelectorAll("[" + marker + "]")) {
      const original = element.__quilloryBrightloopOriginalStyle;
      // An element that had no style attribute gets none back, not an empty one. Reading it first
      // makes the engine write back what was set through `element.style`; removed while that write
      // is pending, the attribute would come back as style="".
      if (original === null || original === undefined) {
        element.getAttribute("style");
        element.removeAttribute("style");
      } else {
        element.setAttribute("style", original);
      }
      delete element.__quilloryBrightloopOriginalStyle;
      element.removeAttribute(marker);
    }
  }

  function normalize(value) {
    return String(value || "").replace(/\s+/g, " ").trim().toLowerCase();
  }

  // Records are in document space; the element's box is moved by the scroll offset to match.
  function rectScore(element, record) {
    const box = element.getBoundingClientRect();
    const x = box.left + (window.scrollX || 0);
    const y = box.top + (window.scrollY || 0);
    const dx = Math.abs(x - record.rect.x);
    const dy = Math.abs(y - record.rect.y);
    const dw = Math.abs(box.width - record.rect.width);
    const dh = Math.abs(box.height - record.rect.height);
    return Math.max(0, 60 - dx - dy - 0.25 * dw - 0.25 * dh);
  }

  function score(element, record) {
    if (!element || !record || String(element.tagName).toLowerCase() !== record.tagName) {
      return -1;
    }
    let total = 1 + rectScore(element, record);
    if (record.elementID != null) {
      total += element.id === record.elementID ? 120 : -30;
    }
    for (const className of record.classList || []) {
      if (element.classList.contains(className)) {
        total += 8;
      }
    }
    if (record.textSnippet != null && normalize(element.textContent).includes(normalize(record.textSnippet))) {
      total += 20;
    }
    return total;
  }

  // Neither search enters shadow trees, so elements in them are never affected.
  function findElement(record) {
    if (record.elementID != null) {
      const byID = document.getElementById(record.elementID);
      if (score(byID, record) >= 0) {
        return byID;
      }
    }
    let elements = [];
    try {
      elements = document.querySelectorAll(record.tagName);
    } catch (error) {
      // A tag name that is no valid selector finds nothing; the other candidates still apply.
      return null;
    }
    // Only a strictly higher score replaces the best, so the first in document order wins a tie.
    let best = null;
    let bestScore = -1;
    for (const element of elements) {
      const elementScore = score(element, record);
      if (elementScore > bestScore) {
        best = element;
        bestScore = elementScore;
      }
    }
    return best;
  }

  function cssIdent(value) {
    if (window.CSS && typeof window.CSS.escape === "function") {
      return window.CSS.escape(value);
    }
    return String(value || "").replace(/[^a-zA-Z0-9_-]/g, (character) => "\\" + character);
  }

  // A pseudo-element can't be styled inline; its rule is built from the record alone, so it
  // applies without finding the host.
  function buildPseudoSelector(record) {
    let base = record.tagName || "*";
    if (record.elementID != null) {
      base = "#" + cssIdent(record.elementID);
    } else if (record.classList && record.classList.length > 0) {
      base += "." + record.classList.map(cssIdent).join(".");
    }
    return base + record.pseudoElement;
  }

  function pseudoRule(record, mode) {
    if (mode === "hidden") {
      return buildPseudoSelector(record)
        + " { content: none !important; visibility: hidden !important; opacity: 0 !important; pointer-events: none !important; }";
    }
    if (mode === "highlighted") {
      return buildPseudoSelector(record)
        + " { outline: 3px solid #0A84FF !important; outline-offset: 3px !important; box-shadow: 0 0 0 5px rgba(10, 132, 255, 0.22) !important; }";
    }
    return "";
  }

  function applyPseudoEffect(record, mode) {
    const rule = pseudoRule(record, mode);
    if (!rule) {
      return;
    }
    let style = document.getElementById(pseudoStyleID);
    if (!style) {
      style = document.createElement("style");
      style.id = pseudoStyleID;
      document.head.appendChild(style);
    }
    style.appendChild(document.createTextNode(rule + "\n"));
  }

  function applyEffect(element, mode) {
    if (!element) {
      return;
    }
    // Saved once, before the first effect, so that hidden and then highlighted still restores
    // what the page itself had.
    if (element.__quilloryBrightloopOriginalStyle === undefined) {
      element.__quilloryBrightloopOriginalStyle = element.getAttribute("style");
    }
    element.setAttribute(marker, mode);
    if (mode === "hidden") {
      element.style.visibility = "hidden";
      element.style.pointerEvents = "none";
    } else if (mode === "highlighted") {
      element.style.outline = "3px solid #0A84FF";
      element.style.outlineOffset = "3px";
      element.style.boxShadow = "0 0 0 5px rgba(10, 132, 255, 0.22)";
    }
  }

  restoreExistingEffects();
  for (const candidate of payload.candidates || []) {
    const record = candidate.record;
    if (record.pseudoElement != null) {
      applyPseudoEffect(record, candidate.mode);
    } else {
      applyEffect(findElement(record), candidate.mode);
    }
  }
})();
