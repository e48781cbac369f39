// One viewer: its name, its tally, and the peer connection that its last offer led to.
import { CandidateOutbox, CandidateQueue, candidateMessage } from './candidates.js';
import { renewalDelayMs } from './reconnect.js';
import { preferredCodecs, shapeAudio, shapeVideo } from './sending.js';

// The offer that belongs to a viewer may be on its way already.
const kOfferPatienceMs = 2000;

export class ViewerLink {
    // `api` posts requests. `media` gives what is sent: ready() is a promise, track(kind) a track or null, shape()
    // what the pictures are like. `makePeer()` makes an RTCPeerConnection, `codecs()` lists what the browser can send.
    constructor({ viewer, api, timers, media, makePeer, codecs, onChange }) {
        Object.assign(this, { viewer, api, timers, media, makePeer, codecs, onChange });
        this.name = '';
        this.session = null; // of the host; the same when it comes back
        this.onAir = false;
        this.connected = false;
        this.peer = null;
        this.isAttached = false; // to the tracks
        this.incoming = new CandidateQueue();
        this.renewals = 0;
        this.renewalTimer = null;
    }

    // A new offer always begins anew: it names another transport.
    async takeOffer(sdp, number) {
        const peer = this.beginPeer();
        this.offer = number;
        const outbox = new CandidateOutbox((candidates) =>
            this.api.post('/api/candidates', { viewer: this.viewer, offer: number, candidates }),
        );
        peer.onicecandidate = ({ candidate }) => outbox.push(candidateMessage(candidate));
        peer.onconnectionstatechange = () => {
            if (this.peer === peer) this.takeConnectionState(peer.connectionState);
        };
        const incoming = this.incoming;
        try {
            await peer.setRemoteDescription({ type: 'offer', sdp });
            incoming.open((candidate) => peer.addIceCandidate(candidate).catch(() => {}));
            await this.media.ready();
            if (this.peer !== peer) return;
            await this.attach(peer);
            await peer.setLocalDescription(await peer.createAnswer());
            await this.shape(peer);
            if (this.peer !== peer) return;
            await this.api.post('/api/answer', { viewer: this.viewer, offer: number, sdp: peer.localDescription.sdp });
            outbox.open();
        } catch (error) {
            // An answer that did not arrive is as good as a connection that failed. One whose offer was followed by
            // another waits for that, and asks for it when it does not come.
            if (this.peer !== peer) return;
            if (error.code === 'older-offer') this.scheduleRenewal(kOfferPatienceMs);
            else this.takeConnectionState('failed');
        }
    }

    takeCandidate({ candidate, sdpMid, sdpMLineIndex, offer }) {
        if (offer !== this.offer) return;
        this.incoming.push({ candidate, sdpMid, sdpMLineIndex });
    }

    // Known, but without a connection, since the page was loaded anew.
    expectOffer() {
        if (!this.peer) this.scheduleRenewal(kOfferPatienceMs);
    }

    // The line to the machine is back: what waited for it is asked for now. Says whether anything did.
    retryNow() {
        if (this.renewalTimer === null) return false;
        this.scheduleRenewal(0);
        return true;
    }

    // A track in the place of an older one goes out without a word to the host; one of a kind that the answer
    // had to leave out needs another offer.
    async replaceTrack(kind, track) {
        const peer = this.peer;
        if (!peer || !this.isAttached) return;
        const sender = this.sender(kind);
        if (!sender) {
            this.scheduleRenewal(0);
            return;
        }
        await sender.replaceTrack(track).catch(() => {});
        await this.shape(peer);
    }

    async reshape() {
        if (this.peer) await this.shape(this.peer);
    }

    async statistics() {
        return this.peer && this.connected ? this.peer.getStats() : null;
    }

    close() {
        this.stopRenewal();
        const peer = this.peer;
        this.peer = null;
        this.connected = false;
        if (!peer) return;
        peer.onicecandidate = null;
        peer.onconnectionstatechange = null;
        peer.close();
    }

    beginPeer() {
        this.close();
        this.peer = this.makePeer();
        this.isAttached = false;
        // Those that came before their offer belong to one that is gone.
        this.incoming = new CandidateQueue();
        this.onChange();
        return this.peer;
    }

    // One track of each kind that was asked for. A kind without a track (no microphone) is refused, so that the
    // host does not wait for it.
    async attach(peer) {
        this.isAttached = true;
        const served = new Set();
        for (const transceiver of peer.getTransceivers()) {
            const kind = transceiver.receiver.track.kind;
            if (served.has(kind)) continue;
            served.add(kind);
            const track = this.media.track(kind);
            transceiver.direction = track ? 'sendonly' : 'inactive';
            await transceiver.sender.replaceTrack(track);
            if (kind === 'video') this.prefer(transceiver);
        }
    }

    prefer(transceiver) {
        try {
            transceiver.setCodecPreferences(preferredCodecs(this.codecs()));
        } catch {
            // The order of the offer is the same; browsers that know no preferences keep it.
        }
    }

    async shape(peer) {
        for (const sender of peer.getSenders()) {
            if (!sender.track) continue;
            try {
                const parameters = sender.getParameters();
                if (sender.track.kind === 'video') shapeVideo(parameters, this.media.shape());
                else shapeAudio(parameters);
                await sender.setParameters(parameters);
            } catch {
                // What a browser cannot promise, it sends as it likes.
            }
        }
    }

    sender(kind) {
        if (!this.peer) return null;
        const transceiver = this.peer
            .getTransceivers()
            .find((one) => one.receiver.track.kind === kind && one.direction === 'sendonly');
        return transceiver ? transceiver.sender : null;
    }

    takeConnectionState(state) {
        this.connected = state === 'connected';
        if (this.connected) this.renewals = 0;
        const delay = renewalDelayMs(state, this.renewals);
        if (delay === null) this.stopRenewal();
        else this.scheduleRenewal(delay);
        this.onChange();
    }

    scheduleRenewal(delayMs) {
        this.stopRenewal();
        this.renewalTimer = this.timers.set(delayMs, () => this.renew());
    }

    // A new offer makes a new connection, and that ends this.
    async renew() {
        this.renewals += 1;
        this.scheduleRenewal(renewalDelayMs('failed', this.renewals));
        await this.api.post('/api/renew', { viewer: this.viewer }).catch(() => {});
    }

    stopRenewal() {
        if (this.renewalTimer !== null) this.timers.clear(this.renewalTimer);
        this.renewalTimer = null;
    }
}
