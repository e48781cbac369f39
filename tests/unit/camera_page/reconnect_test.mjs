import assert from 'node:assert/strict';
import { test } from 'node:test';

import { renewalDelayMs, retryDelayMs } from '../../../apps/petrel/page/reconnect.js';

test('the pauses grow to three seconds and stay there', () => {
    const pauses = [1, 2, 3, 4, 5, 6, 1000].map(retryDelayMs);
    assert.deepEqual(pauses, [500, 1000, 2000, 3000, 3000, 3000, 3000]);
});

test('a connection that failed is renewed at once, then less and less often', () => {
    assert.deepEqual(
        [0, 1, 2, 3, 4, 5, 50].map((renewals) => renewalDelayMs('failed', renewals)),
        [0, 2000, 4000, 8000, 16_000, 30_000, 30_000],
    );
});

test('a connection that only falters gets three seconds', () => {
    assert.equal(renewalDelayMs('disconnected', 0), 3000);
    assert.equal(renewalDelayMs('disconnected', 3), 8000);
});

test('a connection that is well, or on its way, is left alone', () => {
    for (const state of ['new', 'connecting', 'connected', 'closed']) assert.equal(renewalDelayMs(state, 0), null);
});
