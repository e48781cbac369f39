// The phone itself, as a page: a camera, a microphone, and one peer connection per host that dialled.
// The program that opened the page carries the texts: it calls Phone.open, Phone.receive and Phone.close,
// and the page calls sendToHost(client, text) and report(event).
'use strict';

const kUserName = 'Browser phone';
const kCodecReportPeriodMs = 250;

class HostLink {
    constructor(phone, client) {
        this.phone = phone;
        this.client = client;
        this.sessionGuid = '';
        this.peer = null;
        this.waitingCandidates = [];
        this.work = Promise.resolve();
    }

    // One message after the other, although answering takes several turns.
    receive(text) {
        this.work = this.work
            .then(() => this.handle(JSON.parse(text)))
            .catch((error) => report({ event: 'trouble', text: String(error) }));
    }

    async handle(message) {
        switch (message.action) {
            case 'joinMaster':
                this.sessionGuid = message.sessionGuid;
                report({ event: 'joined', username: message.username });
                this.send({ action: 'peerJoined', username: kUserName });
                break;
            case 'masterMadeOffer':
                await this.answer(message);
                break;
            case 'ice':
                await this.addCandidate(message);
                break;
            case 'broadcastToPeers':
                this.broadcast(message);
                break;
        }
    }

    async answer(offer) {
        this.closePeer();
        const peer = new RTCPeerConnection();
        this.peer = peer;
        peer.onicecandidate = (event) => {
            if (event.candidate && this.peer === peer) this.sendCandidate(event.candidate);
        };
        peer.onconnectionstatechange = () => {
            report({ event: 'state', state: peer.connectionState });
        };
        await peer.setRemoteDescription({ type: offer.type, sdp: offer.sdp });
        for (const track of this.phone.stream.getTracks()) peer.addTrack(track, this.phone.stream);
        if (this.phone.only) preferOnly(peer, this.phone.codec);
        await peer.setLocalDescription(await peer.createAnswer());
        report({ event: 'answered', codec: videoCodecs(peer.localDescription.sdp).join(' ') });
        await this.shapeSending(peer);
        this.send({ action: 'gotAnswer', type: peer.localDescription.type, sdp: peer.localDescription.sdp });
        for (const candidate of this.waitingCandidates.splice(0)) await peer.addIceCandidate(candidate);
        this.reportSending(peer);
    }

    // A camera that is a source of a programme would rather drop a picture than shrink it. The codec is the
    // browser's choice, unless the test asks for one; only the sender's parameters decide it.
    async shapeSending(peer) {
        for (const sender of peer.getSenders()) {
            if (!sender.track || sender.track.kind !== 'video') continue;
            const parameters = sender.getParameters();
            parameters.degradationPreference = 'maintain-resolution';
            const wanted = `video/${this.phone.codec}`.toLowerCase();
            const codec = parameters.codecs.find((offered) => offered.mimeType.toLowerCase() === wanted);
            if (codec) parameters.encodings[0].codec = codec;
            await sender.setParameters(parameters);
        }
    }

    async addCandidate(message) {
        const candidate = {
            candidate: message.sdp,
            sdpMid: message.sdpMid,
            sdpMLineIndex: Number(message.sdpMLineIndex),
        };
        if (!this.peer || !this.peer.remoteDescription) this.waitingCandidates.push(candidate);
        else await this.peer.addIceCandidate(candidate);
    }

    sendCandidate(candidate) {
        this.send({
            action: 'ice',
            sdp: candidate.candidate,
            sdpMid: candidate.sdpMid,
            sdpMLineIndex: candidate.sdpMLineIndex,
        });
    }

    broadcast(message) {
        if (message.subaction !== 'tallyStateChanged') return;
        if (message.tallyPeerIdentifier !== this.phone.identifier) return;
        document.getElementById('tally').value = message.value ? 'on' : 'off';
        report({ event: 'tally', value: message.value });
    }

    // Tells once per peer connection what is really being encoded.
    reportSending(peer) {
        const timer = setInterval(async () => {
            if (this.peer !== peer || peer.connectionState === 'closed') {
                clearInterval(timer);
                return;
            }
            const sending = await sendingVideo(peer);
            if (!sending) return;
            clearInterval(timer);
            report({ event: 'sending', ...sending });
        }, kCodecReportPeriodMs);
    }

    send(message) {
        const complete = {
            ...message,
            peersIdentifier: this.phone.identifier,
            sessionGuid: this.sessionGuid,
        };
        sendToHost(this.client, JSON.stringify(complete));
    }

    // The camera is taken away, as by a call that comes in; the connection stands and says nothing of it.
    async freeze() {
        for (const sender of this.peer.getSenders()) {
            if (sender.track && sender.track.kind === 'video') await sender.replaceTrack(null);
        }
        report({ event: 'frozen' });
    }

    closePeer() {
        if (this.peer) this.peer.close();
        this.peer = null;
    }
}

// The answer then names this codec alone, whatever stands first in the offer.
function preferOnly(peer, codec) {
    const wanted = `video/${codec}`.toLowerCase();
    const known = RTCRtpReceiver.getCapabilities('video').codecs;
    const only = known.filter((capability) => capability.mimeType.toLowerCase() === wanted);
    for (const transceiver of peer.getTransceivers()) {
        if (transceiver.sender.track?.kind === 'video') transceiver.setCodecPreferences(only);
    }
}

// Of a description's video section, in its order.
function videoCodecs(sdp) {
    const section = sdp.split('m=').find((part) => part.startsWith('video')) || '';
    return [...section.matchAll(/^a=rtpmap:\d+ ([^/]+)/gm)].map((match) => match[1]);
}

async function sendingVideo(peer) {
    const statistics = await peer.getStats();
    for (const entry of statistics.values()) {
        if (entry.type !== 'outbound-rtp' || entry.kind !== 'video') continue;
        if (!entry.framesEncoded || !entry.codecId) continue;
        const codec = statistics.get(entry.codecId);
        return {
            codec: codec.mimeType.replace('video/', ''),
            format: codec.sdpFmtpLine || '',
            encoder: entry.encoderImplementation,
            width: entry.frameWidth,
            height: entry.frameHeight,
        };
    }
    return null;
}

const Phone = {
    links: new Map(),

    // Takes the camera and the microphone as they are: no processing that would change a test tone.
    async start(options) {
        this.identifier = options.identifier;
        this.codec = options.codec;
        this.only = options.only;
        this.stream = await navigator.mediaDevices.getUserMedia({
            video: { width: options.width, height: options.height, frameRate: options.framesPerSecond },
            audio: { echoCancellation: false, noiseSuppression: false, autoGainControl: false },
        });
        document.getElementById('preview').srcObject = this.stream;
        return this.stream.getVideoTracks()[0].getSettings();
    },

    open(client) {
        this.links.set(client, new HostLink(this, client));
    },

    receive(client, text) {
        const link = this.links.get(client);
        if (link) link.receive(text);
    },

    async freeze() {
        for (const link of this.links.values()) await link.freeze();
    },

    close(client) {
        const link = this.links.get(client);
        if (link) link.closePeer();
        this.links.delete(client);
    },
};
