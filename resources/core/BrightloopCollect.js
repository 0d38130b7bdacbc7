(function (fenceX, fenceY, fenceW, fenceH) {
    // Reports every element and generated pseudo-element whose box touches the fence, as a JSON
    // array of records. The fence and every reported box are in document space (CSS pixels from
    // the document's top left corner), so scrolling does not change them.
    "use strict";

    const fenceRight = fenceX + fenceW;
    const fenceBottom = fenceY + fenceH;
    const sx = window.scrollX || 0;
    const sy = window.scrollY || 0;
    const out = [];
    const stack = [];
    const visited = new WeakSet();

    function signature(el) {
        let text = String(el.tagName).toLowerCase();
        if (el.id)
            text += "#" + el.id;
        if (el.classList && el.classList.length > 0)
            text += "." + Array.from(el.classList).join(".");
        return text;
    }

    function collectAttributes(el) {
        const attributes = {};
        const names = typeof el.getAttributeNames === "function" ? el.getAttributeNames() : [];
        for (const name of names) {
            const value = el.getAttribute(name);
            if (value === null)
                continue;
            attributes[name] = value.length > 256 ? value.slice(0, 256) : value;
        }
        return attributes;
    }

    // Stops at a shadow root, where parentElement is null, so a shadow tree's chain ends inside it.
    function collectAncestors(el) {
        const tags = [];
        const signatures = [];
        const displayContents = [];
        for (let parent = el.parentElement; parent; parent = parent.parentElement) {
            const parentSignature = signature(parent);
            tags.push(String(parent.tagName).toLowerCase());
            signatures.push(parentSignature);
            if (getComputedStyle(parent).display === "contents")
                displayContents.push(parentSignature);
        }
        return { tags, signatures, displayContents };
    }

    function cssNumber(value, fallback) {
        const number = parseFloat(value || "");
        return Number.isFinite(number) ? number : fallback;
    }

    function colorAlpha(value) {
        if (!value || value === "transparent")
            return 0;
        const open = value.indexOf("(");
        const close = value.lastIndexOf(")");
        if (open < 0 || close < 0 || close <= open)
            return 1;
        const pieces = value.slice(open + 1, close).replace(/[,/]/g, " ").split(" ").filter((piece) => piece.length > 0);
        if (pieces.length >= 4) {
            const alpha = parseFloat(pieces[3]);
            return Number.isFinite(alpha) ? alpha : 1;
        }
        return 1;
    }

    // attr() and counter() values that the engine did not resolve stay literal text.
    function cssContentText(style) {
        const content = style.getPropertyValue("content");
        if (!content || content === "none" || content === "normal")
            return null;
        if (content === "\"\"" || content === "''")
            return "";
        const first = content.charAt(0);
        if ((first === "\"" || first === "'") && content.charAt(content.length - 1) === first)
            return content.slice(1, -1);
        return content;
    }

    function normalizedText(value) {
        return String(value || "").replace(/\s+/g, " ").trim();
    }

    function contentSourceAttribute(el, renderedText) {
        const wanted = normalizedText(renderedText);
        if (!wanted)
            return null;
        const names = typeof el.getAttributeNames === "function" ? el.getAttributeNames() : [];
        for (const name of names) {
            const value = el.getAttribute(name);
            if (value !== null && normalizedText(value) === wanted)
                return name;
        }
        return null;
    }

    function effectiveOpacityFor(el, style) {
        let opacity = cssNumber(style.opacity, 1);
        for (let parent = el.parentElement; parent; parent = parent.parentElement)
            opacity *= cssNumber(getComputedStyle(parent).opacity, 1);
        return opacity;
    }

    function isSetAndNotNone(value) {
        return !!value && value !== "none";
    }

    // Only the top border is consulted.
    function hasPaintedSurface(style) {
        if (isSetAndNotNone(style.getPropertyValue("background-image")))
            return true;
        if (colorAlpha(style.getPropertyValue("background-color")) > 0.01)
            return true;
        if (isSetAndNotNone(style.getPropertyValue("box-shadow")) || isSetAndNotNone(style.getPropertyValue("clip-path")))
            return true;
        const mask = style.getPropertyValue("mask-image") || style.getPropertyValue("-webkit-mask-image");
        if (isSetAndNotNone(mask))
            return true;
        return isSetAndNotNone(style.getPropertyValue("border-top-style"))
            && cssNumber(style.getPropertyValue("border-top-width"), 0) > 0;
    }

    // A pseudo-element has no box of its own here: the body's and the root's span the document,
    // any other takes its host's box.
    function rectFor(el, pseudoName) {
        if (pseudoName && (el === document.body || el === document.documentElement)) {
            const root = document.documentElement;
            return {
                x: 0,
                y: 0,
                width: Math.max((root && root.scrollWidth) || 0, window.innerWidth || 0),
                height: Math.max((root && root.scrollHeight) || 0, window.innerHeight || 0),
            };
        }
        const box = el.getBoundingClientRect();
        return { x: box.left + sx, y: box.top + sy, width: box.width, height: box.height };
    }

    // Touching edges do not intersect.
    function intersects(rect) {
        return !(rect.x + rect.width <= fenceX || rect.x >= fenceRight || rect.y + rect.height <= fenceY || rect.y >= fenceBottom);
    }

    function isPointerHitTarget(el, rect, pseudoName) {
        if (pseudoName)
            return false;
        const left = Math.max(rect.x, fenceX);
        const top = Math.max(rect.y, fenceY);
        const right = Math.min(rect.x + rect.width, fenceRight);
        const bottom = Math.min(rect.y + rect.height, fenceBottom);
        if (right <= left || bottom <= top)
            return false;
        const points = [
            [(left + right) / 2, (top + bottom) / 2],
            [left + 1, top + 1],
            [right - 1, top + 1],
            [left + 1, bottom - 1],
            [right - 1, bottom - 1],
        ];
        const isRoot = el === document.body || el === document.documentElement;
        for (const [x, y] of points) {
            const hit = document.elementFromPoint(x - sx, y - sy);
            if (!hit)
                continue;
            if (hit === el || (!isRoot && el.contains(hit)))
                return true;
        }
        return false;
    }

    function pushRecord(el, rect, inShadowDOM, shadowHost, pseudoName) {
        if (rect.width <= 0 || rect.height <= 0 || !intersects(rect))
            return;
        const cs = pseudoName ? getComputedStyle(el, pseudoName) : getComputedStyle(el);
        const effectiveOpacity = effectiveOpacityFor(el, cs);
        const renderedText = pseudoName ? cssContentText(cs) : null;
        const renderedSnippet = renderedText !== null && renderedText.length > 160 ? renderedText.slice(0, 160) : renderedText;
        const sourceAttribute = pseudoName ? contentSourceAttribute(el, renderedText) : null;
        const fontSize = cssNumber(cs.getPropertyValue("font-size"), null);
        const textAlpha = colorAlpha(cs.getPropertyValue("color"));
        const painted = hasPaintedSurface(cs);
        const visible = cs.getPropertyValue("visibility") !== "hidden" && cs.getPropertyValue("display") !== "none" && effectiveOpacity > 0.01;
        const transformed = isSetAndNotNone(cs.getPropertyValue("transform"));

        let direct = "";
        if (!pseudoName) {
            let joined = "";
            for (const node of el.childNodes) {
                if (node.nodeType === 3)
                    joined += node.nodeValue;
            }
            direct = normalizedText(joined);
            if (direct.length > 160)
                direct = direct.slice(0, 160);
        }

        const ancestors = collectAncestors(el);

        let siblingIndex = null;
        const parent = el.parentElement;
        if (parent) {
            siblingIndex = 0;
            for (const sibling of parent.children) {
                if (sibling === el)
                    break;
                if (sibling.tagName === el.tagName)
                    siblingIndex += 1;
            }
        }

        out.push({
            tagName: String(el.tagName).toLowerCase(),
            rect: { x: rect.x, y: rect.y, width: rect.width, height: rect.height },
            textSnippet: direct ? direct : null,
            elementID: el.id ? el.id : null,
            classList: el.classList ? Array.from(el.classList) : [],
            role: el.getAttribute("role"),
            attributes: collectAttributes(el),
            ancestorTags: ancestors.tags,
            ancestorSignatures: ancestors.signatures,
            displayContentsAncestors: ancestors.displayContents,
            siblingIndex: siblingIndex,
            isVisible: visible,
            inShadowDOM: inShadowDOM,
            transformed: transformed,
            pseudoElement: pseudoName ? pseudoName : null,
            renderedTextSnippet: renderedSnippet ? renderedSnippet : null,
            contentSourceAttribute: sourceAttribute,
            effectiveOpacity: effectiveOpacity,
            textColorAlpha: textAlpha,
            fontSize: fontSize,
            hasPaintedSurface: painted,
            isPointerHitTarget: isPointerHitTarget(el, rect, pseudoName),
            shadowHostTagName: shadowHost ? String(shadowHost.tagName).toLowerCase() : null,
            shadowHostID: shadowHost && shadowHost.id ? shadowHost.id : null,
            shadowHostClassList: shadowHost && shadowHost.classList ? Array.from(shadowHost.classList) : [],
            shadowHostAttributes: shadowHost ? collectAttributes(shadowHost) : {},
        });
    }

    function pseudoIsVisible(style) {
        const content = cssContentText(style);
        if (content === null)
            return false;
        if (!normalizedText(content) && !hasPaintedSurface(style))
            return false;
        return style.getPropertyValue("display") !== "none" && style.getPropertyValue("visibility") !== "hidden";
    }

    function pushPseudoRecords(el, inShadowDOM, shadowHost) {
        for (const pseudoName of ["::before", "::after"]) {
            if (pseudoIsVisible(getComputedStyle(el, pseudoName)))
                pushRecord(el, rectFor(el, pseudoName), inShadowDOM, shadowHost, pseudoName);
        }
    }

    // Last child first, so that the first child is popped first.
    function pushChildren(parent, inShadowDOM, shadowHost) {
        const children = parent.children;
        for (let index = children.length - 1; index >= 0; index -= 1)
            stack.push({ el: children[index], inShadowDOM: inShadowDOM, shadowHost: shadowHost });
    }

    // The body and the root element never get a record of their own, only their pseudo-elements.
    if (document.body) {
        pushPseudoRecords(document.body, false, null);
        pushChildren(document.body, false, null);
    }
    // No pruning: an element outside the fence may still have a positioned descendant inside it.
    while (stack.length > 0) {
        const entry = stack.pop();
        if (visited.has(entry.el))
            continue;
        visited.add(entry.el);
        pushChildren(entry.el, entry.inShadowDOM, entry.shadowHost);
        // Pushed last, so the shadow tree is walked before the light children. Closed roots are
        // invisible from here.
        if (entry.el.shadowRoot)
            pushChildren(entry.el.shadowRoot, true, entry.el);
        pushRecord(entry.el, rectFor(entry.el, null), entry.inShadowDOM, entry.shadowHost, null);
        pushPseudoRecords(entry.el, entry.inShadowDOM, entry.shadowHost);
    }
    return JSON.stringify(out);
})
