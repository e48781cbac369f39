// The steps for installing the authority's certificate; the phone's own kind comes first.
import { applyTexts } from './element_texts.js';
import { chooseLanguage, makeSay } from './languages.js';
import { SafeStorage } from './storage.js';

const language = chooseLanguage(new SafeStorage(() => localStorage).get('petrel.language'), navigator.languages);
const say = makeSay(language);
applyTexts(document, language, say);
document.title = say('certificate.heading');
if (/Android/.test(navigator.userAgent)) document.getElementById('ios').before(document.getElementById('android'));
