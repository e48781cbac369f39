import assert from 'node:assert/strict';
import { test } from 'node:test';

import { CandidateOutbox, CandidateQueue, candidateMessage } from '../../../apps/petrel/page/candidates.js';
import { VirtualTimers } from './virtual_timers.mjs';

const settle = () => new VirtualTimers().settle();

test('what comes before the description waits for it, in order', () => {
    const queue = new CandidateQueue();
    const added = [];
    queue.push('a');
    queue.push('b');
    queue.open((candidate) => added.push(candidate));
    queue.push('c');
    assert.deepEqual(added, ['a', 'b', 'c']);
});

test('no candidate is sent before the answer was taken', async () => {
    const sent = [];
    const outbox = new CandidateOutbox(async (batch) => sent.push(batch));
    outbox.push(1);
    outbox.push(2);
    await settle();
    assert.deepEqual(sent, []);
    outbox.open();
    await settle();
    assert.deepEqual(sent, [[1, 2]]);
});

test('one request at a time, and what comes meanwhile travels together', async () => {
    const sent = [];
    const answers = [];
    const outbox = new CandidateOutbox((batch) => {
        sent.push(batch);
        return new Promise((resolve) => answers.push(resolve));
    });
    outbox.open();
    outbox.push(1);
    await settle();
    outbox.push(2);
    outbox.push(3);
    await settle();
    assert.deepEqual(sent, [[1]]);
    answers[0]();
    await settle();
    assert.deepEqual(sent, [[1], [2, 3]]);
});

test('a request that fails does not stop the next', async () => {
    const sent = [];
    const outbox = new CandidateOutbox(async (batch) => {
        sent.push(batch);
        throw new Error('lost');
    });
    outbox.open();
    outbox.push(1);
    await settle();
    outbox.push(2);
    await settle();
    assert.deepEqual(sent, [[1], [2]]);
});

test('the end of the candidates is an empty one', () => {
    assert.deepEqual(candidateMessage(null), { candidate: '', sdpMid: '', sdpMLineIndex: 0 });
    assert.deepEqual(candidateMessage({ candidate: 'candidate:1', sdpMid: 'video0', sdpMLineIndex: 1, more: 2 }), {
        candidate: 'candidate:1',
        sdpMid: 'video0',
        sdpMLineIndex: 1,
    });
    assert.deepEqual(candidateMessage({ candidate: 'x', sdpMid: null, sdpMLineIndex: null }), {
        candidate: 'x',
        sdpMid: '',
        sdpMLineIndex: 0,
    });
});
