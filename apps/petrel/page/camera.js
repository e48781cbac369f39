// The camera and the microphone: opened, changed, lost and opened again. Whoever sends hears of every new track.
import { audioConstraints, reopenDelayMs, videoConstraints, withoutDevices } from './camera_request.js';
import { cameraProblem, isWorthTryingWithoutSound } from './problems.js';
import { kContentHints } from './sending.js';

export class Camera {
    // `devices` is navigator.mediaDevices; `permission(name)` resolves to "granted", "denied", "prompt" or "";
    // `onTrack(kind, track)` hears of each new track, `onChange()` of everything else.
    constructor({ devices, permission, timers, isVisible, onTrack, onChange }) {
        Object.assign(this, { devices, permission, timers, isVisible, onTrack, onChange });
        this.settings = null;
        this.problem = null; // no picture
        this.warning = null; // a picture, but something is missing
        this.muted = { video: false, audio: false };
        this.extras = {}; // torch and zoom
        this.isWanted = false;
        this.work = Promise.resolve();
        this.expectPicture();
        this.sources = {
            video: { kind: 'video', track: null, failures: 0, timer: null },
            audio: { kind: 'audio', track: null, failures: 0, timer: null },
        };
    }

    track(kind) {
        return this.sources[kind].track;
    }

    // Opens both; only one prompt asks the person for both.
    start(settings) {
        this.settings = settings;
        if (this.isWanted) return this.work;
        this.isWanted = true;
        return this.queue(() => this.openBoth());
    }

    // Resolves when there are pictures: nothing is answered before.
    ready() {
        return this.picture;
    }

    stop() {
        this.isWanted = false;
        if (this.track('video')) this.expectPicture();
        for (const source of Object.values(this.sources)) this.release(source);
        this.problem = null;
        this.warning = null;
    }

    // New settings: a new size is asked of the camera that runs, another camera is opened.
    change(settings) {
        const before = this.settings;
        this.settings = settings;
        if (!this.isWanted) return this.work;
        return this.queue(async () => {
            if (settings.camera !== before.camera || settings.facing !== before.facing) {
                this.extras = {};
                await this.open(this.sources.video);
            } else if (settings.size !== before.size || settings.frameRate !== before.frameRate) {
                await this.applyShape();
            }
            if (
                settings.microphone !== before.microphone ||
                settings.voiceProcessing !== before.voiceProcessing
            ) {
                await this.open(this.sources.audio);
            }
        });
    }

    // {torch} or {zoom}
    setExtra(extra) {
        this.extras = { ...this.extras, ...extra };
        return this.queue(() => this.applyShape());
    }

    setMuted(kind, isMuted) {
        this.muted[kind] = isMuted;
        const track = this.track(kind);
        if (track) track.enabled = !isMuted;
        this.onChange();
    }

    // The person has allowed what was refused, or has closed the other app.
    retry() {
        return this.queue(async () => {
            if (!this.isWanted) return;
            if (!this.track('video') && !this.track('audio')) await this.openBoth();
            else if (!this.track('video')) await this.open(this.sources.video);
            else if (!this.track('audio')) await this.open(this.sources.audio);
        });
    }

    // The page is seen again, or devices came and went.
    wake() {
        for (const source of Object.values(this.sources)) this.examine(source);
    }

    async openBoth() {
        const { video, audio } = this.sources;
        try {
            const stream = await this.devices.getUserMedia({
                video: videoConstraints(this.settings),
                audio: audioConstraints(this.settings),
            });
            this.adopt(audio, stream.getAudioTracks()[0]);
            this.adopt(video, stream.getVideoTracks()[0]);
            return;
        } catch (error) {
            const permissions = {
                camera: await this.permission('camera'),
                microphone: await this.permission('microphone'),
            };
            this.problem = cameraProblem(error, permissions);
        }
        if (!isWorthTryingWithoutSound(this.problem)) {
            this.onChange();
            return;
        }
        const reason = this.problem;
        const isOpen = await this.open(video);
        if (isOpen) this.warning = reason === 'microphone-denied' ? reason : 'microphone-missing';
        // What was refused is not looked for again.
        if (reason !== 'microphone-denied') audio.failures = 1;
        if (!isOpen) this.examine(video);
        if (reason === 'camera-busy') this.examine(audio);
        this.onChange();
    }

    // Opens one of them. The old track goes first: phones have one camera at a time.
    async open(source) {
        this.release(source);
        let error = null;
        for (const settings of [this.settings, withoutDevices(this.settings)]) {
            try {
                const stream = await this.devices.getUserMedia(
                    source.kind === 'video'
                        ? { video: videoConstraints(settings) }
                        : { audio: audioConstraints(settings) },
                );
                this.adopt(source, stream.getTracks()[0]);
                return true;
            } catch (caught) {
                error = caught;
                if (error.name !== 'OverconstrainedError' && error.name !== 'NotFoundError') break;
            }
        }
        source.failures += 1;
        if (source.kind === 'video') this.problem = cameraProblem(error);
        else this.warning = error.name === 'NotAllowedError' ? 'microphone-denied' : 'microphone-missing';
        this.onChange();
        return false;
    }

    adopt(source, track) {
        if (!this.isWanted) {
            track.stop();
            return;
        }
        this.release(source);
        source.track = track;
        source.failures = 0;
        track.contentHint = kContentHints[source.kind];
        track.enabled = !this.muted[source.kind];
        track.onended = () => this.examine(source);
        track.onmute = () => this.examine(source);
        track.onunmute = () => this.examine(source);
        if (source.kind === 'video') this.problem = null;
        else this.warning = null;
        this.onTrack(source.kind, track);
        if (source.kind === 'video') this.tellPicture();
        this.onChange();
        this.examine(source);
    }

    // Sizes and rates are wishes, and all wishes are told together: those that are left out are forgotten.
    async applyShape() {
        const track = this.track('video');
        if (!track) return;
        const { width, height, frameRate } = videoConstraints(this.settings);
        const wishes = { width, height, frameRate };
        if (Object.keys(this.extras).length > 0) wishes.advanced = [this.extras];
        try {
            await track.applyConstraints(wishes);
        } catch {
            await this.open(this.sources.video);
        }
        this.onChange();
    }

    examine(source) {
        if (source.timer !== null) this.timers.clear(source.timer);
        source.timer = null;
        const { track, failures } = source;
        // A microphone that never was is not looked for.
        if (!this.isWanted || (!track && failures === 0)) return;
        const ended = !track || track.readyState === 'ended';
        const muted = Boolean(track && track.muted);
        if (source.kind === 'video' && track) this.tellPause(ended || muted);
        const delay = reopenDelayMs({ ended, muted, visible: this.isVisible(), failures });
        if (delay === null) return;
        source.timer = this.timers.set(delay, () => this.reopen(source));
    }

    tellPause(isPaused) {
        if (isPaused === (this.problem === 'camera-paused')) return;
        this.problem = isPaused ? 'camera-paused' : null;
        this.onChange();
    }

    // Only what the person refused is not tried again by itself.
    reopen(source) {
        source.timer = null;
        return this.queue(async () => {
            if (!this.isWanted) return;
            const opened = await this.open(source);
            const isRefused = this.problem === 'camera-denied' || this.warning === 'microphone-denied';
            if (!opened && !isRefused) this.examine(source);
        });
    }

    release(source) {
        if (source.timer !== null) this.timers.clear(source.timer);
        source.timer = null;
        const track = source.track;
        source.track = null;
        if (!track) return;
        track.onended = null;
        track.onmute = null;
        track.onunmute = null;
        track.stop();
    }

    expectPicture() {
        this.picture = new Promise((resolve) => {
            this.tellPicture = resolve;
        });
    }

    // One after the other, although each takes several turns.
    queue(action) {
        const result = this.work.then(action);
        this.work = result.catch(() => {});
        return result;
    }
}
