// The browser's clock, in the form in which tests replace it.
export const browserTimers = {
    set: (milliseconds, action) => setTimeout(action, milliseconds),
    clear: (timer) => clearTimeout(timer),
    now: () => performance.now(),
};
