// The operator's screen: what a phone has to scan, and the phones that there are.
import { Api } from './api.js';
import { applyTexts, setChoices, setText } from './element_texts.js';
import { chooseLanguage, kLanguages, makeSay } from './languages.js';
import { phoneRow, svgAddress, timeLeft } from './operator_rows.js';
import { SafeStorage } from './storage.js';
import { browserTimers } from './timers.js';

const kPeriodMs = 1000;
const kLanguageKey = 'petrel.language';

const element = (id) => document.getElementById(id);
const storage = new SafeStorage(() => localStorage);
const api = new Api((...parameters) => fetch(...parameters), browserTimers, location.search);

let say = null;
let shown = null;

function setLanguage(language) {
    say = makeSay(language);
    applyTexts(document, language, say);
    document.title = say('operator.title');
    const choices = Object.keys(kLanguages).map((name) => ({ value: name, text: makeSay(name)('language') }));
    setChoices(element('language'), choices, language);
    if (shown) draw(shown);
}

function cell(name, text) {
    const made = document.createElement(name);
    made.textContent = text;
    return made;
}

function drawRow(phone) {
    const row = phoneRow(phone, say);
    const name = cell('th', row.name);
    name.scope = 'row';
    const badge = cell('span', row.state);
    badge.className = `badge ${row.kind}`;
    const state = document.createElement('td');
    state.append(badge);
    const revoke = cell('button', say('operator.revoke'));
    revoke.type = 'button';
    revoke.dataset.identifier = row.identifier;
    revoke.setAttribute('aria-label', say('operator.revoke.named', { name: row.name }));
    revoke.onclick = () => {
        if (!confirm(say('operator.revoke.sure', { name: row.name }))) return;
        act('/api/operator/revoke', { identifier: row.identifier });
    };
    const last = document.createElement('td');
    last.append(revoke);
    const made = document.createElement('tr');
    made.append(
        name,
        state,
        ...[row.watching, row.picture, row.battery, row.load, row.direct].map((text) => cell('td', text)),
        last,
    );
    return made;
}

// The table is made anew only when something in it changed, and keeps the focus.
function drawPhones(phones) {
    const table = element('phones');
    const now = JSON.stringify([phones, document.documentElement.lang]);
    element('none').hidden = phones.length > 0;
    element('phones-table').hidden = phones.length === 0;
    if (table.dataset.shown === now) return;
    table.dataset.shown = now;
    const focused = document.activeElement?.dataset?.identifier;
    table.replaceChildren(...phones.map(drawRow));
    if (focused) [...table.querySelectorAll('button')].find((one) => one.dataset.identifier === focused)?.focus();
}

function draw(answer) {
    shown = answer;
    setText(element('url'), answer.url);
    setText(element('code'), answer.code);
    const address = svgAddress(answer.qrSvg);
    if (element('qr').src !== address) element('qr').src = address;
    const seconds = answer.expiresInSeconds;
    setText(element('left'), seconds > 0 ? say('operator.left', timeLeft(seconds)) : say('operator.expired'));
    drawPhones(answer.phones ?? []);
}

async function ask(request) {
    try {
        draw(await request);
        element('lost').hidden = true;
    } catch {
        element('lost').hidden = false;
    }
}

async function act(path, body) {
    try {
        await api.post(path, body);
    } catch {
        element('lost').hidden = false;
        return;
    }
    await ask(api.get('/api/operator'));
}

async function follow() {
    await ask(api.get('/api/operator'));
    browserTimers.set(kPeriodMs, follow);
}

element('new-code').onclick = () => act('/api/operator/code', {});
element('language').onchange = ({ target }) => {
    storage.set(kLanguageKey, target.value);
    setLanguage(target.value);
};
setLanguage(chooseLanguage(storage.get(kLanguageKey), navigator.languages));
follow();
