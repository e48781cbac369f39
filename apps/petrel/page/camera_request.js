// What is asked of the camera and the microphone, and which choices a camera leaves.

export const kSizes = [
    { name: '720', width: 1280, height: 720 },
    { name: '1080', width: 1920, height: 1080 },
    { name: '2160', width: 3840, height: 2160 },
];
export const kFrameRates = [24, 25, 30, 50, 60];

export const kDefaultSettings = Object.freeze({
    facing: 'environment', // or "user"
    camera: '', // a device; empty leaves it to `facing`
    size: '1080',
    frameRate: 30,
    microphone: '',
    voiceProcessing: false,
    mirror: true,
});

function isOneOf(list) {
    return (value) => list.includes(value);
}

const kChecks = {
    facing: isOneOf(['environment', 'user']),
    camera: (value) => typeof value === 'string',
    size: isOneOf(kSizes.map((size) => size.name)),
    frameRate: isOneOf(kFrameRates),
    microphone: (value) => typeof value === 'string',
    voiceProcessing: (value) => typeof value === 'boolean',
    mirror: (value) => typeof value === 'boolean',
};

// Stored settings may be old, or no settings at all: what does not fit is as it is by default.
export function readSettings(text) {
    let stored = null;
    try {
        stored = JSON.parse(text);
    } catch {
        stored = null;
    }
    const settings = { ...kDefaultSettings };
    if (typeof stored !== 'object' || stored === null) return settings;
    for (const [name, fits] of Object.entries(kChecks)) {
        if (fits(stored[name])) settings[name] = stored[name];
    }
    return settings;
}

function sizeOf(settings) {
    return kSizes.find((size) => size.name === settings.size) || kSizes[1];
}

// Everything but the device is a wish: a camera that cannot fulfil it gives what is nearest. Phones take width
// and height as for a camera held sideways, and turn the picture themselves.
export function videoConstraints(settings) {
    const size = sizeOf(settings);
    const device = settings.camera
        ? { deviceId: { exact: settings.camera } }
        : { facingMode: { ideal: settings.facing } };
    return {
        ...device,
        width: { ideal: size.width },
        height: { ideal: size.height },
        frameRate: { ideal: settings.frameRate },
    };
}

// A source of a programme is mixed by somebody: what a telephone does to voices is left out unless wanted.
export function audioConstraints(settings) {
    const processing = settings.voiceProcessing;
    return {
        ...(settings.microphone ? { deviceId: { exact: settings.microphone } } : {}),
        echoCancellation: processing,
        noiseSuppression: processing,
        autoGainControl: processing,
    };
}

// A device that is no longer there (another phone's list, a headset that was unplugged).
export function withoutDevices(settings) {
    return { ...settings, camera: '', microphone: '' };
}

export function sizeChoices(capabilities) {
    const width = capabilities?.width?.max;
    const height = capabilities?.height?.max;
    if (!width || !height) return kSizes;
    const long = Math.max(width, height);
    const short = Math.min(width, height);
    const fitting = kSizes.filter((size) => size.width <= long && size.height <= short);
    return fitting.length > 0 ? fitting : kSizes.slice(0, 1);
}

// A camera of 29.97 pictures per second is one of 30.
export function frameRateChoices(capabilities) {
    const highest = capabilities?.frameRate?.max;
    if (!highest) return kFrameRates;
    const fitting = kFrameRates.filter((rate) => rate <= Math.ceil(highest));
    return fitting.length > 0 ? fitting : kFrameRates.slice(0, 1);
}

// What is shown as chosen when the choice itself is not offered: the next smaller one, or the smallest.
export function nearestChoice(choices, chosen) {
    return choices.filter((choice) => Number(choice) <= Number(chosen)).at(-1) ?? choices[0];
}

// {min, max, step} of the zoom; null when there is nothing to zoom.
export function zoomRange(capabilities) {
    const zoom = capabilities?.zoom;
    if (!zoom || !(zoom.max > zoom.min)) return null;
    return { min: zoom.min, max: zoom.max, step: zoom.step > 0 ? zoom.step : (zoom.max - zoom.min) / 100 };
}

export function hasTorch(capabilities) {
    return Boolean(capabilities?.torch);
}

export function otherFacing(facing) {
    return facing === 'user' ? 'environment' : 'user';
}

// Should the preview be mirrored? Cameras of computers say nothing of where they look: at the person.
export function isMirrored(settings, trackSettings) {
    if (!settings.mirror) return false;
    const facing = trackSettings?.facingMode;
    return facing ? facing === 'user' : settings.facing === 'user';
}

// How soon a track must be opened again; null when it is well. Phones silence a camera while the screen is
// locked or a call is on, and most of them give it back by themselves.
export function reopenDelayMs({ ended, muted, visible, failures }) {
    if (!visible) return null;
    const pause = [0, 500, 1000, 2000, 3000][Math.min(failures, 4)];
    if (ended) return pause;
    if (muted) return Math.max(pause, 1500);
    return null;
}
