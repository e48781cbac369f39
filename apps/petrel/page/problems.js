// What went wrong, as the name of a sentence in the languages (`problem.<name>`).

// Of a failed getUserMedia. `permissions` may know who refused: {camera, microphone}.
export function cameraProblem(error, permissions = {}) {
    switch (error && error.name) {
        case 'NotAllowedError':
        case 'SecurityError':
        case 'PermissionDeniedError':
            return permissions.microphone === 'denied' && permissions.camera !== 'denied'
                ? 'microphone-denied'
                : 'camera-denied';
        case 'NotFoundError':
        case 'DevicesNotFoundError':
        case 'OverconstrainedError':
            return 'camera-missing';
        case 'NotReadableError':
        case 'TrackStartError':
        case 'AbortError':
            return 'camera-busy';
        default:
            return 'camera-failed';
    }
}

// May a picture without sound still come? A person who refused the camera is not asked twice.
export function isWorthTryingWithoutSound(problem) {
    return problem === 'microphone-denied' || problem === 'camera-missing' || problem === 'camera-busy';
}

const kRefusals = new Set([
    'not-paired', 'open-elsewhere', 'wrong-code', 'used-code', 'expired-code', 'slow-down', 'bad-name', 'wrong-origin',
]);

// Of a refusal by the machine: its HTTP status and the "error" of its answer, if there was one.
export function refusalProblem(status, error) {
    if (kRefusals.has(error)) return error;
    if (status === 401) return 'not-paired';
    if (status === 429) return 'slow-down';
    if (status === 503) return 'too-many';
    return 'machine-failed';
}

// What a browser must have before anything else is tried; null when nothing is missing.
export function browserProblem({ isSecure, hasCamera, hasPeers, hasStreams }) {
    if (!isSecure) return 'not-secure';
    if (!hasCamera || !hasPeers || !hasStreams) return 'browser-too-old';
    return null;
}

// What only a person can mend. Everything else passes: even an address that is not the machine's is so for a few
// seconds after the machine's own network came back.
export function endsTrying(problem) {
    return problem === 'not-paired' || problem === 'open-elsewhere';
}

// Of everything that is wrong at once, the one sentence that helps most, and what the person can do about it:
// {name, action, isRetrying}; null when all is well.
export function shownProblem({ browser, link, camera, warning, isOnline }) {
    if (browser) return { name: browser, action: null, isRetrying: false };
    if (link === 'open-elsewhere' || link === 'taken') return { name: link, action: 'take', isRetrying: false };
    if (camera) {
        const isMendedByItself = camera === 'camera-paused';
        return { name: camera, action: isMendedByItself ? null : 'retry', isRetrying: false };
    }
    if (link) return { name: isOnline ? link : 'offline', action: null, isRetrying: true };
    if (warning) return { name: warning, action: null, isRetrying: false };
    return null;
}
