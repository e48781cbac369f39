// Which language, and the texts in it.
import { texts as de } from './language_de.js';
import { texts as en } from './language_en.js';
import { texts as es } from './language_es.js';

export const kLanguages = { en, de, es };

// The stored choice, else the first of the browser's languages that there is.
export function chooseLanguage(stored, preferred) {
    if (Object.hasOwn(kLanguages, stored ?? '')) return stored;
    for (const tag of preferred || []) {
        const language = String(tag).toLowerCase().split('-')[0];
        if (Object.hasOwn(kLanguages, language)) return language;
    }
    return 'en';
}

// Looks texts up: `say('state.live', {count: 2})`. A key with forms for numbers has them as "key.one" and
// "key.other".
export function makeSay(language) {
    const texts = kLanguages[language];
    const plural = new Intl.PluralRules(language);
    return (key, values = {}) => {
        let text = texts[key];
        if (text === undefined && 'count' in values) {
            text = texts[`${key}.${plural.select(values.count)}`] ?? texts[`${key}.other`];
        }
        if (text === undefined) return key;
        return text.replace(/\{(\w+)\}/g, (whole, name) => (name in values ? String(values[name]) : whole));
    };
}
