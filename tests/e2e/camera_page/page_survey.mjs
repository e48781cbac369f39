// What a page says, and to whom: every text in it against those of a language, and every element that can be
// operated against what a screen reader says of it.
import { kLanguages } from '../../../apps/petrel/page/languages.js';

// Numbers and signs, sizes, codes, addresses, the names of the languages, and what has a name of its own.
const kOfNoLanguage = [
    /^[\s\d.:×,%/–●-]*$/,
    /^\d+(p|\/s)$/,
    /^(H264|VP8|VP9|AV1)$/,
    /^[A-Z0-9X]{4}-[A-Z0-9X]{4}$/,
    /^https:\/\/[\d.:]+\/$/,
    /^(Linux|Halyard)( \d)?$/,
    /^(fake_device_|Fake Audio Input )\d+$/,
    ...Object.values(kLanguages).map((texts) => pattern(texts.language)),
];

const kOperated = new Set([
    'button', 'checkbox', 'combobox', 'dialog', 'link', 'listbox', 'menuitem', 'option', 'radio', 'searchbox', 'slider',
    'spinbutton', 'switch', 'tab', 'textbox', 'image', 'img', 'region',
]);

function pattern(text) {
    const escaped = text.replace(/[.*+?^${}()|[\]\\]/g, '\\$&');
    return new RegExp(`^${escaped.replace(/\\\{\w+\\\}/g, '.+')}$`);
}

// Runs in the page: its texts, and those of its attributes, hidden ones too.
function textsOfPage() {
    const found = new Set([document.title]);
    const walker = document.createTreeWalker(document.documentElement, NodeFilter.SHOW_TEXT);
    while (walker.nextNode()) {
        if (!walker.currentNode.parentElement.closest('script, style')) found.add(walker.currentNode.data.trim());
    }
    for (const element of document.querySelectorAll('*')) {
        // A text in another language that says so.
        if (element.lang && element.lang !== document.documentElement.lang) continue;
        for (const name of ['aria-label', 'aria-description', 'alt', 'title', 'placeholder']) {
            if (element.hasAttribute(name)) found.add(element.getAttribute(name).trim());
        }
    }
    found.delete('');
    return [...found];
}

// The parts of `texts` that are not of the language.
function foreignTexts(texts, language) {
    const known = [...Object.values(kLanguages[language]).map(pattern), ...kOfNoLanguage];
    const isKnown = (text) => known.some((one) => one.test(text));
    return texts
        .flatMap((text) => text.replace(/^● /, '').split(' · '))
        .filter((part) => !isKnown(part) && !part.split(', ').every(isKnown));
}

export async function survey(page, language) {
    const texts = await page.evaluate(textsOfPage);
    const session = await page.context().newCDPSession(page);
    const { nodes } = await session.send('Accessibility.getFullAXTree');
    await session.detach();
    const operated = nodes.filter((node) => !node.ignored && kOperated.has(node.role?.value));
    const nameOf = (node) => (node.name?.value ?? '').trim();
    return {
        language: await page.evaluate(() => document.documentElement.lang),
        texts: texts.length,
        foreign: foreignTexts(texts, language),
        operated: operated.length,
        names: operated.map((node) => `${node.role.value} ${nameOf(node)}`),
        nameless: operated
            .filter((node) => nameOf(node) === '')
            .map((node) => `${node.role.value} ${node.backendDOMNodeId}`),
    };
}
