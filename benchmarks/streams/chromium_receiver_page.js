// The page: one peer connection and one video element per phone. The program that opened it calls
// Receivers.begin and Receivers.end.
'use strict';

const kPort = 9001;
const kColumns = 32;
const kRows = 3;
const kClockBits = 2n ** 48n;
const kLoopUs = 10_000_000n; // of a sender that shows the same pictures again and again

class Receiver {
    constructor(address) {
        this.video = document.createElement('video');
        this.video.autoplay = true;
        document.body.append(this.video);
        this.waitingCandidates = [];
        this.socket = new WebSocket(`ws://${address}:${kPort}/`);
        this.socket.onopen = () =>
            this.send({ action: 'joinMaster', ownerKey: '', sessionGuid: 'browser', username: 'Browser' });
        this.work = Promise.resolve();
        this.socket.onmessage = (event) => {
            this.work = this.work.then(() => this.receive(JSON.parse(event.data))).catch((error) => report(String(error)));
        };
        this.socket.onerror = () => report(`no connection to ${address}`);
        this.stopWatching();
    }

    send(message) {
        this.socket.send(JSON.stringify(message));
    }

    async receive(message) {
        if (message.action === 'peerJoined') await this.offer(message.peersIdentifier);
        if (message.action === 'gotAnswer') {
            await this.peer.setRemoteDescription({ type: 'answer', sdp: message.sdp });
            for (const candidate of this.waitingCandidates.splice(0)) await this.peer.addIceCandidate(candidate);
        }
        if (message.action === 'ice') {
            const candidate = {
                candidate: message.sdp,
                sdpMid: message.sdpMid,
                sdpMLineIndex: message.sdpMLineIndex,
            };
            if (this.peer.remoteDescription) await this.peer.addIceCandidate(candidate);
            else this.waitingCandidates.push(candidate);
        }
    }

    async offer(identifier) {
        this.peer = new RTCPeerConnection();
        const stream = new MediaStream();
        this.video.srcObject = stream;
        this.peer.ontrack = (event) => stream.addTrack(event.track);
        this.peer.onicecandidate = ({ candidate }) => {
            if (!candidate) return;
            this.send({
                action: 'ice',
                peersIdentifier: identifier,
                sdp: candidate.candidate,
                sdpMid: candidate.sdpMid,
                sdpMLineIndex: String(candidate.sdpMLineIndex),
                sessionGuid: 'browser',
            });
        };
        this.peer.addTransceiver('video', { direction: 'recvonly' });
        this.peer.addTransceiver('audio', { direction: 'recvonly' });
        const offer = await this.peer.createOffer();
        this.send({
            action: 'masterMadeOffer',
            peersIdentifier: identifier,
            sdp: offer.sdp,
            sessionGuid: 'browser',
            type: 'offer',
        });
        await this.peer.setLocalDescription(offer);
    }

    async framesDecoded() {
        const statistics = this.peer ? await this.peer.getStats() : new Map();
        for (const entry of statistics.values()) {
            if (entry.type === 'inbound-rtp' && entry.kind === 'video') return entry.framesDecoded || 0;
        }
        return 0;
    }

    stopWatching() {
        this.watched = { distinct: 0, skipped: 0, latenciesMs: [] };
        this.watching = (this.watching || 0) + 1;
        this.lastFrame = null;
    }

    // Reads the stamp of every picture that is shown. It costs a picture's way out of the browser, so it is
    // done only when asked for.
    watchStamps(clockOffsetMs) {
        const canvas = document.createElement('canvas');
        canvas.width = kColumns;
        canvas.height = kRows;
        const context = canvas.getContext('2d', { willReadFrequently: true });
        const watching = this.watching;
        const onFrame = () => {
            const nowMs = performance.now() + clockOffsetMs;
            if (watching !== this.watching) return;
            this.video.requestVideoFrameCallback(onFrame);
            const block = this.video.videoWidth / kColumns;
            context.drawImage(this.video, 0, 0, block * kColumns, block * kRows, 0, 0, kColumns, kRows);
            const stamp = readStamp(context.getImageData(0, 0, kColumns, kRows).data);
            if (!stamp || stamp.frame === this.lastFrame) return;
            if (this.lastFrame !== null && stamp.frame > this.lastFrame)
                this.watched.skipped += stamp.frame - this.lastFrame - 1;
            this.lastFrame = stamp.frame;
            this.watched.distinct += 1;
            const nowUs = BigInt(Math.round(nowMs * 1000)) % kClockBits;
            const ageUs = (nowUs - stamp.timeUs + kClockBits) % kClockBits;
            this.watched.latenciesMs.push(Number(stamp.timeUs < kLoopUs ? ageUs % kLoopUs : ageUs) / 1000);
        };
        this.video.requestVideoFrameCallback(onFrame);
    }
}

// 32 bits of the frame's number, 48 of the sender's clock, 16 of a checksum; null when that does not fit.
function readStamp(pixels) {
    let position = 0;
    const take = (count) => {
        let value = 0n;
        for (let bit = 0; bit < count; bit += 1, position += 1)
            value = (value << 1n) | (pixels[position * 4 + 1] >= 128 ? 1n : 0n);
        return value;
    };
    const frame = take(32);
    const timeUs = take(48);
    const checksum = Number(take(16));
    let sum = 0x5a5a;
    for (const word of [frame, timeUs]) {
        for (let shift = 0n; shift < 64n; shift += 16n)
            sum = (Math.imul(sum, 31) + Number((word >> shift) & 0xffffn)) >>> 0;
    }
    if (((sum ^ (sum >>> 16)) & 0xffff) !== checksum) return null;
    return { frame: Number(frame), timeUs };
}

const Receivers = {
    all: [],

    open(addresses, columns, width) {
        document.body.style.gridTemplateColumns = `repeat(${columns}, ${width}px)`;
        this.all = addresses.map((address) => new Receiver(address));
    },

    // Every phone's pictures are decoded and shown.
    allShow() {
        return this.all.length > 0 && this.all.every((one) => one.video.videoWidth > 0 && one.video.currentTime > 0);
    },

    async begin(readStamps, clockOffsetMs) {
        for (const one of this.all) {
            one.stopWatching();
            one.begunAt = performance.now();
            one.framesBefore = await one.framesDecoded();
            if (readStamps) one.watchStamps(clockOffsetMs);
        }
    },

    async end() {
        const results = [];
        for (const one of this.all) {
            const pictures = (await one.framesDecoded()) - one.framesBefore;
            results.push({ seconds: (performance.now() - one.begunAt) / 1000, pictures, ...one.watched });
            one.stopWatching();
        }
        return results;
    },
};
