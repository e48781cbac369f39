// What the machine is told of the phone: battery, load, and what is really sent.
import { encoderLoad, sentVideo } from './sending.js';

export const kReportPeriodMs = 5000;

export class StateReport {
    constructor({ navigator, viewers, camera }) {
        this.navigator = navigator;
        this.viewers = viewers;
        this.camera = camera;
        this.before = new Map();
        this.battery = null;
        // Some browsers have no battery to tell of, and some keep it to themselves.
        navigator.getBattery?.().then(
            (battery) => {
                this.battery = battery;
            },
            () => {},
        );
    }

    async make() {
        const now = new Map();
        for (const link of this.viewers.list()) {
            const statistics = await link.statistics().catch(() => null);
            const sent = statistics && sentVideo(statistics);
            if (sent) now.set(link.viewer, sent);
        }
        const load = encoderLoad(this.before, now);
        this.before = now;
        const first = now.values().next().value ?? null;
        return {
            battery: this.battery?.level ?? null,
            charging: this.battery?.charging ?? null,
            encoderLoad: load,
            width: first?.width ?? null,
            height: first?.height ?? null,
            framesPerSecond: first?.framesPerSecond ?? null,
            codec: first?.codec ?? null,
            camera: !this.camera.muted.video && this.camera.track('video') !== null,
            microphone: !this.camera.muted.audio && this.camera.track('audio') !== null,
        };
    }
}
