// The one-time code, typed or scanned, and the name that the phone gets.

const kAlphabet = 'ABCDEFGHJKLMNPQRSTUVWXYZ23456789';
const kCodeLength = 8;
const kLongestName = 60;

// The code without what people add to it; what the alphabet leaves out on purpose is not guessed at.
export function bareCode(text) {
    return [...String(text).toUpperCase()].filter((letter) => kAlphabet.includes(letter)).join('');
}

export function isCompleteCode(text) {
    return bareCode(text).length === kCodeLength;
}

// As it is shown while typing: XXXX-XXXX.
export function formatCode(text) {
    const code = bareCode(text).slice(0, kCodeLength);
    return code.length > 4 ? `${code.slice(0, 4)}-${code.slice(4)}` : code;
}

// The code in an address such as https://.../#pair=ABCD-2345; empty when there is none.
export function codeFromFragment(fragment) {
    const match = /^#pair=([^&]*)/.exec(fragment || '');
    if (!match) return '';
    const code = bareCode(match[1].replace(/%20|%2D/gi, ''));
    return code.length === kCodeLength ? formatCode(code) : '';
}

export function isGoodName(name) {
    const trimmed = String(name).trim();
    const hasControls = [...trimmed].some((letter) => letter < ' ' || letter === '\x7f');
    return trimmed !== '' && [...trimmed].length <= kLongestName && !hasControls && trimmed.toLowerCase() !== 'halyard';
}

const kPlatforms = [
    [/iPhone/, 'iPhone'],
    [/iPad/, 'iPad'],
    [/Android.*; ([^;)]+?)(?: Build\/[^)]*)?\)/, null],
    [/Android/, 'Android'],
    [/CrOS/, 'Chromebook'],
    [/Macintosh/, 'Mac'],
    [/Windows/, 'Windows'],
    [/Linux/, 'Linux'],
];

// What the browser tells of the device; `fallback` is the language's own word for a phone. Newer browsers
// replace the model by "K" or leave it out.
export function defaultName(userAgent, model, fallback) {
    if (model && isGoodName(model)) return model.trim();
    for (const [pattern, name] of kPlatforms) {
        const match = pattern.exec(userAgent || '');
        if (!match) continue;
        if (name) return name;
        if (match[1] !== 'K' && !/^(Mobile|Tablet|rv:)/.test(match[1]) && isGoodName(match[1])) return match[1];
    }
    return fallback;
}
