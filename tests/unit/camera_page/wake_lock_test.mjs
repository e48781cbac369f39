import assert from 'node:assert/strict';
import { test } from 'node:test';

import { WakeLock } from '../../../apps/petrel/page/wake_lock.js';

const settle = () => new Promise((resolve) => setImmediate(resolve));

class FakeLock extends EventTarget {
    constructor(phone) {
        super();
        this.phone = phone;
        phone.held.add(this);
    }

    async release() {
        if (this.phone.held.delete(this)) this.dispatchEvent(new Event('release'));
    }
}

// A phone whose screen can be locked.
class FakePhone extends EventTarget {
    constructor() {
        super();
        this.held = new Set();
        this.asked = 0;
        this.visibilityState = 'visible';
        this.wakeLock = {
            request: async () => {
                this.asked += 1;
                await settle();
                if (this.refuses) throw new Error('refused');
                return new FakeLock(this);
            },
        };
    }

    async see(isSeen) {
        this.visibilityState = isSeen ? 'visible' : 'hidden';
        if (!isSeen) for (const lock of [...this.held]) await lock.release();
        this.dispatchEvent(new Event('visibilitychange'));
        await settle();
        await settle();
    }
}

function setUp() {
    const phone = new FakePhone();
    return { phone, lock: new WakeLock(phone, phone) };
}

async function wanted() {
    const world = setUp();
    world.lock.want(true);
    await settle();
    await settle();
    return world;
}

test('nothing is asked for before it is wanted', async () => {
    const { phone } = setUp();
    await phone.see(false);
    await phone.see(true);
    assert.equal(phone.asked, 0);
});

test('after every lock of the screen it is asked for again', async () => {
    const { phone } = await wanted();
    for (let round = 2; round < 5; round += 1) {
        await phone.see(false);
        assert.equal(phone.held.size, 0);
        await phone.see(true);
        assert.deepEqual([phone.held.size, phone.asked], [1, round]);
    }
});

test('one lock is held, however often it is wanted', async () => {
    const { phone, lock } = setUp();
    lock.want(true);
    lock.want(true);
    phone.dispatchEvent(new Event('visibilitychange'));
    await settle();
    await settle();
    assert.equal(phone.held.size, 1);
    lock.want(false);
    await settle();
    assert.equal(phone.held.size, 0);
});

test('one that comes after it was given up is given back', async () => {
    const { phone, lock } = setUp();
    lock.want(true);
    lock.want(false);
    await settle();
    await settle();
    assert.deepEqual([phone.asked, phone.held.size], [1, 0]);
});

test('what was refused is asked for when the page is seen again', async () => {
    const { phone, lock } = setUp();
    phone.refuses = true;
    lock.want(true);
    await settle();
    await settle();
    assert.equal(phone.asked, 1);
    phone.refuses = false;
    await phone.see(false);
    await phone.see(true);
    assert.equal(phone.held.size, 1);
});

test('a browser without it is left alone', async () => {
    const { phone, lock } = setUp();
    phone.wakeLock = undefined;
    lock.want(true);
    await phone.see(true);
    lock.want(false);
});
