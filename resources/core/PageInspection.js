(function () {
    // Reports what the rendered page holds: its title and language, headings, links, images and
    // stylesheets, read from the live DOM and CSSOM, as one JSON string. It changes nothing in
    // the page. Text limits count the string's own length, that is UTF-16 code units.
    "use strict";

    const headingTextLimit = 160;
    const linkTextLimit = 120;

    function textOf(el) {
        return (el.textContent || "").replace(/\s+/g, " ").trim();
    }

    // No ellipsis: the panel shows the text as far as it goes.
    function truncate(value, limit) {
        if (!value)
            return "";
        return value.length > limit ? value.slice(0, limit) : value;
    }

    // A protocol-relative reference ("//host/x") passes as local because it starts with "/".
    // The simplification is deliberate: the report sorts by how a reference is written.
    function isLocalHref(raw) {
        if (!raw)
            return true;
        const value = raw.trim();
        if (value === "" || value.startsWith("#") || value.startsWith("/") || value.startsWith("./") || value.startsWith("../"))
            return true;
        let url;
        try {
            url = new URL(value, document.baseURI);
        } catch (error) {
            return false;
        }
        if (url.protocol === "mailto:" || url.protocol === "tel:")
            return false;
        if (url.protocol === window.location.protocol && url.host === window.location.host)
            return true;
        return url.protocol === "quillory-site:";
    }

    // Every rule counts once at its own level, so a media rule with one rule inside counts 2.
    function countRules(rules) {
        let count = 0;
        for (const rule of Array.from(rules)) {
            count += 1;
            if (rule.cssRules)
                count += countRules(rule.cssRules);
        }
        return count;
    }

    function headingLevel(el) {
        const level = parseInt((el.tagName || "h0").slice(1), 10);
        return Number.isFinite(level) && level > 0 ? level : 0;
    }

    const headings = Array.from(document.querySelectorAll("h1,h2,h3,h4,h5,h6")).map((el) => ({
        level: headingLevel(el),
        text: truncate(textOf(el), headingTextLimit),
        elementID: el.id || null,
    }));

    const links = Array.from(document.querySelectorAll("a[href]")).map((el) => {
        const href = el.getAttribute("href") || "";
        return {
            href,
            text: truncate(textOf(el), linkTextLimit),
            isLocal: isLocalHref(href),
        };
    });

    const images = Array.from(document.querySelectorAll("img")).map((el) => {
        const alt = el.getAttribute("alt");
        return {
            src: el.getAttribute("src") || "",
            alt,
            // An empty alt marks a decorative image, yet it is still reported here.
            isMissingAlt: alt === null || alt.trim() === "",
        };
    });

    const stylesheets = Array.from(document.styleSheets).map((sheet) => {
        let rules;
        try {
            rules = sheet.cssRules;
        } catch (error) {
            // A sheet from another origin keeps its rules to itself.
            return {
                href: sheet.href || null,
                ruleCount: 0,
                inaccessibleReason: (error && error.name) || "inaccessible",
            };
        }
        return {
            href: sheet.href || null,
            ruleCount: countRules(rules),
            inaccessibleReason: null,
        };
    });

    const root = document.documentElement;
    return JSON.stringify({
        title: document.title || "",
        language: root ? root.getAttribute("lang") : null,
        headings,
        links,
        images,
        stylesheets,
    });
})
