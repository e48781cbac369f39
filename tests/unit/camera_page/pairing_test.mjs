import assert from 'node:assert/strict';
import { test } from 'node:test';

import {
    bareCode,
    codeFromFragment,
    defaultName,
    formatCode,
    isCompleteCode,
    isGoodName,
} from '../../../apps/petrel/page/pairing.js';

test('a code may be typed with small letters, blanks and hyphens', () => {
    for (const typed of ['ABCD-2345', 'abcd2345', ' ab cd-23 45 ', 'a-b-c-d-2-3-4-5']) {
        assert.equal(bareCode(typed), 'ABCD2345', typed);
        assert.equal(isCompleteCode(typed), true);
    }
    assert.equal(isCompleteCode('ABCD-234'), false);
    assert.equal(isCompleteCode('ABCD-23456'), false);
});

test('letters that look like figures are not part of a code', () => {
    assert.equal(bareCode('A0B1CIDO'), 'ABCD');
});

test('the hyphen appears while typing', () => {
    assert.equal(formatCode('ab'), 'AB');
    assert.equal(formatCode('abcd'), 'ABCD');
    assert.equal(formatCode('abcd2'), 'ABCD-2');
    assert.equal(formatCode('abcd-2345xyz'), 'ABCD-2345');
});

test('the address carries the code behind #pair=', () => {
    assert.equal(codeFromFragment('#pair=ABCD-2345'), 'ABCD-2345');
    assert.equal(codeFromFragment('#pair=abcd%2D2345'), 'ABCD-2345');
    assert.equal(codeFromFragment('#pair=ABCD-2345&x=1'), 'ABCD-2345');
    for (const other of ['', '#', '#pair=', '#pair=ABC', '#other=ABCD-2345', undefined]) {
        assert.equal(codeFromFragment(other), '', other);
    }
});

test('a name has 1 to 60 letters and is not that of the host', () => {
    for (const name of ['Anna’s phone', 'カメラ', ' x ', '📱'.repeat(60)]) assert.equal(isGoodName(name), true, name);
    for (const name of ['', '   ', 'a\nb', 'a\u0000', 'x'.repeat(61), 'Halyard', ' halyard ']) {
        assert.equal(isGoodName(name), false, name);
    }
});

const kPixel = 'Mozilla/5.0 (Linux; Android 14; Pixel 8 Build/UQ1A) AppleWebKit/537.36 Chrome/120 Mobile Safari/537.36';
const kReduced = 'Mozilla/5.0 (Linux; Android 10; K) AppleWebKit/537.36 Chrome/120 Mobile Safari/537.36';
const kFirefox = 'Mozilla/5.0 (Android 14; Mobile; rv:120.0) Gecko/120.0 Firefox/120.0';
const kPhone = 'Mozilla/5.0 (iPhone; CPU iPhone OS 17_1 like Mac OS X) AppleWebKit/605 Version/17.1 Mobile Safari/604.1';

test('a phone is named for what it is', () => {
    assert.equal(defaultName(kPhone, undefined, 'Phone'), 'iPhone');
    assert.equal(defaultName(kPixel, undefined, 'Phone'), 'Pixel 8');
    assert.equal(defaultName(kReduced, 'Galaxy S23', 'Phone'), 'Galaxy S23');
});

test('a browser that hides the model is no obstacle', () => {
    assert.equal(defaultName(kReduced, '', 'Phone'), 'Android');
    assert.equal(defaultName(kFirefox, undefined, 'Phone'), 'Android');
    assert.equal(defaultName('', undefined, 'Phone'), 'Phone');
    assert.equal(isGoodName(defaultName('Linux; Android 9; \u0001 Build/1)', undefined, 'Phone')), true);
});
