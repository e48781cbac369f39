import assert from 'node:assert/strict';
import { test } from 'node:test';

import { EventStreamReader } from '../../../apps/petrel/page/event_stream.js';

function read(pieces) {
    const events = [];
    const reader = new EventStreamReader((name, data) => events.push([name, data]));
    for (const piece of pieces) reader.feed(piece);
    return events;
}

test('an event has a name and data', () => {
    assert.deepEqual(read(['event: tally\ndata: {"viewer":1}\n\n']), [['tally', '{"viewer":1}']]);
});

test('every cut of the text gives the same events', () => {
    const text = '\uFEFF: hello\r\nevent: offer\r\ndata: a\r\ndata:  b\r\n\r\nretry: 1000\ndata:c\r\rdata\n\n';
    const whole = read([text]);
    assert.deepEqual(whole, [
        ['offer', 'a\n b'],
        ['message', 'c'],
        ['message', ''],
    ]);
    for (let first = 0; first <= text.length; first += 1) {
        for (let second = first; second <= text.length; second += 1) {
            assert.deepEqual(read([text.slice(0, first), text.slice(first, second), text.slice(second)]), whole);
        }
    }
});

test('the last identifier is that of the last event that was complete', () => {
    const reader = new EventStreamReader(() => {});
    reader.feed('id: 5\ndata: a\n\n');
    assert.equal(reader.lastId, '5');
    reader.feed('data: b\n\n');
    assert.equal(reader.lastId, '5');
    reader.feed('id: 6\ndata: c\n');
    assert.equal(reader.lastId, '5');
    reader.feed('\n');
    assert.equal(reader.lastId, '6');
});

test('comments and events without data say nothing', () => {
    assert.deepEqual(read([': \n\n', 'event: viewer\n\n', ':\n']), []);
});

test('an event that never ends is given up', () => {
    assert.throws(() => read(['data: ', 'x'.repeat(3 * 1024 * 1024)]));
    const endless = Array.from({ length: 300 }, () => `data: ${'x'.repeat(10_000)}\n`);
    assert.throws(() => read(endless));
});

test('many events of a full size are read', () => {
    const piece = `data: ${'x'.repeat(1024 * 1024)}\n\n`;
    assert.equal(read([piece, piece, piece, piece]).length, 4);
});
