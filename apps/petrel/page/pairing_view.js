// The form for the code. It shows itself only while the phone is not paired.
import { setText } from './element_texts.js';
import { kLanguages, makeSay } from './languages.js';
import { formatCode, isCompleteCode, isGoodName } from './pairing.js';

export class PairingView {
    // `pair(code, name)` is called for a code that is complete; `setLanguage(language)` for the switch.
    constructor(document, { pair, setLanguage }) {
        this.document = document;
        this.pair = pair;
        this.code = document.getElementById('pair-code');
        this.name = document.getElementById('pair-name');
        this.code.addEventListener('input', () => this.format());
        document.getElementById('pair-form').addEventListener('submit', (event) => {
            event.preventDefault();
            this.submit();
        });
        const buttons = Object.keys(kLanguages).map((language) => {
            const button = document.createElement('button');
            button.type = 'button';
            button.lang = language;
            button.textContent = makeSay(language)('language');
            button.onclick = () => setLanguage(language);
            return button;
        });
        this.languages = buttons;
        document.getElementById('pair-languages').replaceChildren(...buttons);
    }

    // A hyphen appears by itself, but never under somebody who takes it away or writes in the middle.
    format() {
        const isAtEnd = this.code.selectionStart === this.code.value.length;
        if (!isAtEnd) return;
        const formatted = formatCode(this.code.value);
        if (formatted.length >= this.code.value.length || isCompleteCode(this.code.value)) this.code.value = formatted;
    }

    submit() {
        if (!isCompleteCode(this.code.value)) {
            this.complain('wrong-code');
            this.code.focus();
        } else if (!isGoodName(this.name.value)) {
            this.complain('bad-name');
            this.name.focus();
        } else {
            this.pair(formatCode(this.code.value), this.name.value.trim());
        }
    }

    complain(name) {
        this.showProblem({ name });
    }

    setLanguage(language, say) {
        this.say = say;
        for (const button of this.languages) button.setAttribute('aria-pressed', String(button.lang === language));
        this.showProblem(this.problem ?? null);
    }

    suggestName(name) {
        if (this.name.value === '') this.name.value = name;
    }

    // `problem`: {name, seconds} or null
    showProblem(problem) {
        this.problem = problem;
        const key = problem?.seconds ? `problem.${problem.name}.seconds` : `problem.${problem?.name}`;
        setText(this.document.getElementById('pair-problem'), problem ? this.say(key, problem) : '');
    }

    draw({ isVisible, isBusy }) {
        this.document.getElementById('pairing').hidden = !isVisible;
        const button = this.document.getElementById('pair-button');
        button.disabled = isBusy;
        setText(button, this.say(isBusy ? 'pair.busy' : 'pair.button'));
    }
}
