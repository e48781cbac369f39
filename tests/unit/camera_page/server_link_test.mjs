import assert from 'node:assert/strict';
import { test } from 'node:test';

import { Refusal } from '../../../apps/petrel/page/api.js';
import { ServerLink } from '../../../apps/petrel/page/server_link.js';
import { VirtualTimers } from './virtual_timers.mjs';

const kNothingYet = '18446744073709551615';

// The machine: every request waits until the test answers it.
class Machine {
    constructor() {
        this.requests = [];
    }

    fetch(url, { signal }) {
        return new Promise((resolve, reject) => {
            const request = { url, signal, reject, isAborted: false };
            signal.addEventListener('abort', () => {
                request.isAborted = true;
                reject(new Error('aborted'));
                request.controller?.error(new Error('aborted'));
            });
            request.refuse = (status, error, headers = {}) =>
                resolve(new Response(JSON.stringify({ error, sentence: '' }), { status, headers }));
            request.open = () => {
                const body = new ReadableStream({
                    start: (controller) => {
                        request.controller = controller;
                    },
                });
                resolve(new Response(body, { headers: { 'content-type': 'text/event-stream' } }));
            };
            request.say = (text) => request.controller.enqueue(new TextEncoder().encode(text));
            request.close = () => request.controller.close();
            this.requests.push(request);
        });
    }

    get last() {
        return this.requests.at(-1);
    }
}

function setUp() {
    const machine = new Machine();
    const timers = new VirtualTimers();
    const heard = [];
    const states = [];
    const posts = [];
    const link = new ServerLink({
        fetch: (...parameters) => machine.fetch(...parameters),
        api: {
            post: (path, body) =>
                new Promise((answer, fail) => {
                    posts.push({ path, body, answer, fail });
                }),
        },
        timers,
        tab: 'tab-1',
        onEvent: (name, data) => heard.push([name, data]),
        onState: () => states.push([link.state, link.problem]),
    });
    return { machine, timers, heard, states, posts, link };
}

const kHello = 'event: hello\ndata: {"viewers":[]}\n\n';

async function opened(world) {
    world.link.start();
    await world.timers.settle();
    world.machine.last.open();
    await world.timers.settle();
    world.machine.last.say(kHello);
    await world.timers.settle();
}

test('the line is open with the first hello, and events are passed on', async () => {
    const world = setUp();
    await opened(world);
    assert.equal(world.link.state, 'open');
    world.machine.last.say('event: tally\ndata: {"viewer":1,"onAir":true}\n\n');
    await world.timers.settle();
    assert.deepEqual(world.heard, [['hello', { viewers: [] }], ['tally', { viewer: 1, onAir: true }]]);
    assert.equal(world.machine.requests[0].url, `/api/events?tab=tab-1&last=${kNothingYet}`);
});

test('a line that comes back goes on after the last event that was heard', async () => {
    const world = setUp();
    await opened(world);
    world.machine.last.say('id: 17\nevent: tally\ndata: {"viewer":1,"onAir":true}\n\nid: 18\nevent: gone\n');
    await world.timers.settle();
    world.machine.last.close();
    await world.timers.advance(500);
    assert.equal(world.machine.last.url, '/api/events?tab=tab-1&last=17');
    world.link.stop();
    world.link.start();
    await world.timers.settle();
    assert.match(world.machine.last.url, new RegExp(`last=${kNothingYet}$`), 'a page that rested begins anew');
});

test('events that are no objects are dropped', async () => {
    const world = setUp();
    await opened(world);
    world.machine.last.say('event: tally\ndata: {broken\n\nevent: tally\ndata: null\n\nevent: gone\ndata: {"viewer":2}\n\n');
    await world.timers.settle();
    assert.deepEqual(world.heard.slice(1), [['gone', { viewer: 2 }]]);
});

test('a machine that is away is asked again, for as long as it takes', async () => {
    const world = setUp();
    world.link.start();
    const pauses = [];
    for (let round = 0; round < 6; round += 1) {
        await world.timers.settle();
        world.machine.last.reject(new TypeError('unreachable'));
        await world.timers.settle();
        const [pause] = world.timers.pauses();
        pauses.push(pause);
        await world.timers.advance(pause);
    }
    assert.deepEqual(pauses, [500, 1000, 2000, 3000, 3000, 3000]);
    assert.deepEqual([world.link.state, world.link.problem], ['connecting', 'unreachable']);
});

test('one failure alone is not told', async () => {
    const world = setUp();
    await opened(world);
    world.machine.last.close();
    await world.timers.settle();
    assert.deepEqual([world.link.state, world.link.problem], ['connecting', null]);
    await world.timers.advance(500);
    world.machine.last.reject(new TypeError());
    await world.timers.settle();
    assert.equal(world.link.problem, 'unreachable');
});

test('after a hello the pauses begin anew, and the problem is forgotten', async () => {
    const world = setUp();
    world.link.start();
    for (let round = 0; round < 3; round += 1) {
        await world.timers.settle();
        world.machine.last.reject(new TypeError());
        await world.timers.advance(3000);
    }
    world.machine.last.open();
    await world.timers.settle();
    world.machine.last.say(kHello);
    await world.timers.settle();
    assert.deepEqual([world.link.state, world.link.problem], ['open', null]);
    world.machine.last.close();
    await world.timers.settle();
    assert.deepEqual(world.timers.pauses(), [500]);
});

test('a line without a sign of life for 25 s is lost', async () => {
    const world = setUp();
    await opened(world);
    for (let round = 0; round < 10; round += 1) {
        await world.timers.advance(24_000);
        world.machine.last.say(': \n');
        await world.timers.settle();
    }
    assert.equal(world.link.state, 'open');
    await world.timers.advance(24_999);
    assert.equal(world.link.state, 'open');
    await world.timers.advance(1);
    assert.equal(world.machine.last.isAborted, true);
    assert.equal(world.link.state, 'connecting');
});

test('a machine that does not answer within 10 s is asked again', async () => {
    const world = setUp();
    world.link.start();
    await world.timers.advance(10_000);
    assert.equal(world.machine.requests[0].isAborted, true);
    await world.timers.advance(500);
    assert.equal(world.machine.requests.length, 2);
});

for (const [status, problem] of [[401, 'not-paired'], [409, 'open-elsewhere']]) {
    test(`${problem} ends the trying`, async () => {
        const world = setUp();
        world.link.start();
        await world.timers.settle();
        world.machine.last.refuse(status, problem);
        await world.timers.advance(60_000);
        assert.equal(world.machine.requests.length, 1);
        assert.deepEqual([world.link.state, world.link.problem], ['closed', problem]);
    });
}

test('a machine that asks for patience gets it', async () => {
    const world = setUp();
    world.link.start();
    await world.timers.settle();
    world.machine.last.refuse(503, 'too-many', { 'retry-after': '20' });
    await world.timers.advance(19_999);
    assert.equal(world.machine.requests.length, 1);
    await world.timers.advance(1);
    assert.equal(world.machine.requests.length, 2);
});

test('taking over is said once, and not again after the line was lost', async () => {
    const world = setUp();
    world.link.start({ take: true });
    await world.timers.settle();
    assert.match(world.machine.last.url, /&take=1$/);
    world.machine.last.open();
    await world.timers.settle();
    world.machine.last.say(kHello);
    await world.timers.settle();
    world.machine.last.close();
    await world.timers.advance(500);
    assert.doesNotMatch(world.machine.last.url, /take/);
});

for (const name of ['taken', 'revoked']) {
    test(`after "${name}" the page is silent`, async () => {
        const world = setUp();
        await opened(world);
        world.machine.last.say(`event: ${name}\ndata: {}\n\n`);
        await world.timers.advance(60_000);
        assert.deepEqual([world.link.state, world.link.problem], ['closed', name]);
        assert.equal(world.machine.requests.length, 1);
        assert.deepEqual(world.heard.at(-1), [name, {}]);
    });
}

test('a phone that is unlocked does not wait for the next attempt', async () => {
    const world = setUp();
    world.link.start();
    await world.timers.settle();
    world.machine.last.reject(new TypeError());
    await world.timers.settle();
    world.link.wake();
    await world.timers.settle();
    assert.equal(world.machine.requests.length, 2);
    assert.equal(world.timers.pauses().length, 1, 'no attempt beside it');
});

test('an unlocked phone trusts its line only if it spoke lately', async () => {
    const world = setUp();
    await opened(world);
    await world.timers.advance(11_000);
    world.link.wake();
    assert.equal(world.machine.requests.length, 1);
    await world.timers.advance(1000);
    world.link.wake();
    await world.timers.settle();
    assert.equal(world.machine.requests.length, 2);
    assert.equal(world.machine.requests[0].isAborted, true);
});

test('another network makes another line', async () => {
    const world = setUp();
    await opened(world);
    world.link.wake({ isSurelyLost: true });
    await world.timers.settle();
    assert.equal(world.machine.requests.length, 2);
});

test('waking does not start what was stopped', async () => {
    const world = setUp();
    await opened(world);
    world.link.stop();
    world.link.wake({ isSurelyLost: true });
    await world.timers.advance(60_000);
    assert.equal(world.machine.requests.length, 1);
    assert.equal(world.link.state, 'closed');
});

test('what an older line still says is not heard', async () => {
    const world = setUp();
    await opened(world);
    const older = world.machine.last;
    older.signal.dispatchEvent = () => {};
    world.link.start();
    await world.timers.settle();
    const heard = world.heard.length;
    try {
        older.say('event: tally\ndata: {"viewer":1}\n\n');
    } catch {
        // Its body has ended: just as well.
    }
    await world.timers.settle();
    assert.equal(world.heard.length, heard);
});

test('a request is passed on, and so is its answer', async () => {
    const world = setUp();
    await opened(world);
    const answer = world.link.post('/api/state', { battery: 1 });
    assert.deepEqual([world.posts[0].path, world.posts[0].body], ['/api/state', { battery: 1 }]);
    world.posts[0].answer({ fine: true });
    assert.deepEqual(await answer, { fine: true });
    const refused = world.link.post('/api/renew', {});
    world.posts[1].fail(new Error('refused'));
    await assert.rejects(refused, /refused/);
});

test('a line that is silent for 2 s after an answer is dead, and made anew at once', async () => {
    const world = setUp();
    await opened(world);
    world.machine.last.say('id: 17\nevent: tally\ndata: {"viewer":1,"onAir":true}\n\n');
    await world.timers.advance(5000);
    world.link.post('/api/state', {});
    world.posts[0].answer({});
    await world.timers.advance(1999);
    assert.equal(world.machine.requests.length, 1);
    await world.timers.advance(1);
    assert.equal(world.machine.requests[0].isAborted, true);
    assert.equal(world.machine.requests.length, 2);
    assert.equal(world.machine.last.url, '/api/events?tab=tab-1&last=17', 'it goes on where the dead one was');
    assert.deepEqual([world.link.state, world.link.problem], ['connecting', null]);
    await world.timers.advance(9999);
    assert.equal(world.machine.requests.length, 2, 'one at a time');
});

for (const isEarly of [true, false]) {
    test(`a line that speaks ${isEarly ? 'before' : 'after'} the answer to a request lives`, async () => {
        const world = setUp();
        await opened(world);
        await world.timers.advance(5000);
        world.link.post('/api/state', {});
        if (isEarly) world.machine.last.say(':\n\n');
        await world.timers.advance(100);
        world.posts[0].answer({});
        await world.timers.advance(1000);
        if (!isEarly) world.machine.last.say(':\n\n');
        await world.timers.advance(23_000);
        assert.equal(world.machine.requests.length, 1);
        assert.equal(world.link.state, 'open');
    });
}

test('further requests give a silent line no more time', async () => {
    const world = setUp();
    await opened(world);
    for (const [index, pause] of [5000, 1000, 900].entries()) {
        await world.timers.advance(pause);
        world.link.post('/api/candidates', {});
        world.posts[index].answer({});
        await world.timers.settle();
    }
    await world.timers.advance(100);
    assert.equal(world.machine.requests.length, 2);
});

test('a line that is as silent as the machine is made anew', async () => {
    const world = setUp();
    await opened(world);
    await world.timers.advance(5000);
    const requests = [world.link.post('/api/state', {}), world.link.post('/api/renew', {})];
    await world.timers.advance(5000);
    for (const [index, request] of requests.entries()) {
        world.posts[index].fail(new Error('too late'));
        await assert.rejects(request, /too late/);
    }
    await world.timers.settle();
    assert.equal(world.machine.requests[0].isAborted, true);
    assert.equal(world.machine.requests.length, 2, 'once');
});

test('a line that speaks while a request is lost lives', async () => {
    const world = setUp();
    await opened(world);
    await world.timers.advance(5000);
    const request = world.link.post('/api/state', {});
    await world.timers.advance(100);
    world.machine.last.say(':\n\n');
    await world.timers.advance(4900);
    world.posts[0].fail(new Error('too late'));
    await assert.rejects(request);
    await world.timers.settle();
    assert.equal(world.machine.requests.length, 1);
});

test('a refusal is an answer', async () => {
    const world = setUp();
    await opened(world);
    await world.timers.advance(5000);
    const request = world.link.post('/api/renew', {});
    world.posts[0].fail(new Refusal(404, 'no-such-viewer', null));
    await assert.rejects(request);
    await world.timers.advance(10_000);
    assert.equal(world.machine.requests.length, 1);
});

test('a line that is only being made is given its time', async () => {
    const world = setUp();
    await opened(world);
    world.machine.last.close();
    await world.timers.advance(500);
    assert.equal(world.machine.requests.length, 2);
    world.link.post('/api/state', {});
    world.posts[0].answer({});
    await world.timers.advance(9000);
    assert.equal(world.machine.requests.length, 2);
    assert.equal(world.machine.last.isAborted, false);
});

test('the answer to a request of before a new line does not count against it', async () => {
    const world = setUp();
    await opened(world);
    await world.timers.advance(5000);
    world.link.post('/api/state', {});
    await opened(world);
    world.posts[0].answer({});
    await world.timers.advance(20_000);
    assert.equal(world.machine.requests.length, 2);
});
