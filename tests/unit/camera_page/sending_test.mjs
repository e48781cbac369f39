import assert from 'node:assert/strict';
import { test } from 'node:test';

import {
    bitrateCeiling,
    encoderLoad,
    preferredCodecs,
    sentVideo,
    shapeAudio,
    shapeVideo,
} from '../../../apps/petrel/page/sending.js';

const codec = (name, more = '') => ({ mimeType: `video/${name}`, sdpFmtpLine: more });

test('H.264 comes first, in its own order, and nothing is lost', () => {
    const all = [codec('VP8'), codec('rtx'), codec('VP9'), codec('H264', 'a'), codec('AV1'), codec('h264', 'b')];
    const ordered = preferredCodecs(all).map((one) => one.mimeType.replace('video/', '') + one.sdpFmtpLine);
    assert.deepEqual(ordered, ['H264a', 'h264b', 'VP8', 'VP9', 'rtx', 'AV1']);
});

test('the ceiling follows size and rate', () => {
    assert.equal(bitrateCeiling(1280, 720, 30), 3_600_000);
    assert.equal(bitrateCeiling(1920, 1080, 30), 8_100_000);
    assert.equal(bitrateCeiling(3840, 2160, 60), 25_000_000);
    assert.ok(bitrateCeiling(1920, 1080, 60) < 2 * bitrateCeiling(1920, 1080, 30));
    assert.ok(bitrateCeiling(1920, 1080, 60) > bitrateCeiling(1920, 1080, 50));
    assert.equal(bitrateCeiling(1080, 1920, 30), bitrateCeiling(1920, 1080, 30));
    assert.equal(bitrateCeiling(0, 0, 0), 1_000_000);
});

test('the size of the pictures is kept, whatever runs short', () => {
    const parameters = { encodings: [{ active: true }], transactionId: 't' };
    shapeVideo(parameters, { width: 1280, height: 720, frameRate: 30 });
    assert.deepEqual(parameters, {
        degradationPreference: 'maintain-resolution',
        encodings: [{ active: true, maxBitrate: 3_600_000, maxFramerate: 30 }],
        transactionId: 't',
    });
});

test('parameters without encodings get one', () => {
    assert.equal(shapeVideo({}, { width: 1280, height: 720, frameRate: 30 }).encodings.length, 1);
    assert.equal(shapeAudio({ encodings: [] }).encodings[0].maxBitrate, 128_000);
});

const statistics = (entries) => new Map(Object.entries(entries));

test('what is sent is read from the statistics of the pictures', () => {
    const found = sentVideo(
        statistics({
            c: { mimeType: 'video/H264' },
            a: { type: 'outbound-rtp', kind: 'audio', framesEncoded: 9 },
            v: {
                type: 'outbound-rtp',
                kind: 'video',
                framesEncoded: 30,
                codecId: 'c',
                totalEncodeTime: 0.3,
                timestamp: 1000,
                frameWidth: 1280,
                frameHeight: 720,
            },
        }),
    );
    assert.equal(found.codec, 'H264');
    assert.equal(found.width, 1280);
    assert.equal(found.framesPerSecond, null);
    assert.equal(sentVideo(statistics({ v: { type: 'outbound-rtp', kind: 'video', framesEncoded: 0 } })), null);
});

const sent = (timeMs, encodeSeconds) => ({ timeMs, encodeSeconds });

test('the load is the encoding time per second, of all hosts together', () => {
    const before = new Map([[1, sent(0, 1)], [2, sent(0, 5)]]);
    const after = new Map([[1, sent(5000, 2)], [2, sent(5000, 5.5)], [3, sent(5000, 9)]]);
    assert.equal(encoderLoad(before, after), 0.3);
});

test('a load that cannot be known is not invented', () => {
    assert.equal(encoderLoad(new Map(), new Map([[1, sent(5000, 2)]])), null);
    assert.equal(encoderLoad(new Map([[1, sent(0, null)]]), new Map([[1, sent(5000, null)]])), null);
    assert.equal(encoderLoad(new Map([[1, sent(0, 7)]]), new Map([[1, sent(5000, 2)]])), null, 'a new connection');
    assert.equal(encoderLoad(new Map([[1, sent(0, 1)]]), new Map([[1, sent(0, 1)]])), null);
});
