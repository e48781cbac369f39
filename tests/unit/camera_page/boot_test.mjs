import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';
import vm from 'node:vm';

import { kLanguages } from '../../../apps/petrel/page/languages.js';

const kScript = readFileSync(new URL('../../../apps/petrel/page/boot.js', import.meta.url), 'utf8');

class FakeElement {
    constructor() {
        this.attributes = {};
        this.textContent = '';
        this.hidden = true;
    }

    setAttribute(name, value) {
        this.attributes[name] = value;
    }

    getAttribute(name) {
        return this.attributes[name] ?? null;
    }
}

class FakeStorage {
    constructor() {
        this.values = new Map();
    }

    setItem(key, value) {
        if (this.isRefused) throw new Error('refused');
        this.values.set(key, value);
    }

    getItem(key) {
        if (this.isRefused) throw new Error('refused');
        return this.values.get(key) ?? null;
    }
}

// A browser in which a page is loaded again and again.
class Browser {
    constructor({ languages = ['en'], knowsModules = true } = {}) {
        this.navigator = { languages };
        this.knowsModules = knowsModules;
        this.sessionStorage = new FakeStorage();
        this.localStorage = new FakeStorage();
        this.reloads = 0;
        this.isReachable = true;
    }

    // Loads the page; `starts` tells whether its modules run.
    load({ starts = false } = {}) {
        this.elements = new Map();
        this.timers = [];
        this.requests = [];
        this.document = {
            title: '',
            documentElement: new FakeElement(),
            body: new FakeElement(),
            createElement: () => (this.knowsModules ? { noModule: false } : {}),
            getElementById: (id) => {
                if (!this.elements.has(id)) this.elements.set(id, new FakeElement());
                return this.elements.get(id);
            },
        };
        if (starts) this.document.documentElement.setAttribute('data-started', 'yes');
        const browser = this;
        const world = {
            document: this.document,
            navigator: this.navigator,
            sessionStorage: this.sessionStorage,
            localStorage: this.localStorage,
            location: { reload: () => (this.reloads += 1) },
            setTimeout: (action) => this.timers.push(action),
            addEventListener: (name, action) => action(),
            XMLHttpRequest: class {
                open(method, path) {
                    this.path = path;
                }

                send() {
                    browser.requests.push(this.path);
                    if (browser.isReachable) this.onload();
                    else this.onerror();
                }
            },
        };
        world.window = world;
        vm.runInNewContext(kScript, world);
    }

    runTimers() {
        for (const action of this.timers.splice(0)) action();
    }

    text(id) {
        return this.document.getElementById(id).textContent;
    }

    get isComplaining() {
        return !this.document.getElementById('problem').hidden;
    }
}

test('a page that has started is left alone', () => {
    const browser = new Browser();
    browser.load({ starts: true });
    browser.runTimers();
    assert.deepEqual([browser.reloads, browser.isComplaining], [0, false]);
});

test('one that did not start is loaded anew, a few times, and then says so', () => {
    const browser = new Browser();
    for (let round = 1; round <= 3; round += 1) {
        browser.load();
        browser.runTimers();
        assert.deepEqual([browser.reloads, browser.isComplaining], [round, false]);
    }
    browser.load();
    browser.runTimers();
    assert.equal(browser.reloads, 3);
    assert.equal(browser.isComplaining, true);
    assert.equal(browser.text('problem-text'), 'The page does not start: try again, or update this browser.');
});

test('who is asked to try again gets as many attempts as at first', () => {
    const browser = new Browser();
    browser.sessionStorage.setItem('petrel.reloads', '3');
    browser.load();
    browser.document.getElementById('problem-action').onclick();
    assert.equal(browser.reloads, 1);
    browser.load();
    browser.runTimers();
    assert.deepEqual([browser.reloads, browser.isComplaining], [2, false]);
});

test('a start that succeeded forgets the failures', () => {
    const browser = new Browser();
    browser.sessionStorage.setItem('petrel.reloads', '3');
    browser.load({ starts: true });
    browser.load();
    browser.runTimers();
    assert.equal(browser.reloads, 1);
});

test('it is not loaded from a machine that does not answer', () => {
    const browser = new Browser();
    browser.isReachable = false;
    browser.load();
    browser.runTimers();
    browser.runTimers();
    assert.equal(browser.reloads, 0);
    assert.equal(browser.text('problem-text'), kLanguages.en['problem.unreachable']);
    browser.isReachable = true;
    browser.runTimers();
    assert.equal(browser.reloads, 1);
});

test('an old browser is told so at once', () => {
    const browser = new Browser({ knowsModules: false });
    browser.load();
    browser.runTimers();
    assert.equal(browser.reloads, 0);
    assert.equal(browser.text('problem-text'), kLanguages.en['problem.browser-too-old']);
});

test('without a memory it does not load itself for ever', () => {
    const browser = new Browser();
    browser.sessionStorage.isRefused = true;
    browser.load();
    browser.runTimers();
    assert.deepEqual([browser.reloads, browser.isComplaining], [0, true]);
});

test('it says the same as the modules, in the person’s language', () => {
    for (const [language, texts] of Object.entries(kLanguages)) {
        const browser = new Browser({ languages: ['fr', `${language}-XX`], knowsModules: false });
        browser.load();
        assert.equal(browser.document.documentElement.lang, language);
        assert.equal(browser.document.title, texts.title);
        assert.equal(browser.text('state'), texts['state.off']);
        assert.equal(browser.text('problem-text'), texts['problem.browser-too-old']);

        browser.knowsModules = true;
        browser.sessionStorage.setItem('petrel.reloads', '3');
        browser.load();
        assert.equal(browser.text('problem-action'), texts['action.retry']);
        browser.sessionStorage.setItem('petrel.reloads', '0');
        browser.isReachable = false;
        browser.load();
        browser.runTimers();
        assert.equal(browser.text('problem-text'), texts['problem.unreachable']);
    }
});

test('the chosen language is stronger than the browser’s', () => {
    const browser = new Browser({ languages: ['de'], knowsModules: false });
    browser.localStorage.setItem('petrel.language', 'es');
    browser.load();
    assert.equal(browser.document.documentElement.lang, 'es');
});
