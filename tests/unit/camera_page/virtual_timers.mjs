// The page's clock, moved by the test.

export class VirtualTimers {
    constructor() {
        this.time = 0;
        this.waiting = new Map();
        this.next = 1;
    }

    set(milliseconds, action) {
        const timer = this.next;
        this.next += 1;
        this.waiting.set(timer, { due: this.time + milliseconds, action });
        return timer;
    }

    clear(timer) {
        this.waiting.delete(timer);
    }

    now() {
        return this.time;
    }

    // Lets promises that are already settled go on.
    async settle() {
        for (let turn = 0; turn < 50; turn += 1) await new Promise((resolve) => setImmediate(resolve));
    }

    // What is due runs in order, and what it leads to.
    async advance(milliseconds) {
        await this.settle();
        const end = this.time + milliseconds;
        for (;;) {
            const due = [...this.waiting].filter(([, entry]) => entry.due <= end);
            if (due.length === 0) break;
            due.sort(([one, first], [other, second]) => first.due - second.due || one - other);
            const [timer, entry] = due[0];
            this.waiting.delete(timer);
            this.time = Math.max(this.time, entry.due);
            entry.action();
            await this.settle();
        }
        this.time = end;
        await this.settle();
    }

    // The pauses after which something is due.
    pauses() {
        return [...this.waiting.values()].map((entry) => entry.due - this.time).sort((one, other) => one - other);
    }
}
