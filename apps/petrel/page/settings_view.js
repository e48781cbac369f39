// The settings: a sheet from below, where the thumb is.
import { frameRateChoices, nearestChoice, sizeChoices } from './camera_request.js';
import { setChoices, setText } from './element_texts.js';
import { kLanguages, makeSay } from './languages.js';
import { isGoodName } from './pairing.js';

export class SettingsView {
    // `actions`: change(partOfSettings), setLanguage(language), rename(name) as a promise, forget()
    constructor(document, actions) {
        this.document = document;
        this.actions = actions;
        this.sheet = this.element('settings');
        this.element('close-settings').onclick = () => this.sheet.close();
        this.sheet.addEventListener('click', (event) => {
            if (event.target === this.sheet) this.sheet.close();
        });
        this.element('set-camera').onchange = ({ target }) => actions.change(this.cameraOf(target.value));
        this.element('set-size').onchange = ({ target }) => actions.change({ size: target.value });
        this.element('set-rate').onchange = ({ target }) => actions.change({ frameRate: Number(target.value) });
        this.element('set-microphone').onchange = ({ target }) => actions.change({ microphone: target.value });
        this.element('set-mirror').onchange = ({ target }) => actions.change({ mirror: target.checked });
        this.element('set-voice').onchange = ({ target }) => actions.change({ voiceProcessing: target.checked });
        this.element('set-language').onchange = ({ target }) => actions.setLanguage(target.value);
        this.element('save-name').onclick = () => this.rename();
        this.element('forget').onclick = () => {
            if (this.document.defaultView.confirm(this.say('settings.forget.sure'))) actions.forget();
        };
    }

    element(id) {
        return this.document.getElementById(id);
    }

    setLanguage(language, say) {
        this.language = language;
        this.say = say;
    }

    // A choice is "facing:user", "facing:environment", or a device.
    cameraOf(value) {
        const facing = /^facing:(.*)$/.exec(value);
        return facing ? { facing: facing[1], camera: '' } : { camera: value };
    }

    open(model) {
        this.draw(model);
        setText(this.element('name-result'), '');
        this.element('set-name').value = model.name;
        if (!this.sheet.open) this.sheet.showModal();
    }

    close() {
        if (this.sheet.open) this.sheet.close();
    }

    // `model`: {settings, capabilities, trackSettings, devices, codec, name}
    draw(model) {
        this.model = model;
        const { settings, capabilities, devices } = model;
        const cameras = this.devicesOf(devices, 'videoinput');
        setChoices(
            this.element('set-camera'),
            [
                { value: 'facing:environment', text: this.say('settings.back') },
                { value: 'facing:user', text: this.say('settings.front') },
                ...cameras,
            ],
            settings.camera || `facing:${settings.facing}`,
        );
        const sizes = sizeChoices(capabilities).map((size) => size.name);
        setChoices(
            this.element('set-size'),
            sizes.map((size) => ({ value: size, text: `${size}p` })),
            nearestChoice(sizes, settings.size),
        );
        const rates = frameRateChoices(capabilities).map(String);
        setChoices(
            this.element('set-rate'),
            rates.map((rate) => ({ value: rate, text: rate })),
            nearestChoice(rates, settings.frameRate),
        );
        setChoices(
            this.element('set-microphone'),
            [
                { value: '', text: this.say('settings.microphone.default') },
                ...this.devicesOf(devices, 'audioinput'),
            ],
            settings.microphone,
        );
        this.element('set-mirror').checked = settings.mirror;
        this.element('set-voice').checked = settings.voiceProcessing;
        setChoices(
            this.element('set-language'),
            Object.keys(kLanguages).map((language) => ({ value: language, text: makeSay(language)('language') })),
            this.language,
        );
        this.drawNow(model);
    }

    // What the camera really gives.
    drawNow({ trackSettings, codec }) {
        const parts = [];
        if (trackSettings?.width) {
            parts.push(
                this.say('settings.now', {
                    width: trackSettings.width,
                    height: trackSettings.height,
                    rate: Math.round(trackSettings.frameRate ?? 0),
                }),
            );
        }
        if (codec) parts.push(this.say('settings.codec', { codec }));
        setText(this.element('settings-now'), parts.join(' · '));
    }

    devicesOf(devices, kind) {
        return devices
            .filter((device) => device.kind === kind && device.deviceId !== '' && device.deviceId !== 'default')
            .map((device, index) => ({
                value: device.deviceId,
                text: device.label || this.say('device.unnamed', { number: index + 1 }),
            }));
    }

    async rename() {
        const name = this.element('set-name').value.trim();
        const problem = isGoodName(name) ? await this.actions.rename(name) : 'bad-name';
        setText(this.element('name-result'), this.say(problem ? `problem.${problem}` : 'settings.saved'));
    }
}
