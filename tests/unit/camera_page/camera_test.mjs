import assert from 'node:assert/strict';
import { test } from 'node:test';

import { Camera } from '../../../apps/petrel/page/camera.js';
import { kDefaultSettings } from '../../../apps/petrel/page/camera_request.js';
import { VirtualTimers } from './virtual_timers.mjs';

class FakeTrack {
    constructor(kind) {
        this.kind = kind;
        this.readyState = 'live';
        this.muted = false;
        this.enabled = true;
        this.applied = [];
    }

    stop() {
        this.readyState = 'ended';
    }

    end() {
        this.readyState = 'ended';
        this.onended?.();
    }

    mute(isMuted) {
        this.muted = isMuted;
        if (isMuted) this.onmute?.();
        else this.onunmute?.();
    }

    async applyConstraints(constraints) {
        if (this.isStubborn) throw new Error('overconstrained');
        this.applied.push(constraints);
    }
}

const failure = (name) => Object.assign(new Error(name), { name });

function setUp() {
    const world = { timers: new VirtualTimers(), asked: [], told: [], visible: true, permissions: {} };
    world.fail = () => null; // an error for these constraints, or null
    world.camera = new Camera({
        devices: {
            getUserMedia: async (constraints) => {
                world.asked.push(constraints);
                const error = world.fail(constraints);
                if (error) throw error;
                const tracks = Object.keys(constraints).map((kind) => new FakeTrack(kind));
                return {
                    getTracks: () => tracks,
                    getVideoTracks: () => tracks.filter((track) => track.kind === 'video'),
                    getAudioTracks: () => tracks.filter((track) => track.kind === 'audio'),
                };
            },
        },
        permission: async (name) => world.permissions[name] ?? '',
        timers: world.timers,
        isVisible: () => world.visible,
        onTrack: (kind, track) => world.told.push([kind, track]),
        onChange: () => {},
    });
    world.kinds = () => world.asked.map((constraints) => Object.keys(constraints).join('+'));
    return world;
}

async function started(settings = kDefaultSettings) {
    const world = setUp();
    await world.camera.start(settings);
    return world;
}

test('one question to the person is enough for picture and sound', async () => {
    const world = await started();
    assert.deepEqual(world.kinds(), ['video+audio']);
    assert.deepEqual(world.told.map(([kind]) => kind).sort(), ['audio', 'video']);
    assert.equal(world.camera.track('video').contentHint, 'motion');
    await world.camera.start(kDefaultSettings);
    assert.equal(world.asked.length, 1, 'started twice');
});

test('being ready means that there is a picture', async () => {
    const world = setUp();
    let isReady = false;
    world.camera.ready().then(() => {
        isReady = true;
    });
    world.fail = () => failure('NotAllowedError');
    await world.camera.start(kDefaultSettings);
    await world.timers.settle();
    assert.equal(isReady, false);
    world.fail = () => null;
    await world.camera.retry();
    await world.timers.settle();
    assert.equal(isReady, true);
    assert.equal(world.camera.problem, null);
});

test('who refused is asked again only when they want to be', async () => {
    const world = setUp();
    world.fail = () => failure('NotAllowedError');
    await world.camera.start(kDefaultSettings);
    await world.timers.advance(600_000);
    world.camera.wake();
    await world.timers.advance(600_000);
    assert.deepEqual(world.kinds(), ['video+audio']);
    assert.equal(world.camera.problem, 'camera-denied');
});

test('without a microphone there is a picture all the same', async () => {
    const world = setUp();
    world.fail = (constraints) => (constraints.audio ? failure('NotFoundError') : null);
    await world.camera.start(kDefaultSettings);
    assert.equal(world.camera.problem, null);
    assert.equal(world.camera.warning, 'microphone-missing');
    assert.notEqual(world.camera.track('video'), null);
});

test('a microphone that is plugged in later is found', async () => {
    const world = setUp();
    world.fail = (constraints) => (constraints.audio ? failure('NotFoundError') : null);
    await world.camera.start(kDefaultSettings);
    await world.timers.advance(60_000);
    assert.equal(world.camera.track('audio'), null);
    world.fail = () => null;
    world.camera.wake();
    await world.timers.advance(500);
    assert.notEqual(world.camera.track('audio'), null);
    assert.equal(world.camera.warning, null);
});

test('a refused microphone is told apart', async () => {
    const world = setUp();
    world.permissions = { microphone: 'denied', camera: 'granted' };
    world.fail = (constraints) => (constraints.audio ? failure('NotAllowedError') : null);
    await world.camera.start(kDefaultSettings);
    assert.deepEqual([world.camera.problem, world.camera.warning], [null, 'microphone-denied']);
});

test('a camera that another app has is taken as soon as it is free', async () => {
    const world = setUp();
    world.fail = () => failure('NotReadableError');
    await world.camera.start(kDefaultSettings);
    await world.timers.settle();
    assert.equal(world.camera.problem, 'camera-busy');
    await world.timers.advance(20_000);
    assert.equal(world.camera.problem, 'camera-busy');
    world.fail = () => null;
    await world.timers.advance(3000);
    assert.deepEqual([world.camera.problem, world.camera.warning], [null, null]);
    assert.equal(world.camera.track('video').readyState, 'live');
    assert.equal(world.camera.track('audio').readyState, 'live');
});

test('a camera that ended is opened again at once, the microphone is not touched', async () => {
    const world = await started();
    const [video, audio] = [world.camera.track('video'), world.camera.track('audio')];
    video.end();
    await world.timers.advance(0);
    assert.deepEqual(world.kinds(), ['video+audio', 'video']);
    assert.notEqual(world.camera.track('video'), video);
    assert.equal(world.camera.track('audio'), audio);
    assert.equal(world.told.at(-1)[1], world.camera.track('video'));
});

test('behind a locked screen it waits until it is seen', async () => {
    const world = await started();
    world.visible = false;
    world.camera.track('video').end();
    await world.timers.advance(600_000);
    assert.equal(world.asked.length, 1);
    assert.equal(world.camera.problem, 'camera-paused');
    world.visible = true;
    world.camera.wake();
    await world.timers.advance(0);
    assert.equal(world.asked.length, 2);
    assert.equal(world.camera.problem, null);
});

test('a camera that the phone silences for a moment is left alone', async () => {
    const world = await started();
    const video = world.camera.track('video');
    video.mute(true);
    assert.equal(world.camera.problem, 'camera-paused');
    await world.timers.advance(1400);
    video.mute(false);
    assert.equal(world.camera.problem, null);
    await world.timers.advance(60_000);
    assert.equal(world.asked.length, 1);
});

test('one that stays silent is opened again', async () => {
    const world = await started();
    world.camera.track('video').mute(true);
    await world.timers.advance(1500);
    assert.deepEqual(world.kinds(), ['video+audio', 'video']);
    assert.equal(world.camera.problem, null);
});

test('a new size is asked of the running camera', async () => {
    const world = await started();
    const video = world.camera.track('video');
    await world.camera.change({ ...kDefaultSettings, size: '720', frameRate: 25 });
    assert.equal(world.camera.track('video'), video);
    assert.deepEqual(video.applied, [
        { width: { ideal: 1280 }, height: { ideal: 720 }, frameRate: { ideal: 25 } },
    ]);
});

test('a camera that cannot change while it runs is opened again', async () => {
    const world = await started();
    world.camera.track('video').isStubborn = true;
    await world.camera.change({ ...kDefaultSettings, size: '720' });
    assert.deepEqual(world.asked.at(-1).video.height, { ideal: 720 });
});

test('the other camera is opened after the first was let go', async () => {
    const world = await started();
    const video = world.camera.track('video');
    world.fail = () => (video.readyState === 'live' ? failure('NotReadableError') : null);
    await world.camera.change({ ...kDefaultSettings, facing: 'user' });
    assert.equal(world.camera.problem, null);
    assert.deepEqual(world.asked.at(-1).video.facingMode, { ideal: 'user' });
});

test('a device that is gone is replaced by any', async () => {
    const world = await started();
    world.fail = ({ video }) => (video.deviceId ? failure('OverconstrainedError') : null);
    await world.camera.change({ ...kDefaultSettings, camera: 'gone' });
    assert.equal(world.camera.problem, null);
    assert.equal('deviceId' in world.asked.at(-1).video, false);
});

test('the light does not change the size of the pictures', async () => {
    const world = await started();
    await world.camera.setExtra({ torch: true });
    await world.camera.setExtra({ zoom: 2 });
    const last = world.camera.track('video').applied.at(-1);
    assert.deepEqual(last.advanced, [{ torch: true, zoom: 2 }]);
    assert.deepEqual(last.height, { ideal: 1080 });
});

test('another camera begins without light and zoom', async () => {
    const world = await started();
    await world.camera.setExtra({ torch: true });
    await world.camera.change({ ...kDefaultSettings, facing: 'user' });
    assert.deepEqual(world.camera.extras, {});
});

test('who is muted stays muted, with every new track', async () => {
    const world = await started();
    world.camera.setMuted('video', true);
    assert.equal(world.camera.track('video').enabled, false);
    world.camera.track('video').end();
    await world.timers.advance(0);
    assert.equal(world.camera.track('video').enabled, false);
    world.camera.setMuted('video', false);
    assert.equal(world.camera.track('video').enabled, true);
    assert.equal(world.camera.track('audio').enabled, true);
});

test('a camera that was given up is let go, even if it comes late', async () => {
    const world = setUp();
    const opening = world.camera.start(kDefaultSettings);
    world.camera.stop();
    await opening;
    await world.timers.advance(60_000);
    assert.equal(world.camera.track('video'), null);
    assert.deepEqual(world.told, []);
});

test('after it was given up it can be started again', async () => {
    const world = await started();
    const first = world.camera.track('video');
    world.camera.stop();
    assert.equal(first.readyState, 'ended');
    await world.timers.advance(60_000);
    assert.equal(world.asked.length, 1);
    let isReady = false;
    world.camera.ready().then(() => {
        isReady = true;
    });
    await world.timers.settle();
    assert.equal(isReady, false);
    await world.camera.start(kDefaultSettings);
    await world.timers.settle();
    assert.equal(isReady, true);
});

test('a microphone that is unplugged does not stop the picture', async () => {
    const world = await started();
    const video = world.camera.track('video');
    world.fail = (constraints) => (constraints.audio ? failure('NotFoundError') : null);
    world.camera.track('audio').end();
    await world.timers.advance(10_000);
    assert.equal(world.camera.track('video'), video);
    assert.equal(video.readyState, 'live');
    assert.deepEqual([world.camera.problem, world.camera.warning], [null, 'microphone-missing']);
    world.fail = () => null;
    await world.timers.advance(3000);
    assert.equal(world.camera.warning, null);
});
