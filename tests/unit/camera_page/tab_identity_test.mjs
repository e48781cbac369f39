import assert from 'node:assert/strict';
import { test } from 'node:test';

import { tabIdentity } from '../../../apps/petrel/page/tab_identity.js';
import { VirtualTimers } from './virtual_timers.mjs';

class FakeLocks {
    constructor() {
        this.held = new Set();
        this.waiting = [];
    }

    request(name, { signal }, callback) {
        return new Promise((resolve, reject) => {
            const take = () => {
                this.held.add(name);
                resolve(callback());
            };
            if (!this.held.has(name)) take();
            else this.waiting.push({ name, take });
            signal.addEventListener('abort', () => reject(new Error('aborted')));
        });
    }

    release(name) {
        this.held.delete(name);
        this.waiting.find((one) => one.name === name)?.take();
    }
}

function setUp() {
    const values = new Map();
    let next = 0;
    const world = { timers: new VirtualTimers(), locks: new FakeLocks(), values };
    world.identity = (locks = world.locks) =>
        tabIdentity({
            storage: { get: (key) => values.get(key) ?? null, set: (key, value) => values.set(key, value) },
            locks,
            random: (bytes) => bytes.fill((next += 1)),
            timers: world.timers,
        });
    return world;
}

test('an identity looks like a UUID', async () => {
    assert.match(await setUp().identity(), /^[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}$/);
});

test('a page that is loaded anew is the same tab', async () => {
    const world = setUp();
    const first = await world.identity();
    const again = world.identity();
    await world.timers.advance(100);
    world.locks.release(`petrel.tab.${first}`);
    assert.equal(await again, first);
});

test('a tab that the browser doubled is another one', async () => {
    const world = setUp();
    const first = await world.identity();
    const doubled = world.identity();
    await world.timers.advance(500);
    assert.notEqual(await doubled, first);
});

test('browsers without locks and stored nonsense are no obstacle', async () => {
    const world = setUp();
    world.values.set('petrel.tab', '"><script>');
    const first = await world.identity(null);
    assert.match(first, /^[0-9a-f-]{36}$/);
    assert.equal(await world.identity(null), first);
});
