// What the big display says.

// `hasPicture` is false when the camera cannot be used. `link` is "closed", "connecting" or "open"; each viewer has `connected` (its media flow) and `onAir`.
// While the line to the machine is lost, only viewers whose media still flow are believed.
export function pageState({ paired, link, viewers, hasPicture = true }) {
    if (!paired) return { name: 'unpaired', count: 0 };
    const believed = viewers.filter((viewer) => viewer.connected || link === 'open');
    if (believed.some((viewer) => viewer.onAir)) return { name: 'air', count: believed.length };
    if (!hasPicture && link === 'open') return { name: 'blind', count: 0 };
    const live = believed.filter((viewer) => viewer.connected);
    if (live.length > 0) return { name: 'live', count: live.length };
    if (link === 'open') return { name: 'waiting', count: 0 };
    return { name: link === 'connecting' ? 'connecting' : 'off', count: 0 };
}

// What to do when the tally changes: vibrate in a pattern that fingers can tell apart.
export function vibration(wasOnAir, isOnAir) {
    if (wasOnAir === isOnAir) return null;
    return isOnAir ? [250, 100, 250] : [80];
}
