import assert from 'node:assert/strict';
import { test } from 'node:test';

import {
    audioConstraints,
    frameRateChoices,
    hasTorch,
    isMirrored,
    kDefaultSettings,
    nearestChoice,
    otherFacing,
    readSettings,
    reopenDelayMs,
    sizeChoices,
    videoConstraints,
    withoutDevices,
    zoomRange,
} from '../../../apps/petrel/page/camera_request.js';

const names = (sizes) => sizes.map((size) => size.name);

test('sizes and rates are wishes, a chosen device is not', () => {
    assert.deepEqual(videoConstraints({ ...kDefaultSettings, facing: 'user', size: '720', frameRate: 50 }), {
        facingMode: { ideal: 'user' },
        width: { ideal: 1280 },
        height: { ideal: 720 },
        frameRate: { ideal: 50 },
    });
    const chosen = videoConstraints({ ...kDefaultSettings, camera: 'abc' });
    assert.deepEqual(chosen.deviceId, { exact: 'abc' });
    assert.equal('facingMode' in chosen, false);
});

test('sound is left as it is unless voices shall be cleaned up', () => {
    assert.deepEqual(audioConstraints(kDefaultSettings), {
        echoCancellation: false,
        noiseSuppression: false,
        autoGainControl: false,
    });
    const cleaned = audioConstraints({ ...kDefaultSettings, voiceProcessing: true, microphone: 'm' });
    assert.equal(cleaned.noiseSuppression, true);
    assert.deepEqual(cleaned.deviceId, { exact: 'm' });
});

test('stored settings that do not fit are as by default', () => {
    assert.deepEqual(readSettings(null), kDefaultSettings);
    assert.deepEqual(readSettings('[1'), kDefaultSettings);
    assert.deepEqual(readSettings('null'), kDefaultSettings);
    const odd = { facing: 'up', size: 1080, frameRate: 1e9, camera: {}, mirror: 'yes', more: 1 };
    assert.deepEqual(readSettings(JSON.stringify(odd)), kDefaultSettings);
});

test('stored settings that fit are kept', () => {
    const stored = { ...kDefaultSettings, facing: 'user', size: '2160', frameRate: 60, mirror: false };
    assert.deepEqual(readSettings(JSON.stringify(stored)), stored);
});

test('devices that are gone leave everything else', () => {
    const settings = withoutDevices({ ...kDefaultSettings, camera: 'a', microphone: 'b', size: '720' });
    assert.deepEqual(settings, { ...kDefaultSettings, size: '720' });
});

test('a camera leaves the sizes that it has, also when it is held upright', () => {
    assert.deepEqual(names(sizeChoices({ width: { max: 1920 }, height: { max: 1080 } })), ['720', '1080']);
    assert.deepEqual(names(sizeChoices({ width: { max: 1080 }, height: { max: 1920 } })), ['720', '1080']);
    assert.deepEqual(names(sizeChoices({ width: { max: 4032 }, height: { max: 3024 } })), ['720', '1080', '2160']);
});

test('a camera that says nothing, or is small, leaves a choice all the same', () => {
    assert.deepEqual(names(sizeChoices(null)), ['720', '1080', '2160']);
    assert.deepEqual(names(sizeChoices({ width: { max: 640 }, height: { max: 480 } })), ['720']);
    assert.deepEqual(frameRateChoices(null), [24, 25, 30, 50, 60]);
    assert.deepEqual(frameRateChoices({ frameRate: { max: 15 } }), [24]);
});

test('29.97 pictures per second are 30', () => {
    assert.deepEqual(frameRateChoices({ frameRate: { max: 29.97 } }), [24, 25, 30]);
    assert.deepEqual(frameRateChoices({ frameRate: { max: 60 } }), [24, 25, 30, 50, 60]);
});

test('zoom and torch are offered where there are any', () => {
    assert.equal(zoomRange(null), null);
    assert.equal(zoomRange({ zoom: { min: 1, max: 1, step: 1 } }), null);
    assert.deepEqual(zoomRange({ zoom: { min: 1, max: 5, step: 0.1 } }), { min: 1, max: 5, step: 0.1 });
    assert.deepEqual(zoomRange({ zoom: { min: 1, max: 5, step: 0 } }), { min: 1, max: 5, step: 0.04 });
    assert.equal(hasTorch({ torch: true }), true);
    assert.equal(hasTorch({ torch: false }), false);
    assert.equal(hasTorch(null), false);
});

test('only a camera that looks at the person is mirrored', () => {
    const front = { ...kDefaultSettings, facing: 'user' };
    assert.equal(isMirrored(front, { facingMode: 'user' }), true);
    assert.equal(isMirrored(front, { facingMode: 'environment' }), false);
    assert.equal(isMirrored(front, {}), true);
    assert.equal(isMirrored(kDefaultSettings, null), false);
    assert.equal(isMirrored({ ...front, mirror: false }, { facingMode: 'user' }), false);
    assert.equal(otherFacing(otherFacing('user')), 'user');
    assert.notEqual(otherFacing('user'), 'user');
});

test('a track that ended is opened again at once, one that is silenced gets a while', () => {
    const well = { ended: false, muted: false, visible: true, failures: 0 };
    assert.equal(reopenDelayMs(well), null);
    assert.equal(reopenDelayMs({ ...well, ended: true }), 0);
    assert.equal(reopenDelayMs({ ...well, muted: true }), 1500);
    assert.deepEqual(
        [1, 2, 3, 4, 90].map((failures) => reopenDelayMs({ ...well, ended: true, failures })),
        [500, 1000, 2000, 3000, 3000],
    );
});

test('nothing is opened behind a locked screen', () => {
    assert.equal(reopenDelayMs({ ended: true, muted: true, visible: false, failures: 0 }), null);
});

test('a choice that the camera does not offer is shown as the next smaller one', () => {
    assert.equal(nearestChoice(['24', '25', '30'], 30), '30');
    assert.equal(nearestChoice(['24', '25', '30'], 50), '30');
    assert.equal(nearestChoice(['720', '1080'], '2160'), '1080');
    assert.equal(nearestChoice(['25'], 24), '25');
});
