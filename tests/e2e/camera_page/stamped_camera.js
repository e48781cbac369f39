// Puts a camera into the page whose pictures carry their number and the moment of their painting, in the
// blocks that support/frame_stamp.h reads. The front camera's pictures are light below the stamp, the back
// one's dark. The microphone stays the browser's own.
'use strict';

const kColumns = 32;
const kRows = 3;
const kFramesPerSecond = 30;

// As Encode() of support/frame_stamp.h: 32 bits of the number, 48 of the time, 16 of the checksum.
function stampBits(number, timeUs) {
    const words = [number, 0, 0, 0, 0, 0, 0, 0].map(() => 0);
    let rest = BigInt(number);
    for (let index = 0; index < 4; index += 1, rest >>= 16n) words[index] = Number(rest & 0xffffn);
    rest = BigInt(timeUs);
    for (let index = 4; index < 8; index += 1, rest >>= 16n) words[index] = Number(rest & 0xffffn);
    let sum = 0x5a5a;
    for (const word of words) sum = (Math.imul(sum, 31) + word) >>> 0;
    const checksum = (sum ^ (sum >>> 16)) & 0xffff;
    const text =
        number.toString(2).padStart(32, '0') +
        BigInt(timeUs).toString(2).padStart(48, '0') +
        checksum.toString(2).padStart(16, '0');
    return [...text].map((digit) => digit === '1');
}

class StampedCamera {
    constructor({ width, height }, isFront) {
        this.isFront = isFront;
        this.canvas = document.createElement('canvas');
        this.canvas.width = width;
        this.canvas.height = height;
        this.context = this.canvas.getContext('2d', { alpha: false });
        this.stream = this.canvas.captureStream(kFramesPerSecond);
        this.track = this.stream.getVideoTracks()[0];
        const settings = this.track.getSettings.bind(this.track);
        this.track.getSettings = () => ({ ...settings(), facingMode: isFront ? 'user' : 'environment' });
        this.timer = setInterval(() => this.paint(), 1000 / kFramesPerSecond);
        this.paint();
    }

    paint() {
        if (this.track.readyState === 'ended') {
            clearInterval(this.timer);
            return;
        }
        const { width, height } = this.canvas;
        this.context.fillStyle = this.isFront ? '#c0c0c0' : '#404040';
        this.context.fillRect(0, 0, width, height);
        const number = StampedCamera.next;
        StampedCamera.next += 1;
        const nowMs = performance.timeOrigin + performance.now() + StampedCamera.offsetMs;
        const bits = stampBits(number, Math.round(nowMs * 1000));
        const size = Math.floor(width / kColumns);
        for (let index = 0; index < kColumns * kRows; index += 1) {
            this.context.fillStyle = bits[index] ? '#ffffff' : '#000000';
            const column = index % kColumns;
            this.context.fillRect(column * size, Math.floor(index / kColumns) * size, size, size);
        }
    }

    turn() {
        const { width, height } = this.canvas;
        this.canvas.width = height;
        this.canvas.height = width;
        this.paint();
    }
}
StampedCamera.next = 1;
StampedCamera.current = null;
StampedCamera.offsetMs = 0;

function useStampedCamera(options) {
    const devices = navigator.mediaDevices;
    const original = devices.getUserMedia.bind(devices);
    devices.getUserMedia = async ({ video, audio }) => {
        const stream = audio ? await original({ audio }) : new MediaStream();
        if (video) {
            StampedCamera.current = new StampedCamera(options, video.facingMode?.ideal === 'user');
            stream.addTrack(StampedCamera.current.track);
        }
        return stream;
    };
}

// The phone is held the other way: its camera's pictures have the other shape.
globalThis.turnStampedCamera = () => StampedCamera.current.turn();

// As when the phone is locked: the track ends, and the page hears of it.
globalThis.endStampedCamera = () => {
    const { track } = StampedCamera.current;
    track.stop();
    track.dispatchEvent(new Event('ended'));
};

// The page's clock against the sender's, measured in the page itself.
globalThis.setStampOffset = (offsetMs) => {
    StampedCamera.offsetMs = offsetMs;
};
