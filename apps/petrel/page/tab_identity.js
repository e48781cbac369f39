// Which tab this is. It stays the same when the page is loaded anew, so that the machine knows at once that the
// older line is over; a tab that the browser doubled becomes another one.

const kKey = 'petrel.tab';
// A page that is loaded anew may meet the last moments of its predecessor.
const kPredecessorLimitMs = 500;

function newIdentity(random) {
    const bytes = random(new Uint8Array(16));
    const hex = [...bytes].map((byte) => byte.toString(16).padStart(2, '0')).join('');
    return hex.replace(/^(.{8})(.{4})(.{4})(.{4})(.{12})$/, '$1-$2-$3-$4-$5');
}

// Resolves to true while this page alone holds the name; it is held until the page ends.
function hold(locks, name, timers) {
    if (!locks) return Promise.resolve(true);
    return new Promise((resolve) => {
        const controller = new AbortController();
        const timer = timers.set(kPredecessorLimitMs, () => controller.abort());
        locks
            .request(name, { signal: controller.signal }, () => {
                timers.clear(timer);
                resolve(true);
                return new Promise(() => {});
            })
            .catch(() => resolve(false));
    });
}

export async function tabIdentity({ storage, locks, random, timers }) {
    const stored = storage.get(kKey);
    if (/^[0-9a-f-]{36}$/.test(stored ?? '') && (await hold(locks, `${kKey}.${stored}`, timers))) return stored;
    const identity = newIdentity(random);
    storage.set(kKey, identity);
    await hold(locks, `${kKey}.${identity}`, timers);
    return identity;
}
