import assert from 'node:assert/strict';
import { test } from 'node:test';

import {
    browserProblem,
    cameraProblem,
    endsTrying,
    isWorthTryingWithoutSound,
    refusalProblem,
    shownProblem,
} from '../../../apps/petrel/page/problems.js';

const kWell = { browser: null, link: null, camera: null, warning: null, isOnline: true };

test('what getUserMedia throws becomes a sentence', () => {
    const names = {
        NotAllowedError: 'camera-denied',
        SecurityError: 'camera-denied',
        NotFoundError: 'camera-missing',
        OverconstrainedError: 'camera-missing',
        NotReadableError: 'camera-busy',
        AbortError: 'camera-busy',
        TypeError: 'camera-failed',
    };
    for (const [name, problem] of Object.entries(names)) assert.equal(cameraProblem({ name }), problem, name);
    assert.equal(cameraProblem(undefined), 'camera-failed');
});

test('a refused microphone does not look like a refused camera', () => {
    const refused = { name: 'NotAllowedError' };
    assert.equal(cameraProblem(refused, { microphone: 'denied', camera: 'prompt' }), 'microphone-denied');
    assert.equal(cameraProblem(refused, { microphone: 'denied', camera: 'denied' }), 'camera-denied');
    assert.equal(cameraProblem(refused, { microphone: '', camera: '' }), 'camera-denied');
});

test('nobody who refused the camera is asked twice', () => {
    assert.equal(isWorthTryingWithoutSound('camera-denied'), false);
    assert.equal(isWorthTryingWithoutSound('microphone-denied'), true);
    assert.equal(isWorthTryingWithoutSound('camera-missing'), true);
});

test('refusals of the machine keep their own names', () => {
    assert.equal(refusalProblem(403, 'used-code'), 'used-code');
    assert.equal(refusalProblem(409, 'open-elsewhere'), 'open-elsewhere');
    assert.equal(refusalProblem(401, ''), 'not-paired');
    assert.equal(refusalProblem(429, ''), 'slow-down');
    assert.equal(refusalProblem(503, 'whatever'), 'too-many');
    assert.equal(refusalProblem(500, 'constructor'), 'machine-failed');
});

test('only what a new attempt cannot mend ends the trying', () => {
    for (const problem of ['not-paired', 'open-elsewhere']) assert.equal(endsTrying(problem), true);
    for (const problem of ['slow-down', 'too-many', 'machine-failed', 'wrong-origin']) assert.equal(endsTrying(problem), false);
});

test('a browser that lacks something says so', () => {
    const all = { isSecure: true, hasCamera: true, hasPeers: true, hasStreams: true };
    assert.equal(browserProblem(all), null);
    assert.equal(browserProblem({ ...all, isSecure: false, hasCamera: false }), 'not-secure');
    for (const missing of ['hasCamera', 'hasPeers', 'hasStreams']) {
        assert.equal(browserProblem({ ...all, [missing]: false }), 'browser-too-old');
    }
});

test('of several problems the one that helps most is shown', () => {
    assert.equal(shownProblem(kWell), null);
    assert.equal(shownProblem({ ...kWell, link: 'taken', camera: 'camera-busy' }).name, 'taken');
    assert.equal(shownProblem({ ...kWell, link: 'unreachable', camera: 'camera-denied' }).name, 'camera-denied');
    assert.equal(shownProblem({ ...kWell, link: 'unreachable', warning: 'microphone-denied' }).name, 'unreachable');
    assert.equal(shownProblem({ ...kWell, warning: 'microphone-denied' }).name, 'microphone-denied');
});

test('each problem says what the person can do, or that nothing need be done', () => {
    assert.deepEqual(shownProblem({ ...kWell, link: 'open-elsewhere' }), {
        name: 'open-elsewhere',
        action: 'take',
        isRetrying: false,
    });
    assert.equal(shownProblem({ ...kWell, camera: 'camera-denied' }).action, 'retry');
    assert.equal(shownProblem({ ...kWell, camera: 'camera-paused' }).action, null);
    assert.equal(shownProblem({ ...kWell, link: 'unreachable' }).isRetrying, true);
});

test('a phone without a network is told so, not that the machine is away', () => {
    assert.equal(shownProblem({ ...kWell, link: 'unreachable', isOnline: false }).name, 'offline');
});
