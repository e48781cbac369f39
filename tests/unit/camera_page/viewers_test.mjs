import assert from 'node:assert/strict';
import { test } from 'node:test';

import { Viewers } from '../../../apps/petrel/page/viewers.js';

class FakeLink {
    constructor(viewer) {
        this.viewer = viewer;
        this.name = '';
        this.session = null;
        this.connected = false;
        this.onAir = false;
        this.calls = [];
    }

    takeOffer(sdp) {
        this.calls.push(`offer ${sdp}`);
    }

    takeCandidate({ candidate }) {
        this.calls.push(`candidate ${candidate}`);
    }

    expectOffer() {
        this.calls.push('expect');
    }

    retryNow() {
        this.calls.push('retry');
        return this.isWaiting === true;
    }

    close() {
        this.connected = false;
        this.calls.push('close');
    }
}

function setUp() {
    const made = [];
    const viewers = new Viewers({
        makeLink: (viewer) => {
            made.push(new FakeLink(viewer));
            return made.at(-1);
        },
        onChange: () => {},
    });
    return { viewers, made };
}

const hello = (resumed, ...numbers) => ({
    resumed,
    viewers: numbers.map((viewer) => ({ viewer, name: `Host ${viewer}`, onAir: false })),
});

test('a host comes, offers, is on air, and goes', () => {
    const { viewers, made } = setUp();
    viewers.take('hello', hello(true));
    viewers.take('viewer', { viewer: 1, name: 'Halyard' });
    viewers.take('offer', { viewer: 1, sdp: 's' });
    viewers.take('candidate', { viewer: 1, candidate: 'c' });
    viewers.take('tally', { viewer: 1, onAir: true });
    assert.deepEqual(made[0].calls, ['offer s', 'candidate c']);
    assert.deepEqual([made[0].name, made[0].onAir], ['Halyard', true]);
    viewers.take('gone', { viewer: 1 });
    assert.deepEqual(viewers.list(), []);
    assert.equal(made[0].calls.at(-1), 'close');
});

test('two hosts do not get each other’s messages', () => {
    const { viewers, made } = setUp();
    for (const viewer of [1, 2]) viewers.take('offer', { viewer, sdp: `s${viewer}` });
    viewers.take('tally', { viewer: 2, onAir: true });
    assert.deepEqual(made.map((link) => [link.calls, link.onAir]), [[['offer s1'], false], [['offer s2'], true]]);
});

test('the line is back: who is still known stays, who is not goes', () => {
    const { viewers, made } = setUp();
    viewers.take('hello', hello(true));
    viewers.take('viewer', { viewer: 1, name: 'x' });
    viewers.take('viewer', { viewer: 2, name: 'y' });
    viewers.take('hello', hello(true, 2, 3));
    assert.deepEqual(viewers.list().map((link) => [link.viewer, link.name]), [[2, 'Host 2'], [3, 'Host 3']]);
    assert.deepEqual(made[0].calls, ['close']);
    assert.equal(made[1].calls.includes('close'), false);
    assert.equal(made[2].calls.includes('expect'), true);
});

test('the line is back: who waits for a new try gets it, who waits for an offer goes on waiting', () => {
    const { viewers, made } = setUp();
    viewers.take('hello', hello(true, 1, 2));
    made[0].isWaiting = true;
    for (const link of made) link.calls = [];
    viewers.take('hello', hello(true, 1, 2));
    assert.deepEqual(made.map((link) => link.calls), [['retry'], ['retry', 'expect']]);
});

test('the tally that changed meanwhile is in the hello', () => {
    const { viewers } = setUp();
    viewers.take('hello', { resumed: true, viewers: [{ viewer: 1, name: 'x', onAir: true }] });
    assert.equal(viewers.list()[0].onAir, true);
    viewers.take('hello', { resumed: true, viewers: [{ viewer: 1, name: 'x' }] });
    assert.equal(viewers.list()[0].onAir, false);
});

test('a line that is not resumed knows nobody, even under the same number', () => {
    const { viewers, made } = setUp();
    viewers.take('hello', hello(true, 1));
    viewers.take('hello', hello(false, 1));
    assert.equal(made.length, 2);
    assert.equal(made[0].calls.at(-1), 'close');
    assert.deepEqual(viewers.list(), [made[1]]);
});

test('candidates for nobody, and events that nobody knows, are dropped', () => {
    const { viewers, made } = setUp();
    viewers.take('candidate', { viewer: 9, candidate: 'c' });
    viewers.take('gone', { viewer: 9 });
    viewers.take('novelty', { viewer: 9 });
    assert.deepEqual(made, []);
});

// A host whose media flow, on air; then the machine's program is started anew.
function restarted() {
    const world = setUp();
    world.viewers.take('hello', hello(false));
    world.viewers.take('viewer', { viewer: 1, name: 'Halyard', session: 's' });
    world.viewers.take('offer', { viewer: 1, sdp: 'first' });
    world.viewers.take('tally', { viewer: 1, onAir: true });
    world.made[0].connected = true;
    world.viewers.take('hello', hello(false));
    return world;
}

const onAir = (viewers) => viewers.list().some((link) => link.onAir);

test('media flow on through a restart of the machine’s program', () => {
    const { viewers, made } = restarted();
    assert.equal(made[0].calls.includes('close'), false);
    assert.deepEqual([viewers.list().length, onAir(viewers)], [1, true]);
    viewers.take('viewer', { viewer: 1, name: 'Halyard', session: 's' });
    assert.deepEqual(viewers.names(), ['Halyard']);
    assert.equal(made[0].calls.includes('close'), false);
    viewers.take('offer', { viewer: 1, sdp: 'second' });
    assert.equal(made[0].calls.at(-1), 'close');
    assert.deepEqual(viewers.list(), [made[1]]);
});

test('a tally that did not change is not forgotten, since no host tells it again', () => {
    const { viewers, made } = restarted();
    viewers.take('viewer', { viewer: 1, name: 'Halyard', session: 's' });
    viewers.take('offer', { viewer: 1, sdp: 'second' });
    assert.equal(made[1].onAir, true);
    viewers.take('tally', { viewer: 1, onAir: false });
    assert.equal(onAir(viewers), false);
});

test('a tally that changed meanwhile counts at once', () => {
    const { viewers } = restarted();
    viewers.take('viewer', { viewer: 1, name: 'Halyard', session: 's' });
    viewers.take('tally', { viewer: 1, onAir: false });
    assert.equal(onAir(viewers), false);
});

test('another host does not inherit', () => {
    const { viewers, made } = restarted();
    viewers.take('viewer', { viewer: 1, name: 'Other', session: 't' });
    viewers.take('offer', { viewer: 1, sdp: 'x' });
    assert.equal(made[1].onAir, false);
    assert.equal(made[0].calls.includes('close'), false);
    assert.deepEqual(viewers.names().sort(), ['Halyard', 'Other']);
});

test('what no longer delivers is let go', () => {
    const { viewers, made } = restarted();
    made[0].connected = false;
    assert.deepEqual(viewers.list(), []);
    assert.equal(made[0].calls.at(-1), 'close');
});

test('a host that leaves takes its tally along', () => {
    const { viewers } = setUp();
    viewers.take('viewer', { viewer: 1, name: 'Halyard', session: 's' });
    viewers.take('tally', { viewer: 1, onAir: true });
    viewers.take('gone', { viewer: 1 });
    viewers.take('viewer', { viewer: 2, name: 'Halyard', session: 's' });
    assert.equal(onAir(viewers), false);
});

test('who rests keeps nothing', () => {
    const { viewers, made } = restarted();
    viewers.take('viewer', { viewer: 1, name: 'x', session: 't' });
    viewers.clear();
    assert.deepEqual(viewers.list(), []);
    assert.deepEqual(made.map((link) => link.calls.at(-1)), ['close', 'close']);
});
