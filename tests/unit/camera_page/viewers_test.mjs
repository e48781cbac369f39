import assert from 'node:assert/strict';
import { test } from 'node:test';

import { Viewers } from '../../../apps/petrel/page/viewers.js';

class FakeLink {
    constructor(viewer, name) {
        this.viewer = viewer;
        this.name = name;
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
    }

    close() {
        this.calls.push('close');
    }
}

function setUp() {
    const made = [];
    const viewers = new Viewers({
        makeLink: (viewer, name) => {
            made.push(new FakeLink(viewer, name));
            return made.at(-1);
        },
        onChange: () => {},
    });
    return { viewers, made };
}

const hello = (instance, ...numbers) => ({
    instance,
    viewers: numbers.map((viewer) => ({ viewer, name: `Host ${viewer}`, onAir: false })),
});

test('a host comes, offers, is on air, and goes', () => {
    const { viewers, made } = setUp();
    viewers.take('hello', hello('a'));
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
    viewers.take('hello', hello('a'));
    viewers.take('viewer', { viewer: 1, name: 'x' });
    viewers.take('viewer', { viewer: 2, name: 'y' });
    viewers.take('hello', hello('a', 2, 3));
    assert.deepEqual(viewers.list().map((link) => [link.viewer, link.name]), [[2, 'Host 2'], [3, 'Host 3']]);
    assert.deepEqual(made[0].calls, ['close']);
    assert.equal(made[1].calls.includes('close'), false);
    assert.equal(made[2].calls.includes('expect'), true);
});

test('the tally that changed meanwhile is in the hello', () => {
    const { viewers } = setUp();
    viewers.take('hello', { instance: 'a', viewers: [{ viewer: 1, name: 'x', onAir: true }] });
    assert.equal(viewers.list()[0].onAir, true);
    viewers.take('hello', { instance: 'a', viewers: [{ viewer: 1, name: 'x' }] });
    assert.equal(viewers.list()[0].onAir, false);
});

test('another start of the machine’s program knows nobody, even under the same number', () => {
    const { viewers, made } = setUp();
    viewers.take('hello', hello('a', 1));
    viewers.take('hello', hello('b', 1));
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
