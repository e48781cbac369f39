// Requests to the machine.
import { refusalProblem } from './problems.js';

// The machine is near, and answers at once.
const kAnswerLimitMs = 5000;

// The machine answered, and said no.
export class Refusal extends Error {
    constructor(status, code, retryAfterSeconds) {
        super(`${status} ${code}`);
        this.status = status;
        this.code = code;
        this.problem = refusalProblem(status, code);
        this.retryAfterSeconds = retryAfterSeconds;
    }
}

// Of an answer that is not 2xx. Its body may be anything.
export async function readRefusal(response) {
    let code = '';
    try {
        const body = await response.json();
        if (typeof body?.error === 'string') code = body.error;
    } catch {
        code = '';
    }
    const seconds = Number.parseInt(response.headers.get('retry-after') ?? '', 10);
    return new Refusal(response.status, code, Number.isFinite(seconds) && seconds > 0 ? seconds : null);
}

export class Api {
    // `query` is added to every path.
    constructor(fetch, timers, query = '') {
        this.fetch = fetch;
        this.timers = timers;
        this.query = query;
    }

    get(path) {
        return this.request(path, { method: 'GET' });
    }

    post(path, body) {
        return this.request(path, {
            method: 'POST',
            headers: { 'content-type': 'application/json' },
            body: JSON.stringify(body),
        });
    }

    // The object of the answer. Throws a Refusal, or another error when the machine was not reached in time.
    async request(path, options) {
        const controller = new AbortController();
        const timer = this.timers.set(kAnswerLimitMs, () => controller.abort());
        try {
            const response = await this.fetch(path + this.query, {
                ...options,
                cache: 'no-store',
                credentials: 'same-origin',
                signal: controller.signal,
            });
            if (!response.ok) throw await readRefusal(response);
            const text = await response.text();
            return text === '' ? {} : JSON.parse(text);
        } finally {
            this.timers.clear(timer);
        }
    }
}
