// Draws the camera page's state; decides nothing.
import { applyTexts, setText } from './element_texts.js';

const kThemeColours = { air: '#d4001a', live: '#37e07f', waiting: '#ffd400' };

export class View {
    // `actions` are what the person can do: retry, take, flip, torch, zoom, muteCamera, muteMicrophone, settings.
    constructor(document, actions) {
        this.document = document;
        this.actions = actions;
        this.problemAction = null;
        this.element('problem-action').onclick = () => actions[this.problemAction]?.();
        this.element('flip').onclick = () => actions.flip();
        this.element('torch').onclick = () => actions.torch();
        this.element('mute-camera').onclick = () => actions.muteCamera();
        this.element('mute-microphone').onclick = () => actions.muteMicrophone();
        this.element('open-settings').onclick = () => actions.settings();
        this.element('zoom-range').oninput = (event) => actions.zoom(Number(event.target.value));
    }

    element(id) {
        return this.document.getElementById(id);
    }

    setLanguage(language, say) {
        this.say = say;
        applyTexts(this.document, language, say);
    }

    // `model`: {state, names, problem, isInUse, muted, camera: {torch, isTorchOn, zoom, zoomNow, isMirrored}}
    draw(model) {
        const { state, problem } = model;
        this.document.body.dataset.state = state.name;
        setText(this.element('state'), this.say(`state.${state.name}`, { count: state.count }));
        this.document.title = `${state.name === 'air' ? '● ' : ''}${this.say(`state.${state.name}`, { count: state.count })}`;
        this.document.querySelector('meta[name="theme-color"]').content = kThemeColours[state.name] ?? '#000000';
        const watching = model.names.length > 0 ? this.say('watching', { names: model.names.join(', ') }) : '';
        setText(this.element('watching'), watching);
        const muted = [];
        if (model.muted.video) muted.push(this.say('mutedCamera'));
        if (model.muted.audio) muted.push(this.say('mutedMicrophone'));
        setText(this.element('muted'), muted.join(' · '));
        this.element('controls').hidden = !model.isInUse;
        this.drawProblem(problem);
        this.drawControls(model);
    }

    drawProblem(problem) {
        const box = this.element('problem');
        this.problemAction = problem?.action ?? null;
        const button = this.element('problem-action');
        button.hidden = !this.problemAction;
        if (this.problemAction) setText(button, this.say(`action.${this.problemAction}`));
        setText(this.element('problem-text'), problem ? this.say(`problem.${problem.name}`) : '');
        setText(this.element('problem-more'), problem?.isRetrying ? this.say('problem.retrying') : '');
        box.hidden = !problem;
    }

    drawControls({ muted, camera }) {
        this.press('mute-camera', !muted.video);
        this.press('mute-microphone', !muted.audio);
        this.element('torch').hidden = !camera.hasTorch;
        this.press('torch', camera.isTorchOn);
        const zoom = this.element('zoom');
        zoom.hidden = !camera.zoom;
        if (camera.zoom) {
            const range = this.element('zoom-range');
            Object.assign(range, camera.zoom);
            if (this.document.activeElement !== range) range.value = camera.zoomNow;
        }
        this.element('preview').classList.toggle('mirrored', camera.isMirrored);
    }

    press(id, isPressed) {
        this.element(id).setAttribute('aria-pressed', String(isPressed));
    }

    // Only a new camera is set: setting the same one again makes the picture flicker.
    showPreview(track) {
        const preview = this.element('preview');
        if (!track) {
            preview.srcObject = null;
            return;
        }
        if (preview.srcObject?.getVideoTracks()[0] === track) return;
        preview.srcObject = new MediaStream([track]);
        preview.play().catch(() => {});
    }
}
