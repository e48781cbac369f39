// How pictures are sent: which codec, how many bits, and what gives way when there is too little of something.

const kOrder = ['video/h264', 'video/vp8', 'video/vp9'];

function rank(codec) {
    const place = kOrder.indexOf(codec.mimeType.toLowerCase());
    if (place < 0) return kOrder.length;
    return place;
}

// H.264 first, since phones encode it in hardware: cool, and hours of battery. The rest keeps its order, and so
// do the profiles of H.264 and what repairs losses.
export function preferredCodecs(codecs) {
    return codecs
        .map((codec, index) => ({ codec, index }))
        .sort((one, other) => rank(one.codec) - rank(other.codec) || one.index - other.index)
        .map((entry) => entry.codec);
}

// A ceiling in bits per second for a local network: 0.13 bits for each pixel, and less for each picture of a
// fast sequence, whose pictures differ less.
export function bitrateCeiling(width, height, frameRate) {
    const pixels = Math.max(width * height, 320 * 180);
    const pictures = Math.min(frameRate, 30) + Math.max(frameRate - 30, 0) / 2;
    const bits = Math.round((pixels * pictures * 0.13) / 100_000) * 100_000;
    return Math.min(Math.max(bits, 1_000_000), 25_000_000);
}

// Changes sender parameters in place. A source of a programme has its place in somebody's picture: one that
// shrinks and grows is seen by everybody, a picture that is left out by few. So the size is kept.
export function shapeVideo(parameters, { width, height, frameRate }) {
    parameters.degradationPreference = 'maintain-resolution';
    const encodings = parameters.encodings && parameters.encodings.length > 0 ? parameters.encodings : [{}];
    parameters.encodings = encodings;
    encodings[0].maxBitrate = bitrateCeiling(width, height, frameRate);
    encodings[0].maxFramerate = frameRate;
    return parameters;
}

// Enough for music; what browsers choose for voices is a quarter of it.
export function shapeAudio(parameters) {
    const encodings = parameters.encodings && parameters.encodings.length > 0 ? parameters.encodings : [{}];
    parameters.encodings = encodings;
    encodings[0].maxBitrate = 128_000;
    return parameters;
}

// What each kind of track is, for the encoders.
export const kContentHints = { video: 'motion', audio: 'music' };

function videoReports(statistics) {
    const sent = [];
    for (const entry of statistics.values()) {
        if (entry.type === 'outbound-rtp' && entry.kind === 'video') sent.push(entry);
    }
    return sent;
}

// What one connection has sent so far; null before the first picture.
export function sentVideo(statistics) {
    const sent = videoReports(statistics).find((entry) => entry.framesEncoded > 0);
    if (!sent) return null;
    const codec = sent.codecId ? statistics.get(sent.codecId) : null;
    return {
        timeMs: sent.timestamp,
        encodeSeconds: sent.totalEncodeTime ?? null,
        pictures: sent.framesEncoded,
        width: sent.frameWidth ?? null,
        height: sent.frameHeight ?? null,
        framesPerSecond: sent.framesPerSecond ?? null,
        codec: codec ? codec.mimeType.replace(/^video\//i, '') : null,
    };
}

// Seconds of encoding per second, over all connections that both looks know: 1 is one core that does nothing
// else. null when the browser does not tell.
export function encoderLoad(before, after) {
    let load = null;
    for (const [viewer, now] of after) {
        const then = before.get(viewer);
        if (!then || now.encodeSeconds === null || then.encodeSeconds === null) continue;
        const seconds = (now.timeMs - then.timeMs) / 1000;
        const spent = now.encodeSeconds - then.encodeSeconds;
        if (seconds <= 0 || spent < 0) continue;
        load = (load ?? 0) + spent / seconds;
    }
    return load === null ? null : Math.round(load * 1000) / 1000;
}
