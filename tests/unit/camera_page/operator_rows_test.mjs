import assert from 'node:assert/strict';
import { test } from 'node:test';

import { makeSay } from '../../../apps/petrel/page/languages.js';
import { phoneRow, svgAddress, timeLeft } from '../../../apps/petrel/page/operator_rows.js';

const say = makeSay('en');

test('a code’s life counts down in minutes and seconds', () => {
    assert.deepEqual(timeLeft(600), { minutes: 10, seconds: '00' });
    assert.deepEqual(timeLeft(61.2), { minutes: 1, seconds: '02' });
    assert.deepEqual(timeLeft(-3), { minutes: 0, seconds: '00' });
});

test('a phone on air, with all that it tells', () => {
    const row = phoneRow(
        {
            identifier: 'i',
            name: 'Anna',
            address: '127.0.1.1',
            online: true,
            onAir: true,
            viewers: ['Halyard', 'Backup'],
            state: {
                battery: 0.805,
                charging: true,
                encoderLoad: 0.124,
                width: 1920,
                height: 1080,
                framesPerSecond: 29.9,
                codec: 'H264',
            },
        },
        say,
    );
    assert.equal(row.kind, 'air');
    assert.equal(row.watching, 'Halyard, Backup');
    assert.equal(row.picture, '1920 × 1080, 30/s, H264');
    assert.equal(row.battery, '81 %, charging');
    assert.equal(row.load, '12 %');
});

test('a phone that tells nothing, and one that is away', () => {
    const silent = phoneRow({ identifier: 'i', name: 'x', online: true, onAir: false, viewers: [], state: null }, say);
    assert.deepEqual(
        [silent.kind, silent.watching, silent.picture, silent.battery, silent.load],
        ['online', '–', '–', '–', '–'],
    );
    const away = phoneRow({ identifier: 'i', name: 'x', online: false, state: { battery: 0.5, width: 1 } }, say);
    assert.deepEqual([away.kind, away.battery, away.picture], ['offline', '–', '–']);
});

test('the square code is a picture, never part of the page', () => {
    const address = svgAddress('<svg onload="alert(1)">#</svg>');
    assert.ok(address.startsWith('data:image/svg+xml'));
    assert.equal(/[<>"#]/.test(address), false);
});
