// Candidates wait in both directions: for a description that they belong to, and for the answer to arrive.

// Those from the host, until the connection has a remote description.
export class CandidateQueue {
    constructor() {
        this.waiting = [];
        this.add = null;
    }

    // `add(candidate)` takes those that wait, in order, and all later ones.
    open(add) {
        this.add = add;
        for (const candidate of this.waiting.splice(0)) add(candidate);
    }

    push(candidate) {
        if (this.add) this.add(candidate);
        else this.waiting.push(candidate);
    }
}

// The phone's own: sent in batches, one request at a time, and none before the answer was taken.
export class CandidateOutbox {
    // `send(candidates)` returns a promise; one that fails is not repeated, the connection tells what it lacks.
    constructor(send) {
        this.send = send;
        this.waiting = [];
        this.isOpen = false;
        this.isSending = false;
    }

    push(candidate) {
        this.waiting.push(candidate);
        this.pump();
    }

    open() {
        this.isOpen = true;
        this.pump();
    }

    async pump() {
        if (!this.isOpen || this.isSending) return;
        this.isSending = true;
        // What comes within the same turn travels together.
        await Promise.resolve();
        while (this.waiting.length > 0) {
            try {
                await this.send(this.waiting.splice(0));
            } catch {
                // The next batch may fare better.
            }
        }
        this.isSending = false;
    }
}

// As the machine wants it; null is the end of the candidates.
export function candidateMessage(candidate) {
    return {
        candidate: candidate ? candidate.candidate : '',
        sdpMid: candidate?.sdpMid ?? '',
        sdpMLineIndex: candidate?.sdpMLineIndex ?? 0,
    };
}
