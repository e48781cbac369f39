// When to try again to reach the machine, and when a quiet line counts as lost.

const kDelaysMs = [500, 1000, 2000, 3000];

// The machine sends a sign of life every 10 s.
export const kSilenceLimitMs = 25_000;
// After the screen was locked or the network changed: a line that missed one sign of life is not waited for.
export const kDoubtfulSilenceMs = 12_000;
// What the machine says at once may be lost on the air, and sent again a few times.
export const kEchoLimitMs = 2000;
export const kConnectLimitMs = 10_000;

// The pause after so many failures in a row; it never grows beyond 3 s, since nobody touches the page.
export function retryDelayMs(failures) {
    return kDelaysMs[Math.min(Math.max(failures, 1), kDelaysMs.length) - 1];
}

// How long to wait before a viewer is asked for a new offer; null when there is nothing to mend. A connection
// that is "disconnected" often comes back by itself within moments.
export function renewalDelayMs(connectionState, renewals) {
    const pause = renewals === 0 ? 0 : Math.min(2000 * 2 ** (renewals - 1), 30_000);
    if (connectionState === 'failed') return pause;
    if (connectionState === 'disconnected') return Math.max(pause, 3000);
    return null;
}
