// The camera page: joins the line to the machine, the viewers, the camera and what is drawn.
import { Api, Refusal } from './api.js';
import { Camera } from './camera.js';
import { hasTorch, isMirrored, otherFacing, readSettings, zoomRange } from './camera_request.js';
import { chooseLanguage, makeSay } from './languages.js';
import { pageState, vibration } from './page_state.js';
import { codeFromFragment, defaultName } from './pairing.js';
import { PairingView } from './pairing_view.js';
import { browserProblem, shownProblem } from './problems.js';
import { ServerLink } from './server_link.js';
import { SettingsView } from './settings_view.js';
import { kReportPeriodMs, StateReport } from './state_report.js';
import { SafeStorage } from './storage.js';
import { tabIdentity } from './tab_identity.js';
import { browserTimers } from './timers.js';
import { View } from './view.js';
import { ViewerLink } from './viewer_link.js';
import { Viewers } from './viewers.js';
import { WakeLock } from './wake_lock.js';

const kSettingsKey = 'petrel.settings';
const kLanguageKey = 'petrel.language';

const boundFetch = (...parameters) => fetch(...parameters);

class Page {
    constructor() {
        this.storage = new SafeStorage(() => localStorage);
        this.settings = readSettings(this.storage.get(kSettingsKey));
        this.isPaired = true; // until the machine says no
        this.isPairing = false;
        this.name = '';
        this.codec = null;
        this.devices = [];
        this.browserProblem = browserProblem({
            isSecure: isSecureContext,
            hasCamera: Boolean(navigator.mediaDevices?.getUserMedia),
            hasPeers: typeof RTCPeerConnection === 'function',
            hasStreams: typeof ReadableStream === 'function' && typeof AbortController === 'function',
        });
        this.api = new Api(boundFetch, browserTimers);
        this.view = new View(document, {
            retry: () => this.camera.retry(),
            take: () => this.link.start({ take: true }),
            flip: () => this.change({ facing: otherFacing(this.facingNow()), camera: '' }),
            torch: () => this.camera.setExtra({ torch: !this.camera.extras.torch }),
            zoom: (zoom) => this.camera.setExtra({ zoom }),
            muteCamera: () => this.camera.setMuted('video', !this.camera.muted.video),
            muteMicrophone: () => this.camera.setMuted('audio', !this.camera.muted.audio),
            settings: () => this.openSettings(),
        });
        this.pairingView = new PairingView(document, {
            pair: (code, name) => this.pair(code, name),
            setLanguage: (language) => this.setLanguage(language),
        });
        this.settingsView = new SettingsView(document, {
            change: (part) => this.change(part),
            setLanguage: (language) => this.setLanguage(language),
            rename: (name) => this.rename(name),
            forget: () => this.forget(),
        });
        this.setTexts(chooseLanguage(this.storage.get(kLanguageKey), navigator.languages));
    }

    async start() {
        this.draw();
        document.documentElement.dataset.started = 'yes'; // boot.js looks
        if (this.browserProblem) return;
        this.makeParts(
            await tabIdentity({
                storage: new SafeStorage(() => sessionStorage),
                locks: navigator.locks,
                random: (bytes) => crypto.getRandomValues(bytes),
                timers: browserTimers,
            }),
        );
        this.listen();
        this.takeFragment();
        this.link.start();
        this.report = new StateReport({ navigator, viewers: this.viewers, camera: this.camera });
        this.scheduleReport();
    }

    makeParts(tab) {
        const update = () => this.draw();
        this.camera = new Camera({
            devices: navigator.mediaDevices,
            permission: (name) =>
                navigator.permissions
                    ? navigator.permissions.query({ name }).then(
                          (status) => status.state,
                          () => '',
                      )
                    : Promise.resolve(''),
            timers: browserTimers,
            isVisible: () => document.visibilityState === 'visible',
            onTrack: (kind, track) => this.takeTrack(kind, track),
            onChange: update,
        });
        this.viewers = new Viewers({
            makeLink: (viewer) => this.makeViewerLink(viewer),
            onChange: update,
        });
        this.link = new ServerLink({
            fetch: boundFetch,
            api: this.api,
            timers: browserTimers,
            tab,
            onEvent: (name, data) => this.takeEvent(name, data),
            onState: () => this.takeLinkState(),
        });
        this.wakeLock = new WakeLock(navigator, document);
    }

    makeViewerLink(viewer) {
        return new ViewerLink({
            viewer,
            api: this.link,
            timers: browserTimers,
            media: {
                ready: () => this.camera.ready(),
                track: (kind) => this.camera.track(kind),
                shape: () => this.shape(),
            },
            // Everything stays in this network: no server helps to find a way.
            makePeer: () => new RTCPeerConnection({ iceServers: [], bundlePolicy: 'max-bundle' }),
            codecs: () => RTCRtpSender.getCapabilities('video').codecs,
            onChange: () => this.draw(),
        });
    }

    listen() {
        document.addEventListener('visibilitychange', () => {
            if (document.visibilityState !== 'visible') return;
            this.link.wake();
            this.camera.wake();
        });
        addEventListener('online', () => this.link.wake({ isSurelyLost: true }));
        addEventListener('offline', () => this.draw());
        navigator.connection?.addEventListener?.('change', () => this.link.wake());
        addEventListener('hashchange', () => {
            this.takeFragment();
            if (!this.isPaired) this.pairByFragment();
        });
        navigator.mediaDevices.addEventListener?.('devicechange', () => {
            this.camera.wake();
            this.listDevices();
        });
        // The size of a turned phone's pictures is another one.
        screen.orientation?.addEventListener?.('change', () => this.reshape());
        this.view.element('preview').addEventListener('resize', () => this.reshape());
        addEventListener('pagehide', () => this.link.stop());
        addEventListener('pageshow', (event) => {
            if (event.persisted) this.link.start();
        });
    }

    // The code goes out of the address at once: it must not stay in the history, nor be shared with the address.
    takeFragment() {
        const code = codeFromFragment(location.hash);
        if (!location.hash) return;
        history.replaceState(null, '', location.pathname + location.search);
        if (code) this.fragmentCode = code;
    }

    takeEvent(name, data) {
        if (name === 'hello') {
            this.isPaired = true;
            this.pairingView.showProblem(null);
            this.camera.start(this.settings);
            this.wakeLock.want(true);
            this.learnName();
        }
        if (name === 'revoked') this.unpair('revoked');
        const wasOnAir = this.state().name === 'air';
        this.viewers.take(name, data);
        const pattern = vibration(wasOnAir, this.state().name === 'air');
        if (pattern) navigator.vibrate?.(pattern);
    }

    takeLinkState() {
        if (this.link.problem === 'not-paired') {
            // One who was never paired is not told so: the form says it.
            this.unpair(this.name === '' ? null : 'not-paired');
            this.pairByFragment();
        }
        // Another tab has the camera now.
        if (this.link.problem === 'taken' || this.link.problem === 'open-elsewhere') this.rest();
        this.draw();
    }

    // Nothing is sent, and the camera is free for others.
    rest() {
        this.viewers.clear();
        this.camera.stop();
        this.view.showPreview(null);
        this.wakeLock.want(false);
    }

    unpair(problem) {
        this.isPaired = false;
        this.name = '';
        this.rest();
        this.settingsView.close();
        this.pairingView.suggestName(
            defaultName(navigator.userAgent, navigator.userAgentData?.model, this.say('title')),
        );
        this.pairingView.showProblem(problem ? { name: problem } : null);
    }

    pairByFragment() {
        const code = this.fragmentCode;
        this.fragmentCode = '';
        if (code) this.pair(code, this.view.element('pair-name').value);
    }

    async pair(code, name) {
        if (this.isPairing) return;
        this.isPairing = true;
        this.pairingView.showProblem(null);
        this.draw();
        try {
            await this.api.post('/api/pair', { code, name });
            this.isPaired = true;
            this.link.start();
        } catch (error) {
            const isRefusal = error instanceof Refusal;
            this.pairingView.showProblem({
                name: isRefusal ? error.problem : this.networkProblem(),
                seconds: isRefusal ? error.retryAfterSeconds : null,
            });
        }
        this.isPairing = false;
        this.draw();
    }

    networkProblem() {
        return navigator.onLine === false ? 'offline' : 'unreachable';
    }

    async learnName() {
        try {
            this.name = (await this.api.get('/api/me')).phone.name;
        } catch {
            // It is needed by the settings only.
        }
    }

    async rename(name) {
        try {
            await this.api.post('/api/name', { name });
            this.name = name;
            return null;
        } catch (error) {
            return error instanceof Refusal ? error.problem : this.networkProblem();
        }
    }

    async forget() {
        try {
            await this.api.post('/api/forget', {});
            this.link.stop();
            this.unpair(null);
        } catch {
            this.settingsView.close();
        }
        this.draw();
    }

    takeTrack(kind, track) {
        if (kind === 'video') this.view.showPreview(track);
        for (const link of this.viewers.list()) link.replaceTrack(kind, track);
        this.listDevices();
    }

    // What is sent: the camera's real size, before it is known the one that was asked for.
    shape() {
        const now = this.camera.track('video')?.getSettings() ?? {};
        return {
            width: now.width ?? 1920,
            height: now.height ?? 1080,
            frameRate: this.settings.frameRate,
        };
    }

    reshape() {
        for (const link of this.viewers.list()) link.reshape();
        this.draw();
    }

    facingNow() {
        return this.camera.track('video')?.getSettings().facingMode ?? this.settings.facing;
    }

    async change(part) {
        this.settings = { ...this.settings, ...part };
        this.storage.set(kSettingsKey, JSON.stringify(this.settings));
        await this.camera.change(this.settings);
        this.reshape();
    }

    async listDevices() {
        try {
            this.devices = await navigator.mediaDevices.enumerateDevices();
        } catch {
            this.devices = [];
        }
        if (this.view.element('settings').open) this.settingsView.draw(this.settingsModel());
    }

    openSettings() {
        this.settingsView.open(this.settingsModel());
    }

    settingsModel() {
        const track = this.camera.track('video');
        return {
            settings: this.settings,
            capabilities: track?.getCapabilities?.() ?? null,
            trackSettings: track?.getSettings() ?? null,
            devices: this.devices,
            codec: this.codec,
            name: this.name,
        };
    }

    scheduleReport() {
        browserTimers.set(kReportPeriodMs, async () => {
            const state = await this.report.make();
            this.codec = state.codec;
            if (this.link.state === 'open') await this.link.post('/api/state', state).catch(() => {});
            this.scheduleReport();
        });
    }

    setLanguage(language) {
        this.storage.set(kLanguageKey, language);
        this.setTexts(language);
        this.draw();
        if (this.view.element('settings').open) this.settingsView.draw(this.settingsModel());
    }

    setTexts(language) {
        this.say = makeSay(language);
        this.view.setLanguage(language, this.say);
        this.pairingView.setLanguage(language, this.say);
        this.settingsView.setLanguage(language, this.say);
    }

    state() {
        return pageState({
            paired: this.isPaired,
            link: this.link?.state ?? 'closed',
            viewers: this.viewers?.list() ?? [],
            hasPicture: !this.camera?.problem || this.camera.problem === 'camera-paused',
        });
    }

    draw() {
        const track = this.camera?.track('video');
        const capabilities = track?.getCapabilities?.() ?? null;
        const trackSettings = track?.getSettings() ?? null;
        const isInUse = this.isPaired && Boolean(this.camera?.isWanted);
        this.view.draw({
            state: this.state(),
            names: this.viewers?.names() ?? [],
            isInUse,
            muted: (isInUse && this.camera?.muted) || {},
            problem: this.isPaired
                ? shownProblem({
                      browser: this.browserProblem,
                      link: this.link?.problem,
                      camera: this.camera?.problem,
                      warning: this.camera?.warning,
                      isOnline: navigator.onLine !== false,
                  })
                : null,
            camera: {
                hasTorch: hasTorch(capabilities),
                isTorchOn: Boolean(this.camera?.extras.torch),
                zoom: zoomRange(capabilities),
                zoomNow: trackSettings?.zoom ?? 1,
                isMirrored: isMirrored(this.settings, trackSettings),
            },
        });
        this.pairingView.draw({ isVisible: !this.isPaired, isBusy: this.isPairing });
    }
}

new Page().start();
