// The line from the machine: its events, and never giving up.
import { readRefusal, Refusal } from './api.js';
import { EventStreamReader } from './event_stream.js';
import { endsTrying } from './problems.js';
import { kConnectLimitMs, kDoubtfulSilenceMs, kEchoLimitMs, kSilenceLimitMs, retryDelayMs } from './reconnect.js';

// Larger than any number of an event: the machine takes a page that has heard nothing for a new one, and every
// host offers anew.
const kNoEventYet = '18446744073709551615';

export class ServerLink {
    // `onEvent(name, object)` hears each event of the machine; `onState()` that `state` ("closed",
    // "connecting", "open") or `problem` changed.
    constructor({ fetch, api, timers, tab, onEvent, onState }) {
        this.fetch = fetch;
        this.api = api;
        this.timers = timers;
        this.tab = tab;
        this.onEvent = onEvent;
        this.onState = onState;
        this.state = 'closed';
        this.problem = null;
        this.failures = 0;
        this.lastId = kNoEventYet;
        this.attempt = null;
        this.retryTimer = null;
    }

    // With `take`, the phone is taken over from another tab.
    start({ take = false } = {}) {
        this.end();
        this.take = take;
        this.failures = 0;
        this.begin();
    }

    // What is said meanwhile is missed.
    stop() {
        this.end();
        this.lastId = kNoEventYet;
        this.tell('closed', null);
    }

    // The phone was unlocked, or says that it has a network: what would be done later is done now, and a line
    // that has been silent for too long is not trusted. `isSurelyLost`: the network is another one.
    wake({ isSurelyLost = false } = {}) {
        if (this.retryTimer !== null) {
            this.makeAnew();
            return;
        }
        if (!this.attempt) return;
        const silence = this.timers.now() - this.attempt.lastSignMs;
        if (isSurelyLost || silence >= kDoubtfulSilenceMs) this.makeAnew();
    }

    // A paired phone's request. The machine shows each on the line as well: one that stays silent after the answer
    // is dead, though nobody noticed its end (the phone has another address by now), and is made anew. So is one
    // that was as silent as the machine.
    async post(path, body) {
        const attempt = this.attempt;
        const sentMs = this.timers.now();
        const isDoubtful = () => this.state === 'open' && this.attempt === attempt && attempt.lastSignMs < sentMs;
        try {
            const answer = await this.api.post(path, body);
            if (isDoubtful() && !attempt.awaitsEcho) {
                attempt.awaitsEcho = true;
                this.watch(attempt, kEchoLimitMs, () => this.makeAnew());
            }
            return answer;
        } catch (error) {
            if (isDoubtful() && !(error instanceof Refusal)) this.makeAnew();
            throw error;
        }
    }

    makeAnew() {
        this.end();
        this.begin();
    }

    begin() {
        const attempt = {
            controller: new AbortController(),
            timer: null,
            lastSignMs: this.timers.now(),
            awaitsEcho: false,
        };
        this.attempt = attempt;
        this.watch(attempt, kConnectLimitMs);
        this.tell('connecting', this.problem);
        this.run(attempt);
    }

    async run(attempt) {
        let refusal = null;
        try {
            const take = this.take ? '&take=1' : '';
            const query = `tab=${encodeURIComponent(this.tab)}&last=${encodeURIComponent(this.lastId)}${take}`;
            const response = await this.fetch(`/api/events?${query}`, {
                headers: { accept: 'text/event-stream' },
                cache: 'no-store',
                credentials: 'same-origin',
                signal: attempt.controller.signal,
            });
            if (response.ok) await this.read(attempt, response.body.getReader());
            else refusal = await readRefusal(response);
        } catch {
            // Not reached, or lost: the same as the end of the stream.
        }
        if (this.attempt !== attempt) return;
        this.end();
        if (refusal && endsTrying(refusal.problem)) {
            this.tell('closed', refusal.problem);
            return;
        }
        this.retry(refusal);
    }

    async read(attempt, reader) {
        const decoder = new TextDecoder();
        const events = new EventStreamReader((name, data) => {
            if (this.attempt !== attempt) return;
            if (events.lastId !== '') this.lastId = events.lastId;
            this.handle(name, data);
        });
        for (;;) {
            const { done, value } = await reader.read();
            if (done || this.attempt !== attempt) return;
            attempt.lastSignMs = this.timers.now();
            attempt.awaitsEcho = false;
            this.watch(attempt, kSilenceLimitMs);
            events.feed(decoder.decode(value, { stream: true }));
        }
    }

    handle(name, data) {
        let object = null;
        try {
            object = JSON.parse(data);
        } catch {
            return;
        }
        if (typeof object !== 'object' || object === null) return;
        if (name === 'taken' || name === 'revoked') {
            this.end();
            this.lastId = kNoEventYet;
            this.onEvent(name, object);
            this.tell('closed', name);
            return;
        }
        if (name === 'hello') {
            this.failures = 0;
            this.take = false;
            this.onEvent(name, object);
            this.tell('open', null);
            return;
        }
        this.onEvent(name, object);
    }

    // One failure alone may be a restart of the machine's program: nothing is said of it.
    retry(refusal) {
        this.failures += 1;
        const asked = (refusal?.retryAfterSeconds ?? 0) * 1000;
        const delay = Math.max(retryDelayMs(this.failures), asked);
        this.retryTimer = this.timers.set(delay, () => {
            this.retryTimer = null;
            this.begin();
        });
        const problem = refusal ? refusal.problem : 'unreachable';
        this.tell('connecting', this.failures > 1 ? problem : this.problem);
    }

    // A line without a sign of life is given up.
    watch(attempt, limitMs, giveUp = () => attempt.controller.abort()) {
        if (attempt.timer !== null) this.timers.clear(attempt.timer);
        attempt.timer = this.timers.set(limitMs, giveUp);
    }

    end() {
        if (this.retryTimer !== null) this.timers.clear(this.retryTimer);
        this.retryTimer = null;
        const attempt = this.attempt;
        this.attempt = null;
        if (!attempt) return;
        this.timers.clear(attempt.timer);
        attempt.controller.abort();
    }

    tell(state, problem) {
        if (this.state === state && this.problem === problem) return;
        this.state = state;
        this.problem = problem;
        this.onState();
    }
}
