// Puts the texts of a language into a document.

// Elements name what they say: data-text for their text, data-label for what a screen reader says of them,
// data-alt for what stands for a picture.
export function applyTexts(document, language, say) {
    document.documentElement.lang = language;
    for (const element of document.querySelectorAll('[data-text]')) element.textContent = say(element.dataset.text);
    for (const element of document.querySelectorAll('[data-label]')) {
        element.setAttribute('aria-label', say(element.dataset.label));
    }
    for (const element of document.querySelectorAll('[data-alt]')) element.alt = say(element.dataset.alt);
}

// An unchanged text is not set again: screen readers would say it again.
export function setText(element, text) {
    if (element.textContent !== text) element.textContent = text;
}

// A list of choices [{value, text}]; the element keeps its focus.
export function setChoices(select, choices, chosen) {
    const now = [...select.options].map((option) => `${option.value}\n${option.text}`).join('\n');
    const wanted = choices.map((choice) => `${choice.value}\n${choice.text}`).join('\n');
    if (now !== wanted) {
        select.replaceChildren(
            ...choices.map((choice) => {
                const option = select.ownerDocument.createElement('option');
                option.value = choice.value;
                option.textContent = choice.text;
                return option;
            }),
        );
    }
    select.value = chosen;
}
