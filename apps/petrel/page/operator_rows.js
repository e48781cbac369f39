// What the operator's page says of a phone, without the page.

// Minutes and seconds of a code's life, two digits for the seconds.
export function timeLeft(seconds) {
    const whole = Math.max(0, Math.ceil(seconds));
    return { minutes: Math.floor(whole / 60), seconds: String(whole % 60).padStart(2, '0') };
}

function percent(value) {
    return typeof value === 'number' ? `${Math.round(value * 100)} %` : '–';
}

export function phoneRow(phone, say) {
    const state = phone.state ?? {};
    const kind = phone.onAir ? 'air' : phone.online ? 'online' : 'offline';
    const battery = percent(state.battery);
    const rate = typeof state.framesPerSecond === 'number' ? `, ${Math.round(state.framesPerSecond)}/s` : '';
    const codec = state.codec ? `, ${state.codec}` : '';
    return {
        identifier: phone.identifier,
        name: phone.name,
        kind,
        state: say(`operator.${kind}`),
        watching: (phone.viewers ?? []).join(', ') || '–',
        picture: phone.online && state.width ? `${state.width} × ${state.height}${rate}${codec}` : '–',
        battery: phone.online && state.charging ? `${battery}, ${say('operator.charging')}` : phone.online ? battery : '–',
        load: phone.online ? percent(state.encoderLoad) : '–',
        direct: phone.address ?? '',
    };
}

// An SVG text as an address for an <img>: nothing in it can run there.
export function svgAddress(svg) {
    return `data:image/svg+xml;charset=utf-8,${encodeURIComponent(svg)}`;
}
