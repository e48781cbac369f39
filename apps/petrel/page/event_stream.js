// Reads text/event-stream (HTML standard, section 9.2.6) from pieces of text as they arrive.

const kLongestEvent = 2 * 1024 * 1024;

export class EventStreamReader {
    // `onEvent(name, data)` hears each event; comments and unknown fields are skipped. `lastId` is the last one
    // that an event had.
    constructor(onEvent) {
        this.onEvent = onEvent;
        this.pending = '';
        this.isFirst = true;
        this.lastId = '';
        this.clear();
    }

    // Throws when an event grows beyond what the machine ever sends.
    feed(text) {
        if (this.isFirst && text !== '') {
            this.isFirst = false;
            if (text.startsWith('\uFEFF')) text = text.slice(1);
        }
        this.pending += text;
        for (;;) {
            const end = this.pending.search(/[\r\n]/);
            if (end < 0) break;
            // A carriage return at the very end may be the first half of a pair.
            if (this.pending[end] === '\r' && end + 1 === this.pending.length) break;
            const length = this.pending.startsWith('\r\n', end) ? 2 : 1;
            const line = this.pending.slice(0, end);
            this.pending = this.pending.slice(end + length);
            this.takeLine(line);
        }
        if (this.pending.length + this.size > kLongestEvent) throw new Error('an event is too long');
    }

    takeLine(line) {
        if (line === '') {
            this.dispatch();
            return;
        }
        const colon = line.indexOf(':');
        if (colon === 0) return;
        const field = colon < 0 ? line : line.slice(0, colon);
        const value = colon < 0 ? '' : line.slice(colon + 1).replace(/^ /, '');
        if (field === 'event') this.name = value;
        if (field === 'id' && !value.includes('\0')) this.id = value;
        if (field === 'data') {
            this.data.push(value);
            this.size += value.length + 1;
        }
    }

    dispatch() {
        const { name, data } = this;
        this.lastId = this.id;
        this.clear();
        if (data.length > 0) this.onEvent(name || 'message', data.join('\n'));
    }

    clear() {
        this.name = '';
        this.data = [];
        this.size = 0;
        this.id = this.lastId;
    }
}
