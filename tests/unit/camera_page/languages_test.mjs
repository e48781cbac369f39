import assert from 'node:assert/strict';
import { readdirSync, readFileSync } from 'node:fs';
import { test } from 'node:test';

import { chooseLanguage, kLanguages, makeSay } from '../../../apps/petrel/page/languages.js';

const kPage = new URL('../../../apps/petrel/page/', import.meta.url);
const fields = (text) => [...text.matchAll(/\{(\w+)\}/g)].map((match) => match[1]).sort();

test('every language has every text, with the same fields in it', () => {
    for (const [language, texts] of Object.entries(kLanguages)) {
        assert.deepEqual(Object.keys(texts), Object.keys(kLanguages.en), language);
        for (const [key, text] of Object.entries(texts)) {
            assert.notEqual(text.trim(), '', `${language} ${key}`);
            assert.deepEqual(fields(text), fields(kLanguages.en[key]), `${language} ${key}`);
        }
    }
});

// Names, and words that two languages share.
const kShared = /^(control\.zoom|pair\.code|certificate\.(ios|android)|operator\.load)$/;

test('no text was left in English', () => {
    for (const language of ['de', 'es']) {
        for (const [key, text] of Object.entries(kLanguages[language])) {
            if (kShared.test(key)) continue;
            assert.notEqual(text, kLanguages.en[key], `${language} ${key}`);
        }
    }
});

test('every text that the pages name exists', () => {
    for (const name of readdirSync(kPage).filter((file) => file.endsWith('.html'))) {
        const page = readFileSync(new URL(name, kPage), 'utf8');
        const keys = [...page.matchAll(/data-(?:text|label|alt)="([^"]+)"/g)].map((match) => match[1]);
        assert.ok(keys.length > 5, name);
        for (const key of keys) assert.ok(key in kLanguages.en, `${name}: ${key}`);
    }
});

test('every problem and action that the page can show has its sentence', () => {
    const source = readFileSync(new URL('problems.js', kPage), 'utf8');
    const names = [...source.matchAll(/'((?:camera|microphone|browser|machine|too|not|open|wrong|used|expired|slow|bad)-[a-z-]+)'/g)];
    assert.ok(names.length > 15);
    for (const [, name] of names) assert.ok(`problem.${name}` in kLanguages.en, name);
    for (const [, action] of source.matchAll(/action: '(\w+)'/g)) assert.ok(`action.${action}` in kLanguages.en, action);
});

test('the first of the person’s languages that there is', () => {
    assert.equal(chooseLanguage(null, ['fr-FR', 'de-AT', 'en']), 'de');
    assert.equal(chooseLanguage(null, ['es-419']), 'es');
    assert.equal(chooseLanguage(null, ['fr', 'it']), 'en');
    assert.equal(chooseLanguage(null, undefined), 'en');
});

test('the switch is stronger than the browser, unless it names no language', () => {
    assert.equal(chooseLanguage('es', ['de']), 'es');
    assert.equal(chooseLanguage('constructor', ['de']), 'de');
    assert.equal(chooseLanguage('', ['de']), 'de');
});

test('one host, several hosts', () => {
    assert.equal(makeSay('en')('state.live', { count: 1 }), 'Live to 1 host');
    assert.equal(makeSay('de')('state.live', { count: 3 }), 'Live zu 3 Regien');
    assert.equal(makeSay('es')('state.live', { count: 1_000_000 }), 'En directo a 1000000 receptores');
});

test('what stands in a field is not read as a field', () => {
    assert.equal(makeSay('en')('watching', { names: '{count}', count: 7 }), 'Watching: {count}');
});
