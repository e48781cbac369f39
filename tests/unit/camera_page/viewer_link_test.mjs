import assert from 'node:assert/strict';
import { test } from 'node:test';

import { ViewerLink } from '../../../apps/petrel/page/viewer_link.js';
import { VirtualTimers } from './virtual_timers.mjs';

class FakeSender {
    constructor() {
        this.track = null;
        this.parameters = { encodings: [{}] };
    }

    async replaceTrack(track) {
        this.track = track;
    }

    getParameters() {
        return structuredClone(this.parameters);
    }

    async setParameters(parameters) {
        this.parameters = parameters;
    }
}

class FakePeer {
    constructor(calls) {
        this.calls = calls;
        this.transceivers = [];
        this.added = [];
        this.isClosed = false;
        this.connectionState = 'new';
    }

    async setRemoteDescription({ sdp }) {
        if (sdp === 'broken') throw new Error('broken');
        this.remote = sdp;
        this.transceivers = sdp.split(' ').map((kind) => ({
            receiver: { track: { kind } },
            sender: new FakeSender(),
            direction: 'recvonly',
            setCodecPreferences(codecs) {
                this.codecs = codecs;
            },
        }));
    }

    getTransceivers() {
        return this.transceivers;
    }

    getSenders() {
        return this.transceivers.map((one) => one.sender);
    }

    async createAnswer() {
        return { type: 'answer', sdp: `answer to ${this.remote}` };
    }

    async setLocalDescription(description) {
        this.localDescription = description;
        this.onicecandidate?.({ candidate: { candidate: 'mine', sdpMid: 'video0', sdpMLineIndex: 0 } });
    }

    async addIceCandidate(candidate) {
        this.added.push(candidate.candidate);
    }

    become(state) {
        this.connectionState = state;
        this.onconnectionstatechange?.();
    }

    close() {
        this.isClosed = true;
    }
}

function setUp({ tracks = { video: { kind: 'video' }, audio: { kind: 'audio' } }, isReady = true } = {}) {
    const world = { timers: new VirtualTimers(), posts: [], peers: [], tracks, answer: async () => ({}) };
    let tellReady = null;
    const ready = isReady ? Promise.resolve() : new Promise((resolve) => (tellReady = resolve));
    world.tellReady = () => tellReady();
    world.link = new ViewerLink({
        viewer: 7,
        api: {
            post: (path, body) => {
                world.posts.push([path, body]);
                return world.answer(path, body);
            },
        },
        timers: world.timers,
        media: {
            ready: () => ready,
            track: (kind) => world.tracks[kind],
            shape: () => ({ width: 1280, height: 720, frameRate: 30 }),
        },
        makePeer: () => {
            world.peers.push(new FakePeer());
            return world.peers.at(-1);
        },
        codecs: () => [{ mimeType: 'video/VP8' }, { mimeType: 'video/H264' }],
        onChange: () => {},
    });
    world.paths = () => world.posts.map(([path]) => path);
    return world;
}

test('an offer is answered with the tracks that it asks for', async () => {
    const world = setUp();
    await world.link.takeOffer('video audio', 3);
    await world.timers.settle();
    const [video, audio] = world.peers[0].transceivers;
    assert.deepEqual([video.sender.track, audio.sender.track], [world.tracks.video, world.tracks.audio]);
    assert.deepEqual([video.direction, audio.direction], ['sendonly', 'sendonly']);
    assert.deepEqual(video.codecs.map((codec) => codec.mimeType), ['video/H264', 'video/VP8']);
    assert.equal(video.sender.parameters.degradationPreference, 'maintain-resolution');
    assert.deepEqual(world.posts, [
        ['/api/answer', { viewer: 7, offer: 3, sdp: 'answer to video audio' }],
        ['/api/candidates', { viewer: 7, offer: 3, candidates: [{ candidate: 'mine', sdpMid: 'video0', sdpMLineIndex: 0 }] }],
    ]);
});

test('nothing is answered before there is a picture', async () => {
    const world = setUp({ isReady: false });
    world.link.takeOffer('video audio');
    await world.timers.advance(60_000);
    assert.deepEqual(world.posts, []);
    world.tellReady();
    await world.timers.settle();
    assert.deepEqual(world.paths(), ['/api/answer', '/api/candidates']);
});

test('candidates of the host wait for the description of their offer', async () => {
    const world = setUp();
    const offered = world.link.takeOffer('video', 2);
    world.link.takeCandidate({ candidate: 'a', sdpMid: '0', sdpMLineIndex: 0, offer: 2 });
    await offered;
    world.link.takeCandidate({ candidate: 'b', sdpMid: '0', sdpMLineIndex: 0, offer: 2 });
    world.link.takeCandidate({ candidate: 'old', sdpMid: '0', sdpMLineIndex: 0, offer: 1 });
    await world.timers.settle();
    assert.deepEqual(world.peers[0].added, ['a', 'b']);
});

test('a new offer makes a new connection, and the older one never answers', async () => {
    const world = setUp({ isReady: false });
    world.link.takeOffer('video');
    await world.timers.settle();
    world.link.takeOffer('video audio');
    await world.timers.settle();
    world.tellReady();
    await world.timers.settle();
    assert.equal(world.peers[0].isClosed, true);
    assert.deepEqual(world.posts.filter(([path]) => path === '/api/answer').map(([, body]) => body.sdp), [
        'answer to video audio',
    ]);
});

test('a microphone that is not there is refused, so that nobody waits for its sound', async () => {
    const world = setUp({ tracks: { video: { kind: 'video' }, audio: null } });
    await world.link.takeOffer('video audio');
    assert.equal(world.peers[0].transceivers[1].direction, 'inactive');
});

test('a microphone that comes later asks for another offer', async () => {
    const world = setUp({ tracks: { video: { kind: 'video' }, audio: null } });
    await world.link.takeOffer('video audio');
    await world.link.replaceTrack('audio', { kind: 'audio' });
    await world.timers.advance(0);
    assert.equal(world.paths().at(-1), '/api/renew');
});

test('another camera takes the place of the first without a word to the host', async () => {
    const world = setUp();
    await world.link.takeOffer('video audio');
    await world.timers.settle();
    const posts = world.posts.length;
    const other = { kind: 'video' };
    await world.link.replaceTrack('video', other);
    await world.timers.advance(10_000);
    assert.equal(world.peers[0].transceivers[0].sender.track, other);
    assert.equal(world.posts.length, posts);
});

test('a failed connection asks for a new offer, and again, less and less often', async () => {
    const world = setUp();
    await world.link.takeOffer('video');
    world.peers[0].become('connected');
    assert.equal(world.link.connected, true);
    world.peers[0].become('failed');
    assert.equal(world.link.connected, false);
    const renewals = () => world.paths().filter((path) => path === '/api/renew').length;
    await world.timers.advance(0);
    assert.equal(renewals(), 1);
    await world.timers.advance(2000);
    assert.equal(renewals(), 2);
    await world.timers.advance(3999);
    assert.equal(renewals(), 2);
    await world.timers.advance(1);
    assert.equal(renewals(), 3);
});

test('the offer that was asked for ends the asking', async () => {
    const world = setUp();
    await world.link.takeOffer('video');
    world.peers[0].become('failed');
    await world.timers.advance(0);
    await world.link.takeOffer('video');
    const posts = world.posts.length;
    await world.timers.advance(120_000);
    assert.equal(world.paths().slice(posts).includes('/api/renew'), false);
});

test('a connection that falters and recovers is left alone', async () => {
    const world = setUp();
    await world.link.takeOffer('video');
    world.peers[0].become('disconnected');
    await world.timers.advance(2900);
    world.peers[0].become('connected');
    await world.timers.advance(60_000);
    assert.equal(world.paths().includes('/api/renew'), false);
});

test('an answer that does not arrive is as good as a failed connection', async () => {
    const world = setUp();
    world.answer = async (path) => {
        if (path === '/api/answer') throw new Error('lost');
        return {};
    };
    await world.link.takeOffer('video');
    await world.timers.advance(0);
    assert.deepEqual(world.paths(), ['/api/answer', '/api/renew']);
});

test('after an answer to an older offer the next one is waited for, and asked for when it does not come', async () => {
    const world = setUp();
    world.answer = async () => {
        throw Object.assign(new Error('409'), { code: 'older-offer' });
    };
    await world.link.takeOffer('video', 1);
    await world.timers.advance(1999);
    assert.deepEqual(world.paths(), ['/api/answer']);
    await world.timers.advance(1);
    assert.deepEqual(world.paths(), ['/api/answer', '/api/renew']);
});

test('an offer that cannot be read asks for another', async () => {
    const world = setUp();
    await world.link.takeOffer('broken');
    await world.timers.advance(0);
    assert.deepEqual(world.paths(), ['/api/renew']);
});

test('a page that was loaded anew asks for an offer, unless one is on its way', async () => {
    const asking = setUp();
    asking.link.expectOffer();
    await asking.timers.advance(2000);
    assert.deepEqual(asking.paths(), ['/api/renew']);

    const served = setUp();
    served.link.expectOffer();
    await served.timers.advance(1999);
    await served.link.takeOffer('video');
    await served.timers.advance(60_000);
    assert.equal(served.paths().includes('/api/renew'), false);
});

test('the line that is back need not wait for the next asking', async () => {
    const world = setUp();
    await world.link.takeOffer('video');
    world.answer = async () => {
        throw new Error('unreachable');
    };
    world.peers[0].become('failed');
    await world.timers.advance(14_000);
    const posts = world.posts.length;
    world.link.retryNow();
    await world.timers.advance(0);
    assert.equal(world.posts.length, posts + 1);
});

test('a closed link does nothing any more', async () => {
    const world = setUp();
    await world.link.takeOffer('video');
    await world.timers.settle();
    const peer = world.peers[0];
    world.link.close();
    const posts = world.posts.length;
    peer.become('failed');
    await world.timers.advance(120_000);
    assert.equal(world.posts.length, posts);
    assert.equal(peer.isClosed, true);
});

test('a browser that promises nothing still sends', async () => {
    const world = setUp();
    const offered = world.link.takeOffer('video');
    await Promise.resolve();
    for (const transceiver of world.peers[0].transceivers) {
        transceiver.setCodecPreferences = () => {
            throw new Error('no');
        };
        transceiver.sender.setParameters = async () => {
            throw new Error('no');
        };
    }
    await offered;
    await world.timers.settle();
    assert.deepEqual(world.paths(), ['/api/answer', '/api/candidates']);
});
